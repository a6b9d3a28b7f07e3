// Names in an FMU: its files, what they may be called, and the room that the library has for texts.
#pragma once

#include <string>
#include <string_view>

#include "fmi/instance/fmu_instance.h"
#include "resources/model_names.h"
#include "resources/parameter_files.h"

namespace tool {

// Files and folders, relative to the FMU's root.
inline const std::string descriptionFile = "modelDescription.xml";
inline const std::string resourcesFolder = "resources";
inline const std::string descriptionCopy = resourcesFolder + "/" + descriptionFile;
inline const std::string shapeFileName = resourcesFolder + "/fmu2ts.par";
inline const std::string nameFileName = resourcesFolder + "/mv.par";
inline const std::string librariesFolder = "binaries/linux64";
inline constexpr std::string_view modelFileExtension = ".xml";
inline constexpr std::string_view templateExtension = ".mdl";

/// The FMU's library, by the model description's modelIdentifier.
std::string libraryOf(std::string_view identifier);

/// The result file when fmu2ts.par names none.
inline constexpr std::string_view defaultResultFile = "fmu.mrf";

// Lengths in bytes, as the library reads them.
inline constexpr std::size_t longestReading = pathBufferSize - 1; ///< of a line, at a time, with its line feed
inline constexpr std::size_t longestLine = longestReading - 1;    ///< of a parameter file, without its line feed
inline constexpr std::size_t longestResultFile = pathBufferSize - 1;
inline constexpr std::size_t longestShortText = sizeof(FmuParRecord::ipAddress) - 1; ///< header lines, address
inline constexpr std::size_t longestModelName = longestModelFileName - modelFileExtension.size();
static_assert(sizeof(FmuParRecord::headerLine1) == sizeof(FmuParRecord::ipAddress));

constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool isNondigit(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }

/// Whether it is a C identifier.
bool isIdentifier(std::string_view name);

/// A C identifier that resembles the name of a model.
std::string identifierFrom(std::string_view modelName);

/// What keeps a text from being the name of a model. File names are made of it, which reach a shell.
enum class ModelNameFault {
    none,
    characters, ///< only letters, digits, '_', '.' and '-', neither '.' nor '-' at the start, and not empty
    extension,  ///< it holds ".xml"
    length      ///< more than `longestModelName` bytes
};

ModelNameFault modelNameFault(std::string_view name);

/// The model file's name as the library takes it from the text of a model description; or empty.
std::string modelFileIn(const std::string& description);

} // namespace tool
