#include <algorithm>
#include <system_error>
#include <utility>

#include "packaging/check/file_access.h"
#include "packaging/check/rules.h"
#include "resources/resource_location.h"
#include "util/owners.h"

namespace packaging::checking {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t lineBuffer = 1023; // characters that the library reads at a time
constexpr std::size_t longestFileName = 255;
constexpr std::string_view word = "modelName";
constexpr std::string_view extension = ".xml";
constexpr std::string_view resourcesLocation = "file:///resources/"; // its folder doesn't matter

/// What the library takes for the model's name, and from which line.
struct Scan {
    std::string_view line; ///< as far as it is read at a time
    std::string_view name;
    int number = 0; ///< 0: no line holds the word
    bool isQuoted = false;
};

Scan scan(std::string_view text) {
    int number = 1;
    while (!text.empty()) {
        std::string_view line = text.substr(0, lineBuffer);
        line = line.substr(0, std::min(line.find('\n'), line.size() - 1) + 1);
        if (const std::size_t start = line.find(word); start != std::string_view::npos) {
            const std::string_view behind = line.substr(std::min(start + word.size() + 2, line.size()));
            const std::size_t quote = behind.rfind('"');
            return {line, behind.substr(0, quote), number, quote != std::string_view::npos};
        }
        number += line.back() == '\n' ? 1 : 0;
        text.remove_prefix(line.size());
    }
    return {};
}

/// Why the scan went wrong, for a sentence.
std::string_view reasonOf(const Scan& found, const XmlAttribute& attribute) {
    if (found.number != attribute.line) return "The word stands in an earlier line";
    if (found.line.size() == lineBuffer) return "The line is longer than the 1023 characters that are read";
    if (found.line.substr(found.line.find(word) + word.size()).substr(0, 2) != "=\"")
        return "Not exactly =\" stands behind the word";
    if (!found.isQuoted) return "No quote follows in the line";
    return "More stands behind it in the line, or it holds an escaped character";
}

bool isAllowed(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '_' || character == '.' || character == '-';
}

/// The solver is told the path of a location, to which a name is joined as it is. Gives this path when it isn't that of
/// the name, otherwise an empty text.
std::string changedPath(std::string_view location, std::string_view name) {
    constexpr std::string_view scheme = "file://";
    const std::string whole = fmt::format("{}{}", location, name.substr(0, name.find('\0')));
    const MallocText path(convert_URI_to_path(whole.c_str()));
    const std::string told = path != nullptr && *path != '\0' ? path.get() : "no name";
    return told == (location.empty() ? whole : whole.substr(scheme.size())) ? "" : told;
}

void checkModelFiles(const fs::path& resources, const std::string& name, const ShapeFile* shape, Report& report) {
    const std::string modelFile = name + ".xml", templateFile = name + ".mdl";
    std::error_code ignored;
    if (isRegularFile(resources / modelFile))
        report.add("model-file-present", {"resources/" + modelFile, 0}, "The model file {} is there already.",
                   modelFile);
    else if (!isReadable(resources / templateFile))
        report.add("template-missing", {"resources/" + templateFile, 0}, "There is no template {} that can be read.",
                   templateFile);
    else if (fs::file_size(resources / templateFile, ignored) == 0)
        report.add("template-missing", {"resources/" + templateFile, 0}, "The template {} is empty.", templateFile);
    if (shape != nullptr && shape->modelFile && *shape->modelFile != modelFile)
        report.add("model-file-name", {shapeFileName, modelFileLine},
                   "The model file is called {} here, but {} by the model's name.", inQuotes(*shape->modelFile),
                   modelFile);
}

/// The library of line 12. It is joined to the resources' location, also when it begins with a slash.
void checkSolverFile(const fs::path& resources, const std::string& name, Report& report) {
    const Place place{shapeFileName, solverFileLine};
    const fs::path file = fs::path(name).relative_path().lexically_normal();
    if (!file.empty() && *file.begin() == "..")
        report.add("solver-file-missing", place, "{} leads out of the resources.", inQuotes(name));
    else if (name.size() > lineBuffer || !isRegularFile(resources / file))
        report.add("solver-file-missing", place, "There is no file {} in the resources.", inQuotes(name));
}

void checkNamedFiles(const fs::path& resources, const ShapeFile& shape, Report& report) {
    for (const auto& [name, line] : {std::pair(shape.modelFile, modelFileLine), {shape.solverFile, solverFileLine}})
        if (const std::string path = changedPath(resourcesLocation, name.value_or("")); !path.empty())
            report.add("file-name-uri", {shapeFileName, line}, "The file is called {}, but the solver is told {}.",
                       inQuotes(*name), inQuotes(path));
    if (shape.solverFile && !shape.solverFile->empty())
        checkSolverFile(resources, std::string(*shape.solverFile), report);
    if (shape.resultFile) checkResultFile(*shape.resultFile, {shapeFileName, resultFileLine}, report);
}

void checkCopy(const fs::path& resources, const std::string& description, Report& report) {
    const Place place{"resources/" + descriptionFile, 0};
    const auto copy = readRegularFile(resources / descriptionFile);
    if (!copy)
        report.add("description-copy-missing", place, "The resources hold no copy of the model description.");
    else if (*copy != description)
        report.add("description-copy-differs", place,
                   "The copy of the model description differs from the one at the root.");
}

} // namespace

std::optional<std::string> checkModelName(const ModelDescription& description, const std::string& text,
                                          Report& report) {
    const XmlAttribute* attribute = description.root->find(word);
    if (attribute == nullptr) return {};
    const std::string& name = attribute->value;
    const Place place{descriptionFile, attribute->line};
    const Scan found = scan(text);
    if (found.number == 0 || !found.isQuoted || found.name != name) {
        report.add("model-name-scan", {descriptionFile, found.number > 0 ? found.number : attribute->line},
                   "The library takes {} for the model's name, which is {}. {}.", inQuotes(found.name), inQuotes(name),
                   found.number == 0 ? "It finds no line with the word" : reasonOf(found, *attribute));
        return {};
    }
    if (name.empty() || name[0] == '-' || !std::ranges::all_of(name, isAllowed)) {
        report.add("model-name-characters", place, "The model's name is {}.", inQuotes(name));
        return {};
    }
    if (name.find(extension) != std::string::npos) {
        report.add("model-name-extension", place, "The model's name is {}.", inQuotes(name));
        return {};
    }
    if (name.size() + extension.size() > longestFileName) {
        report.add("model-name-length", place, "The model's name has {} characters.", name.size());
        return {};
    }
    return name;
}

void checkResultFile(std::string_view name, const Place& place, Report& report) {
    const bool isBare = name.find_first_of("/\\") == std::string_view::npos;
    if (isBare)
        report.add("result-file", place, "The result file is {}.",
                   name.empty() ? "\"fmu.mrf\", since the line is empty" : inQuotes(name));
    if (const std::string path = changedPath(isBare ? resourcesLocation : "", name); !path.empty())
        report.add("result-file-uri", place, "The result file is called {}, but the solver is told {}.", inQuotes(name),
                   inQuotes(path));
}

void checkResources(const fs::path& root, const std::optional<std::string>& modelName, const std::string& description,
                    const ShapeFile* shape, Report& report) {
    const fs::path resources = root / "resources";
    if (modelName) checkModelFiles(resources, *modelName, shape, report);
    if (shape != nullptr) checkNamedFiles(resources, *shape, report);
    checkCopy(resources, description, report);
}

} // namespace packaging::checking
