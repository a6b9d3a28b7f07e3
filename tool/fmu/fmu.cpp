#include "tool/fmu/fmu.h"

#include <cmath>
#include <system_error>
#include <utility>

#include "tool/os/files.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

std::optional<std::string> readNonEmpty(const fs::path& file) {
    auto text = readFile(file);
    return text && !text->empty() ? std::move(text) : std::nullopt;
}

} // namespace

Fmu::Fmu(const fs::path& path, const UnpackingLimits& limits)
    : tree(path, limits), shapeText(readNonEmpty(root() / shapeFileName)),
      nameText(readNonEmpty(root() / nameFileName)) {
    readDescription();
    if (shapeText) shape = readShapeFile(*shapeText);
    if (nameText) names = readNameFile(*nameText);
}

/// The library takes the copy among the resources when there is no other.
void Fmu::readDescription() {
    hasOnlyCopy =
        !tree.isArchive() && !isRegularFile(root() / descriptionFile) && isRegularFile(root() / descriptionCopy);
    descriptionText = readFile(root() / (hasOnlyCopy ? descriptionCopy : descriptionFile));
    if (!descriptionText) return;
    const std::string taken = modelFileIn(*descriptionText);
    const std::size_t extension = taken.find(modelFileExtension);
    modelName_ = extension != std::string::npos ? taken.substr(0, extension) : "";
    if (modelNameFault(modelName_) != ModelNameFault::none) modelName_.clear();

    document = readXml(*descriptionText);
    if (isDescribed()) description = readModelDescription(document.root);
}

fs::path Fmu::resources() const { return root() / resourcesFolder; }

std::string Fmu::resourceName(std::string_view extension) const {
    return resourcesFolder + "/" + modelName_ + std::string(extension);
}

bool Fmu::hasModelFile() const { return !modelName_.empty() && isRegularFile(root() / modelFile()); }

bool Fmu::hasTemplate() const {
    std::error_code ignored;
    const fs::path file = root() / modelTemplate();
    return !modelName_.empty() && isReadable(file) && fs::file_size(file, ignored) > 0;
}

std::optional<double> Fmu::stepSize() const {
    if (description.root == nullptr) return std::nullopt;
    const XmlElement* experiment = description.root->child("DefaultExperiment");
    const auto size = experiment != nullptr ? realAttribute(*experiment, "stepSize") : std::nullopt;
    return size && std::isfinite(*size) && *size > 0 ? size : std::nullopt;
}

} // namespace tool
