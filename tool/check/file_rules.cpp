#include <algorithm>
#include <map>
#include <system_error>
#include <unordered_map>

#include <cstring>

#include <gnu/libc-version.h>

#include "tool/check/rules.h"
#include "tool/fmu/dependencies.h"
#include "tool/fmu/shared_object.h"
#include "tool/os/files.h"
#include "tool/os/user_error.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

/// What FMI 2.0 provides for at the root of an FMU.
constexpr std::string_view standardEntries[] = {
    "modelDescription.xml", "model.png", "documentation", "sources", "binaries", "resources"};

constexpr std::string_view functions[] = {"fmi2GetTypesPlatform",
                                          "fmi2GetVersion",
                                          "fmi2SetDebugLogging",
                                          "fmi2Instantiate",
                                          "fmi2FreeInstance",
                                          "fmi2SetupExperiment",
                                          "fmi2EnterInitializationMode",
                                          "fmi2ExitInitializationMode",
                                          "fmi2Terminate",
                                          "fmi2Reset",
                                          "fmi2GetReal",
                                          "fmi2GetInteger",
                                          "fmi2GetBoolean",
                                          "fmi2GetString",
                                          "fmi2SetReal",
                                          "fmi2SetInteger",
                                          "fmi2SetBoolean",
                                          "fmi2SetString",
                                          "fmi2GetFMUstate",
                                          "fmi2SetFMUstate",
                                          "fmi2FreeFMUstate",
                                          "fmi2SerializedFMUstateSize",
                                          "fmi2SerializeFMUstate",
                                          "fmi2DeSerializeFMUstate",
                                          "fmi2GetDirectionalDerivative",
                                          "fmi2SetRealInputDerivatives",
                                          "fmi2GetRealOutputDerivatives",
                                          "fmi2DoStep",
                                          "fmi2CancelStep",
                                          "fmi2GetStatus",
                                          "fmi2GetRealStatus",
                                          "fmi2GetIntegerStatus",
                                          "fmi2GetBooleanStatus",
                                          "fmi2GetStringStatus"};

/// False when one is not found.
bool checkDependencies(const fs::path& file, const std::vector<Dependency>& dependencies, const Place& place,
                       Report& report) {
    bool areFound = true;
    for (const Dependency& dependency : dependencies) {
        if (!dependency.path.empty()) continue;
        areFound = false;
        const bool isPath = dependency.name.find('/') != std::string::npos;
        if (!isPath && isRegularFile(file.parent_path() / dependency.name))
            report.add("library-origin", place,
                       "The dynamic loader does not find {}, which {} needs, although it is beside the library.",
                       inQuotes(dependency.name), inQuotes(dependency.neededBy));
        else
            report.add("library-dependency", place, "The dynamic loader cannot find {} on this machine; {} needs it.",
                       inQuotes(dependency.name), inQuotes(dependency.neededBy));
    }
    return areFound;
}

/// False when this machine's is too old.
bool checkGlibc(const SharedObject& library, std::string_view name, const Place& place, Report& report) {
    const char* here = gnu_get_libc_version();
    if (strverscmp(library.glibc.c_str(), here) <= 0) return true;
    report.add("library-glibc", place, "{} needs glibc {}; this machine has {}.", name, inQuotes(library.glibc), here);
    return false;
}

/// As the loader does it before it looks for any symbol. Versions of glibc are those of the machine as a whole.
void checkVersions(const std::map<std::string, SharedObject>& loaded, const Place& place, Report& report) {
    for (const auto& [name, object] : loaded) {
        for (const auto& [library, versions] : object.neededVersions) {
            const auto found = loaded.find(library);
            if (found == loaded.end() || found->second.versions.empty()) continue; // without versions any will do
            for (const std::string& version : versions)
                if (!version.starts_with("GLIBC_") && !found->second.versions.contains(version))
                    report.add("library-version", place,
                               "{} needs {} of {}, which the one on this machine does not have.", inQuotes(name),
                               inQuotes(version), inQuotes(library));
        }
    }
}

