// One FMU as its files describe it: read once, the same for check, doctor and the solver's session.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "tool/fmu/model_description.h"
#include "tool/fmu/names.h"
#include "tool/fmu/parameter_files.h"
#include "tool/fmu/tree.h"
#include "tool/fmu/xml_document.h"

namespace tool {

class Fmu {
public:
    /// Opens a folder or unpacks an archive, and reads what can be read. Throws UserError when there is nothing that
    /// can be read at all, when an archive is damaged or a limit is met.
    explicit Fmu(const std::filesystem::path& path, const UnpackingLimits& limits = {});
    Fmu(const Fmu&) = delete;
    Fmu& operator=(const Fmu&) = delete;

    const std::filesystem::path& root() const { return tree.root(); }
    std::filesystem::path resources() const;

    /// Whether there is a model description that can be looked into.
    bool isDescribed() const { return descriptionText && !document.hasDoctype && document.problem.empty(); }

    /// The name of the template and the model file without extension, as the library takes it; empty when there is none
    /// that it could use.
    const std::string& modelName() const { return modelName_; }

    /// Names below the root.
    std::string modelFile() const { return resourceName(modelFileExtension); }
    std::string modelTemplate() const { return resourceName(templateExtension); }
    bool hasModelFile() const;
    bool hasTemplate() const; ///< that can be read and is not empty

    /// The master's proposal, in seconds; nothing when the description makes none that is a number above 0.
    std::optional<double> stepSize() const;

    const FmuTree tree;

    bool hasOnlyCopy = false; ///< a folder whose only model description is the copy among the resources, which is read
    std::optional<std::string> descriptionText; ///< nothing when it cannot be read
    XmlDocument document;
    ModelDescription description; ///< of `document` when it is described, otherwise empty

    std::optional<std::string> shapeText, nameText; ///< nothing when the file cannot be read or is empty
    ShapeFile shape;
    NameFile names;

private:
    void readDescription();
    std::string resourceName(std::string_view extension) const;

    std::string modelName_;
};

} // namespace tool
