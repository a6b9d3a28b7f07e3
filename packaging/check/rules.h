// The families of rules. Each function reports what it finds and nothing that only follows from another finding.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "packaging/check/model_description.h"
#include "packaging/check/parameter_files.h"
#include "packaging/check/report.h"

namespace packaging::checking {

inline const std::string descriptionFile = "modelDescription.xml";

/// What stands in the FMU's folders, whatever it holds: strays and what is no regular file.
void checkTree(const std::filesystem::path& root, Report& report);

/// The library that the model identifier asks for: file, exports, dependencies.
void checkLibrary(const std::filesystem::path& root, std::string_view identifier, const Place& place, Report& report);

/// Version, interfaces, capabilities, categories of messages, experiment.
void checkGeneral(const ModelDescription& description, Report& report);

/// Units and types, and the variables' use of them.
void checkUnitsAndTypes(const ModelDescription& description, Report& report);

/// Each variable by itself, and the variables among themselves: names, combinations, start values, limits, aliases.
void checkVariables(const ModelDescription& description, Report& report);

/// Start values on their way to the solver's model.
void checkStartValues(const ModelDescription& description, Report& report);

/// Lists of outputs, derivatives and unknowns.
void checkStructure(const ModelDescription& description, Report& report);

/// The parameter files against the description.
void checkReferences(const ModelDescription& description, const ShapeFile& shape, Report& report);
void checkFinalTime(const ModelDescription& description, const ShapeFile& shape, Report& report);
void checkPorts(const ModelDescription& description, const ShapeFile& shape, Report& report);
void checkNames(const ModelDescription& description, const ShapeFile& shape, const NameFile& names, Report& report);

/// How the library finds the model's name in the text of the description. Gives the name when it may be used.
std::optional<std::string> checkModelName(const ModelDescription& description, const std::string& text, Report& report);

/// The name of the result file, from the parameter file or a string's start value: where it goes, what the solver is
/// told.
void checkResultFile(std::string_view name, const Place& place, Report& report);

/// The files that the resources hold besides the parameter files. `shape` may be null.
void checkResources(const std::filesystem::path& root, const std::optional<std::string>& modelName,
                    const std::string& description, const ShapeFile* shape, Report& report);

} // namespace packaging::checking
