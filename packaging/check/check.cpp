#include "packaging/check/check.h"

#include "packaging/check/file_access.h"
#include "packaging/check/rules.h"
#include "packaging/check/schema.h"

namespace packaging {

namespace {

namespace fs = std::filesystem;
using namespace checking;

/// Where the description lies when it isn't at the root; empty when it is nowhere near.
std::string misplacedDescription(const fs::path& root) {
    std::error_code failure;
    for (const auto& entry : fs::directory_iterator(root, failure))
        if (isRegularFile(entry.path() / descriptionFile)) return (entry.path().filename() / descriptionFile).string();
    return "";
}

/// False when there is no XML that can be looked into.
bool isReadable(const XmlDocument& document, Report& report) {
    const Place place{descriptionFile, document.problemLine};
    if (document.hasDoctype)
        report.add("xml-doctype", place, "The file holds a document type declaration.");
    else if (!document.problem.empty())
        report.add("xml-malformed", place, "{}.", printable(document.problem));
    return !document.hasDoctype && document.problem.empty();
}

bool isForFmi2(const XmlDocument& document, Report& report) {
    const XmlElement& root = document.root;
    const std::string_view version = textAttribute(root, "fmiVersion");
    if (!document.encoding.empty() && document.encoding != "UTF-8" && document.encoding != "utf-8")
        report.add("xml-encoding", {descriptionFile, 1}, "The encoding is {}.", inQuotes(document.encoding));
    if (root.name == "fmiModelDescription" && version == "2.0") return true;
    report.add("fmi-version", {descriptionFile, root.line}, "The root element is {}, the FMI version {}.",
               inQuotes(root.name), inQuotes(version));
    return false;
}

/// A parameter file, or nothing when it can't be read.
std::optional<std::string> parameterFile(const fs::path& root, const std::string& name, Report& report) {
    auto text = readRegularFile(root / name);
    if (!text || text->empty())
        report.add("parameter-file-missing", {name, 0}, "The file {}.",
                   text ? "is empty" : "isn't there, can't be read or is larger than 64 MiB");
    return text && !text->empty() ? text : std::nullopt;
}

/// The description against the folder resources. It knows the text of both parameter files while it is looked at.
void checkWithResources(const fs::path& root, const ModelDescription& description, const std::string& text,
                        Report& report) {
    const std::optional<std::string> modelName = checkModelName(description, text, report);
    if (!isFolder(root / "resources"))
        return report.add("resources-missing", {"resources", 0}, "There is no folder resources.");

    const auto shapeText = parameterFile(root, shapeFileName, report);
    const auto nameText = parameterFile(root, nameFileName, report);
    const NameFile names = nameText ? readNameFile(*nameText, report) : NameFile{};
    const ShapeFile shape = shapeText ? readShapeFile(*shapeText, report) : ShapeFile{};
    if (shapeText) {
        checkReferences(description, shape, report);
        checkPorts(description, shape, report);
        checkFinalTime(description, shape, report);
    }
    checkNames(description, shape, names, report);
    checkResources(root, modelName, text, shapeText ? &shape : nullptr, report);
}

void checkDescription(const fs::path& root, const std::string& text, Report& report) {
    const XmlDocument document = readXml(text);
    if (!isReadable(document, report) || !isForFmi2(document, report)) return;

    checkSchema(document.root, descriptionFile, report);
    const ModelDescription description = readModelDescription(document.root);
    checkGeneral(description, report);
    checkUnitsAndTypes(description, report);
    checkVariables(description, report);
    checkStartValues(description, report);
    checkStructure(description, report);
    checkWithResources(root, description, text, report);
    if (description.coSimulation == nullptr) return;
    if (const XmlAttribute* identifier = description.coSimulation->find("modelIdentifier"))
        checkLibrary(root, identifier->value, {descriptionFile, identifier->line}, report);
}

} // namespace

void checkFmu(const FmuTree& fmu, Findings& findings) {
    Report report;
    if (const auto text = readRegularFile(fmu.root() / descriptionFile)) {
        checkTree(fmu.root(), report);
        checkDescription(fmu.root(), *text, report);
    } else {
        const std::string elsewhere = misplacedDescription(fmu.root());
        report.add("description-missing", {descriptionFile, 0}, "There is no modelDescription.xml{}{}.",
                   isRegularFile(fmu.root() / descriptionFile) ? " that can be read, or it is larger than 64 MiB" : "",
                   elsewhere.empty() ? "" : fmt::format("; one lies at {}", inQuotes(elsewhere)));
    }
    report.handOver(findings);
}

} // namespace packaging