/// The same that binding all symbols at once would find, and without loading anything.
void checkSymbols(const SharedObject& library, const std::vector<Dependency>& dependencies, const Place& place,
                  Report& report) {
    std::map<std::string, SharedObject> loaded{{place.file, library}};
    for (const Dependency& dependency : dependencies)
        loaded.emplace(dependency.name, readSharedObject(dependency.path));

    std::unordered_map<std::string, bool> exports;
    for (auto& [name, object] : loaded) {
        if (name != place.file) checkGlibc(object, inQuotes(name), place, report);
        if (!object.hasSections)
            return report.note("FMU's library",
                               fmt::format("{} has no section table: its symbols are not examined", name));
        exports.merge(object.exports);
    }
    checkVersions(loaded, place, report);
    for (const auto& [name, object] : loaded)
        for (const std::string& symbol : object.imports)
            if (!exports.contains(symbol))
                report.add("library-symbol", place, "{} needs the symbol {}, which none of the libraries has.",
                           inQuotes(name), inQuotes(symbol));
}

void checkFunctions(const SharedObject& library, const Place& place, Report& report) {
    for (const std::string_view function : functions)
        if (!library.hasFunction(std::string(function)))
            report.add("library-function", place, "The library does not export {}.", function);
}

void checkSharedObject(const fs::path& file, const Place& place, Report& report) {
    const SharedObject library = readSharedObject(file);
    if (library.hasSections)
        checkFunctions(library, place, report);
    else
        report.add("library-sections", place, "The library has no section table that can be read.");

    if (checkGlibc(library, "The library", place, report) && !library.glibc.empty())
        report.note("FMU's library", fmt::format("needs glibc {} or newer", library.glibc));
    const std::vector<Dependency> dependencies = findDependencies(file);
    if (checkDependencies(file, dependencies, place, report) && library.hasSections)
        checkSymbols(library, dependencies, place, report);
}

/// A message about a file of the FMU, without the folder that it was unpacked to.
std::string withoutFolder(std::string message, const fs::path& root) {
    const std::string folder = fs::absolute(root).string() + "/";
    for (std::size_t at = 0; (at = message.find(folder)) != std::string::npos;) message.erase(at, folder.size());
    return message;
}

} // namespace

void checkTree(const Fmu& fmu, Report& report) {
    const fs::path& root = fmu.root();
    std::error_code failure;
    for (const auto& entry : fs::directory_iterator(root, failure)) {
        const std::string name = entry.path().filename();
        if (std::ranges::count(standardEntries, name) == 0)
            report.add("file-stray", {name, 0}, "{} is at the root of the FMU.", inQuotes(name));
    }
    fs::recursive_directory_iterator entry(root, failure);
    for (const fs::recursive_directory_iterator end; !failure && entry != end; entry.increment(failure)) {
        std::error_code ignored;
        const fs::file_type type = entry->symlink_status(ignored).type();
        if (type != fs::file_type::regular && type != fs::file_type::directory)
            report.add("file-special", {entry->path().lexically_relative(root).string(), 0},
                       "{} is neither a regular file nor a folder.", inQuotes(entry->path().filename().string()));
    }
}

void checkLibrary(const Fmu& fmu, std::string_view identifier, const Place& place, Report& report) {
    const std::string name = libraryOf(identifier);
    if (!isFolder(fmu.root() / librariesFolder)) {
        report.add("library-missing", {librariesFolder, 0}, "There is no folder {}.", librariesFolder);
        return;
    }
    if (identifier.find('/') != std::string_view::npos || !isRegularFile(fmu.root() / name)) {
        report.add("library-missing", place, "The model identifier is {}, but there is no library {}.",
                   inQuotes(identifier), inQuotes(name));
        return;
    }
    try {
        checkSharedObject(fmu.root() / name, {name, 0}, report);
    } catch (const UserError& error) {
        report.add("library-unusable", {name, 0}, "{}", withoutFolder(error.what(), fmu.root()));
    }
}

} // namespace tool
