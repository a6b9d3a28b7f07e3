#include <algorithm>
#include <system_error>
#include <utility>

#include "tool/check/rules.h"
#include "tool/fmu/location.h"
#include "tool/os/files.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view searchedWord = "modelName";

/// Where the library looks for the model's name: the first line with the word, as far as it is read at a time.
struct NameLine {
    std::string_view text;
    int number = 0; ///< 0: there is none
};

NameLine nameLineIn(std::string_view text) {
    int number = 1;
    while (!text.empty()) {
        std::string_view line = text.substr(0, longestReading);
        line = line.substr(0, std::min(line.find('\n'), line.size() - 1) + 1);
        if (line.find(searchedWord) != std::string_view::npos) return {line, number};
        number += line.back() == '\n' ? 1 : 0;
        text.remove_prefix(line.size());
    }
    return {};
}

/// Why the library finds another name than the attribute's, a sentence.
std::string_view reasonOf(const NameLine& line, const XmlAttribute& attribute) {
    if (line.number == 0) return "It finds no line with the word.";
    if (line.number != attribute.line) return "The word is already in an earlier line.";
    if (line.text.size() == longestReading) return "The line is longer than the 1023 characters that are read.";
    const std::string_view rest = line.text.substr(line.text.find(searchedWord) + searchedWord.size());
    if (!rest.starts_with("=\"")) return "The word is not followed by exactly =\".";
    if (rest.find('"', 2) == std::string_view::npos) return "There is no quote later in the line.";
    return "There is more text after it in the line, or it holds an escaped character.";
}

RuleName ruleOf(ModelNameFault fault) {
    switch (fault) {
    case ModelNameFault::extension:
        return "model-name-extension";
    case ModelNameFault::length:
        return "model-name-length";
    default:
        return "model-name-characters";
    }
}

/// What the library takes for the model's name.
std::string takenNameIn(const std::string& description) {
    std::string name = modelFileIn(description);
    if (name.ends_with(modelFileExtension)) name.resize(name.size() - modelFileExtension.size());
    return name;
}

void checkModelFiles(const Fmu& fmu, Report& report) {
    const std::string modelFile = fmu.modelName() + std::string(modelFileExtension);
    if (fmu.hasModelFile())
        report.add("model-file-present", {fmu.modelFile(), 0}, "The model file {} is already there.", modelFile);
    else if (!isReadable(fmu.root() / fmu.modelTemplate()))
        report.add("template-missing", {fmu.modelTemplate(), 0}, "There is no template that can be read.");
    else if (!fmu.hasTemplate())
        report.add("template-missing", {fmu.modelTemplate(), 0}, "The template is empty.");
    if (fmu.shape.modelFile && *fmu.shape.modelFile != modelFile)
        report.add("model-file-name", {shapeFileName, modelFileLine},
                   "The model file is called {} here, but {} by the model's name.", inQuotes(*fmu.shape.modelFile),
                   modelFile);
}

/// The library of line 12. It is joined to the resources' location, also when it begins with a slash.
void checkSolverFile(const fs::path& resources, const std::string& name, Report& report) {
    const Place place{shapeFileName, solverFileLine};
    const fs::path file = fs::path(name).relative_path().lexically_normal();
    if (!file.empty() && *file.begin() == "..")
        report.add("solver-file-missing", place, "{} leads out of the resources.", inQuotes(name));
    else if (name.size() > longestReading || !isRegularFile(resources / file))
        report.add("solver-file-missing", place, "There is no file {} in the resources.", inQuotes(name));
}

void checkNamedFiles(const Fmu& fmu, Report& report) {
    const ShapeFile& shape = fmu.shape;
    for (const auto& [name, line] : {std::pair(shape.modelFile, modelFileLine), {shape.solverFile, solverFileLine}})
        if (const std::string path = changedResource(name.value_or("")); !path.empty())
            report.add("file-name-uri", {shapeFileName, line},
                       "The solver will receive the path {}, which does not name the file {}.", inQuotes(path),
                       inQuotes(*name));
    if (shape.solverFile && !shape.solverFile->empty())
        checkSolverFile(fmu.resources(), std::string(*shape.solverFile), report);
    if (shape.resultFile) checkResultFile(*shape.resultFile, {shapeFileName, resultFileLine}, report);
}

void checkCopy(const Fmu& fmu, Report& report) {
    const Place place{descriptionCopy, 0};
    const auto copy = readFile(fmu.root() / descriptionCopy);
    if (!copy)
        report.add("description-copy-missing", place, "The resources hold no copy of the model description.");
    else if (*copy != *fmu.descriptionText)
        report.add("description-copy-differs", place,
                   "The copy of the model description differs from the one at the root.");
}

} // namespace

void checkModelName(const Fmu& fmu, Report& report) {
    const XmlAttribute* attribute = fmu.description.root->find(searchedWord);
    if (attribute == nullptr) return;
    const std::string taken = takenNameIn(*fmu.descriptionText);
    const ModelNameFault fault = modelNameFault(attribute->value);
    if (taken != attribute->value) {
        const NameLine line = nameLineIn(*fmu.descriptionText);
        report.add("model-name-scan", {descriptionFile, line.number > 0 ? line.number : attribute->line},
                   "The library takes {} for the model's name, which is {}. {}", inQuotes(taken),
                   inQuotes(attribute->value), reasonOf(line, *attribute));
    } else if (fault != ModelNameFault::none) {
        report.add(ruleOf(fault), {descriptionFile, attribute->line}, "The model's name is {}.", inQuotes(taken));
    }
}

void checkResultFile(std::string_view name, const Place& place, Report& report) {
    if (isAmongResources(name))
        report.add("result-file", place, "The result file is {}.",
                   name.empty() ? fmt::format("{}, since the line is empty", inQuotes(defaultResultFile))
                                : inQuotes(name));
    if (const std::string path = changedResultFile(name); !path.empty())
        report.add("result-file-uri", place, "The solver will receive the path {}, which does not name the file {}.",
                   inQuotes(path), inQuotes(name));
}

void checkResources(const Fmu& fmu, Report& report) {
    const XmlAttribute* name = fmu.description.root->find(searchedWord);
    if (!fmu.modelName().empty() && name != nullptr && fmu.modelName() == name->value) checkModelFiles(fmu, report);
    if (fmu.shapeText) checkNamedFiles(fmu, report);
    checkCopy(fmu, report);
}

} // namespace tool
