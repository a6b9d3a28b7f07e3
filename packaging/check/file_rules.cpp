#include <algorithm>
#include <map>
#include <set>
#include <system_error>

#include <cstring>

#include <gnu/libc-version.h>

#include "packaging/check/file_access.h"
#include "packaging/check/rules.h"
#include "packaging/shared_object.h"
#include "packaging/user_error.h"

namespace packaging::checking {

namespace {

namespace fs = std::filesystem;

/// What FMI 2.0 knows at the root of an FMU.
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

/// False when one isn't found.
bool checkDependencies(const fs::path& file, const std::vector<Dependency>& dependencies, const Place& place,
                       Report& report) {
    bool areFound = true;
    for (const Dependency& dependency : dependencies) {
        if (!dependency.path.empty()) continue;
        areFound = false;
        const bool isPath = dependency.name.find('/') != std::string::npos;
        if (!isPath && isRegularFile(file.parent_path() / dependency.name))
            report.add("library-origin", place, "The loader doesn't find {}, though it lies beside the library.",
                       inQuotes(dependency.name));
        else
            report.add("library-dependency", place, "The loader finds no {} here.", inQuotes(dependency.name));
    }
    return areFound;
}

/// The same that binding all symbols at once would find, but for their versions, and without loading anything.
void checkSymbols(const SharedObject& library, const std::vector<Dependency>& dependencies, const Place& place,
                  Report& report) {
    std::map<std::string, SharedObject> loaded{{place.file, library}};
    loaded.emplace("the loader", readSharedObject("/lib64/ld-linux-x86-64.so.2"));
    for (const Dependency& dependency : dependencies)
        loaded.emplace(dependency.name, readSharedObject(dependency.path));

    std::set<std::string> exports;
    for (auto& [name, object] : loaded) {
        if (!object.hasSections)
            return report.note("library", fmt::format("{} has no section table: symbols aren't looked at", name));
        exports.merge(object.exports);
    }
    for (const auto& [name, object] : loaded)
        for (const std::string& symbol : object.imports)
            if (!exports.contains(symbol))
                report.add("library-symbol", place, "{} needs the symbol {}, which none of the libraries has.",
                           inQuotes(name), inQuotes(symbol));
}

void checkFunctions(const SharedObject& library, const Place& place, Report& report) {
    if (!library.hasSections)
        return report.add("library-sections", place, "The library has no table of sections that can be read.");
    for (const std::string_view function : functions)
        if (!library.functions.contains(std::string(function)))
            report.add("library-function", place, "The library doesn't export {}.", function);
}

void checkSharedObject(const fs::path& file, const Place& place, Report& report) {
    const SharedObject library = readSharedObject(file);
    checkFunctions(library, place, report);

    const char* here = gnu_get_libc_version();
    if (strverscmp(library.glibc.c_str(), here) > 0)
        return report.add("library-glibc", place, "The library needs glibc {}; this machine has {}.",
                          inQuotes(library.glibc), here);
    if (!library.glibc.empty()) report.note("library", fmt::format("needs glibc {} or newer", library.glibc));
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

void checkTree(const fs::path& root, Report& report) {
    std::error_code failure;
    for (const auto& entry : fs::directory_iterator(root, failure)) {
        const std::string name = entry.path().filename();
        if (std::ranges::count(standardEntries, name) == 0)
            report.add("file-stray", {name, 0}, "{} stands at the root of the FMU.", inQuotes(name));
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

void checkLibrary(const fs::path& root, std::string_view identifier, const Place& place, Report& report) {
    const std::string name = fmt::format("binaries/linux64/{}.so", identifier);
    if (!isFolder(root / "binaries/linux64"))
        return report.add("library-missing", {"binaries/linux64", 0}, "There is no folder binaries/linux64.");
    if (identifier.find('/') != std::string_view::npos || !isRegularFile(root / name))
        return report.add("library-missing", place, "The model identifier is {}, but there is no library {}.",
                          inQuotes(identifier), inQuotes(name));
    try {
        checkSharedObject(root / name, {name, 0}, report);
    } catch (const UserError& error) {
        report.add("library-unusable", {name, 0}, "{}", printable(withoutFolder(error.what(), root)));
    }
}

} // namespace packaging::checking
