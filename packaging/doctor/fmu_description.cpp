#include "packaging/doctor/fmu_description.h"

#include <charconv>
#include <cstdio>
#include <string_view>

#include <fmt/format.h>

#include "packaging/check/file_access.h"
#include "packaging/check/report.h"
#include "packaging/check/xml_document.h"
#include "resources/model_names.h"
#include "util/owners.h"

namespace packaging {

namespace {

namespace fs = std::filesystem;
using checking::inQuotes;
using checking::XmlAttribute;
using checking::XmlElement;

/// The file, relative to the FMU's root; empty when there is none.
fs::path findDescription(const fs::path& root, bool isArchive, Findings& findings) {
    fs::path name = "modelDescription.xml";
    const fs::path copy = fs::path("resources") / name;
    if (checking::isRegularFile(root / name)) return name;

    const bool hasCopy = checking::isRegularFile(root / copy);
    if (hasCopy && !isArchive)
        findings.warning("description-missing", {name.string()},
                         "The folder has no model description but the copy in resources.",
                         "The library does with the copy; a master that is given this folder finds none.",
                         "Copy it beside the folder resources.");
    else
        findings.error("description-missing", {name.string()},
                       hasCopy ? "The archive has no model description at its root, only a copy in resources."
                               : "The FMU has no model description.",
                       "Masters need it, and the library takes the name of the model file from it.",
                       "Name the FMU's own folder, or pack the FMU again.");
    return hasCopy ? copy : "";
}

/// An attribute's value, or empty.
std::string valueOf(const XmlElement* element, std::string_view attribute) {
    const XmlAttribute* found = element != nullptr ? element->find(attribute) : nullptr;
    return found != nullptr ? found->value : "";
}

/// The root element; one without attributes when the file can't be read.
XmlElement readElements(const fs::path& root, const fs::path& file, Findings& findings) {
    const auto text = checking::readRegularFile(root / file);
    checking::XmlDocument document = checking::readXml(text.value_or(""));
    const std::string problem = !text                 ? "The file can't be opened, or is too large"
                                : document.hasDoctype ? "There is a document type declaration"
                                                      : document.problem;
    if (problem.empty()) return std::move(document.root);
    findings.error("description-unreadable", {file.string(), document.problemLine}, problem + ".",
                   "Masters can't read the model description, or don't trust it.", "Pack the FMU again.");
    return {};
}

std::string identifierIn(const XmlElement& root, const fs::path& file, Findings& findings) {
    std::string identifier = valueOf(root.child("CoSimulation"), "modelIdentifier");
    if (!identifier.empty() && identifier.find('/') == std::string::npos) return identifier;
    if (!root.attributes.empty())
        findings.error("description-unreadable", {file.string()},
                       "The model description has no element CoSimulation with a modelIdentifier that names a file.",
                       "Masters take the name of the FMU's library from it.", "Pack the FMU again.");
    return "";
}

double stepSizeIn(const XmlElement& root) {
    const std::string value = valueOf(root.child("DefaultExperiment"), "stepSize");
    double size = 0;
    std::from_chars(value.data(), value.data() + value.size(), size);
    return size;
}

/// The model file's name without its extension, as the library takes it; or empty.
std::string modelNameIn(const fs::path& root, const fs::path& file, const XmlElement& element, Findings& findings) {
    const Stream stream(std::fopen((root / file).c_str(), "r"));
    const std::string taken = stream ? modelFileName(stream.get()) : "";
    const std::size_t extension = taken.find(".xml");
    std::string name = extension == std::string::npos ? "" : taken.substr(0, extension);
    if (!name.empty() && name.find('"') == std::string::npos) return name;

    const XmlAttribute* attribute = element.find("modelName");
    findings.error("model-name", {file.string(), attribute != nullptr ? attribute->line : 0},
                   fmt::format("The library {}; {}.",
                               taken.empty() ? "finds no name for the model file"
                                             : "takes " + inQuotes(taken) + " for the name of the model file",
                               attribute != nullptr ? "the model's name is " + inQuotes(attribute->value)
                                                    : "there is no attribute modelName"),
                   "It takes what stands between =\" behind the word modelName, where it first occurs, and the line's "
                   "last quote, and reads 1023 bytes of a line at most: initialization fails without a message.",
                   "Write modelName=\"...\" without blanks around the equals sign, as the last attribute of a line of "
                   "less than 1023 bytes, and before anything else that holds the word.");
    return "";
}

} // namespace

FmuDescription examineDescription(const fs::path& root, bool isArchive, Findings& findings) {
    const fs::path file = findDescription(root, isArchive, findings);
    if (file.empty()) return {};
    const XmlElement element = readElements(root, file, findings);
    FmuDescription description;
    description.modelName = modelNameIn(root, file, element, findings);
    description.modelIdentifier = identifierIn(element, file, findings);
    description.stepSize = stepSizeIn(element);
    return description;
}

} // namespace packaging
