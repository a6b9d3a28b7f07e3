#include "tool/check/check.h"

#include "tool/check/rules.h"
#include "tool/check/schema.h"
#include "tool/os/files.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

/// Where the description is when it is not at the root; empty when it is nowhere near.
std::string misplacedDescription(const fs::path& root) {
    std::error_code failure;
    for (const auto& entry : fs::directory_iterator(root, failure))
        if (isRegularFile(entry.path() / descriptionFile)) return (entry.path().filename() / descriptionFile).string();
    return "";
}

void reportMissingDescription(const fs::path& root, Report& report) {
    const bool isThere = isRegularFile(root / descriptionFile);
    const std::string elsewhere = misplacedDescription(root);
    report.add("description-missing", {descriptionFile, 0}, "There is no modelDescription.xml{}{}.",
               isThere ? " that can be read, or it is larger than 64 MiB" : "",
               elsewhere.empty() ? "" : fmt::format("; there is one at {}", inQuotes(elsewhere)));
}

void reportLeftOutEntries(const FmuTree& tree, Report& report) {
    for (const LeftOutEntry& entry : tree.leftOut())
        report.add("archive-entry", {}, "The archive's entry {} {}.", inQuotes(entry.name), entry.reason);
}

/// False when there is no description that can be looked into.
bool checkDocument(const Fmu& fmu, Report& report) {
    const XmlDocument& document = fmu.document;
    const Place place{descriptionFile, document.problemLine};
    if (document.hasDoctype)
        report.add("xml-doctype", place, "The file holds a document type declaration.");
    else if (!document.problem.empty())
        report.add(document.isOtherEncoding ? RuleName("xml-encoding") : RuleName("xml-malformed"), place, "{}.",
                   document.problem);
    if (!fmu.isDescribed()) return false;

    const XmlElement& root = document.root;
    const std::string_view version = textAttribute(root, "fmiVersion");
    if (!document.encoding.empty() && document.encoding != "UTF-8" && document.encoding != "utf-8")
        report.add("xml-encoding", {descriptionFile, 1}, "The encoding is {}.", inQuotes(document.encoding));
    if (root.name == "fmiModelDescription" && version == "2.0") return true;
    report.add("fmi-version", {descriptionFile, root.line}, "The root element is {}, the FMI version {}.",
               inQuotes(root.name), inQuotes(version));
    return false;
}

void checkDescription(const Fmu& fmu, Report& report) {
    checkSchema(fmu.document.root, descriptionFile, report);
    checkGeneral(fmu.description, report);
    checkUnitsAndTypes(fmu.description, report);
    checkVariables(fmu.description, report);
    checkStartValues(fmu.description, report);
    checkStructure(fmu.description, report);
    checkModelName(fmu, report);
}

void reportMissingParameterFile(const fs::path& root, const std::string& name, Report& report) {
    std::error_code ignored;
    const bool isEmpty = isRegularFile(root / name) && fs::file_size(root / name, ignored) == 0;
    report.add("parameter-file-missing", {name, 0}, "The file {}.",
               isEmpty ? "is empty" : "does not exist, cannot be read or is larger than 64 MiB");
}

/// The folder resources, and the description against it.
void checkWithResources(const Fmu& fmu, Report& report) {
    if (!isFolder(fmu.resources())) {
        report.add("resources-missing", {resourcesFolder, 0}, "There is no folder resources.");
        return;
    }
    if (fmu.shapeText) {
        checkShapeFile(fmu.shape, report);
        checkReferences(fmu, report);
        checkPorts(fmu, report);
        checkFinalTime(fmu, report);
    } else {
        reportMissingParameterFile(fmu.root(), shapeFileName, report);
    }
    if (fmu.nameText)
        checkNameFile(fmu.names, report);
    else
        reportMissingParameterFile(fmu.root(), nameFileName, report);
    checkNames(fmu, report);
    checkResources(fmu, report);
}

} // namespace

void checkFmu(const Fmu& fmu, Report& report) {
    report.looksAt("the FMU's files");
    reportLeftOutEntries(fmu.tree, report);
    if (!fmu.descriptionText) return reportMissingDescription(fmu.root(), report);
    if (fmu.hasOnlyCopy)
        report.add("description-copy-only", {descriptionFile, 0},
                   "The folder has no model description but the copy in resources.");
    checkTree(fmu, report);
    if (!checkDocument(fmu, report)) return;
    checkDescription(fmu, report);
    checkWithResources(fmu, report);
    checkContent(fmu, report);
    if (fmu.description.coSimulation == nullptr) return;
    if (const XmlAttribute* identifier = fmu.description.coSimulation->find("modelIdentifier"))
        checkLibrary(fmu, identifier->value, {descriptionFile, identifier->line}, report);
}

} // namespace tool
