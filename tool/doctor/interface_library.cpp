#include <algorithm>
#include <array>
#include <string_view>
#include <utility>
#include <vector>

#include <dlfcn.h>
#include <fmt/ranges.h>

#include "fmi/instance/installation.h"
#include "tool/doctor/examinations.h"
#include "tool/doctor/loading.h"
#include "tool/doctor/obstacles.h"
#include "tool/fmu/dependencies.h"
#include "tool/fmu/shared_object.h"
#include "tool/os/files.h"
#include "tool/os/user_error.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr std::array entryPointNames{"blkStart", "blkRequestPlantOutput", "blkDepositPlantInput", "blkTerminate"};
constexpr std::array standardStreams{std::pair("_ZSt4cout", "std::cout"), std::pair("_ZSt4cerr", "std::cerr"),
                                     std::pair("_ZSt4clog", "std::clog"), std::pair("_ZSt3cin", "std::cin")};

/// Where in the installation a library is that the loader does not find, as advice.
std::string adviceFor(const std::vector<std::string>& missing, const SolverInstallation& installation) {
    for (const fs::path& folder : {installation.commonFolder, installation.interfaceLibrary.parent_path()})
        for (const std::string& name : missing)
            if (!folder.empty() && isRegularFile(folder / name))
                return fmt::format("{} is in {}: put this folder into LD_LIBRARY_PATH before the master starts. The "
                                   "loader does not look into NUSOL_DLL_DIR and KELDEX_PATH.",
                                   name, folder.string());
    return "Install what is missing, or name its folder in LD_LIBRARY_PATH before the master starts.";
}

/// False with a finding when the library does not load as the FMU loads it. What is missing here is also missing when
/// this program brings it along and has loaded it already.
bool examineLoading(const SolverInstallation& installation, const Place& place, Report& report) {
    const fs::path& file = installation.interfaceLibrary;
    const std::string refusal = loadingRefusal(file, RTLD_LAZY | RTLD_DEEPBIND);
    if (!refusal.empty() && refusesToRun(file.parent_path(), "the folder of the interface library", report))
        return false;

    const std::vector<std::string> missing = missingDependencies(file);
    if (!missing.empty())
        report.add("library-dependency", place, "The library needs {}, not found here.", fmt::join(missing, ", "))
            .why(refusal.empty() ? "It loads only in a program that brings this along, such as this one."
                                 : fmt::format("It does not load: {}.", printable(refusal)))
            .fix(adviceFor(missing, installation));
    else if (!refusal.empty())
        report.add("library-load", place, "The library does not load: {}.", refusal);
    return missing.empty() && refusal.empty();
}

/// Functions that nobody defines show at their first call only, as the FMU loads the library.
void examineUndefined(const fs::path& file, const Place& place, Report& report) {
    const std::string refusal = loadingRefusal(file, RTLD_NOW | RTLD_DEEPBIND);
    if (!refusal.empty())
        report.add("library-undefined", place, "The library loads, but not all of its functions are there: {}.",
                   refusal);
}

/// Without a table of sections only the loader can say which functions there are.
bool examineLoadedEntryPoints(const fs::path& file, const Place& place, Report& report) {
    report.add("library-sections", place, "The library has no section table that can be read.")
        .why("The loader accepts it, but what it needs and exports cannot be examined.")
        .fix("Use the library as it was built, or strip it with strip.");
    bool isComplete = true;
    for (const std::string name : entryPointNames) {
        if (hasLoadedFunction(file, RTLD_LAZY | RTLD_DEEPBIND, name)) continue;
        isComplete = false;
        report.add("entry-point-missing", place, "The library has no function {}.", name);
    }
    return isComplete;
}

bool examineEntryPoints(const SharedObject& library, const Place& place, Report& report) {
    bool isComplete = true;
    for (const std::string name : entryPointNames) {
        if (library.hasFunction(name)) continue;
        isComplete = false;
        const std::string mangled = fmt::format("_Z{}{}", name.size(), name);
        const bool isMangled = std::ranges::any_of(
            library.exports, [&](const auto& symbol) { return symbol.second && symbol.first.starts_with(mangled); });
        if (isMangled)
            report.add("entry-point-missing", place, "The library has {} under a C++ name only.", name);
        else
            report.add("entry-point-missing", place, "The library has no function {}.", name);
    }
    return isComplete;
}

void examineStreams(const SharedObject& library, const Place& place, Report& report) {
    for (const auto& [symbol, name] : standardStreams)
        if (library.imports.contains(symbol)) report.add("library-streams", place, "The library uses {}.", name);
}

/// With the runtime in the library exceptions and streams of the master and of the solver are not the same.
void examineRuntime(const fs::path& file, const SharedObject& library, const Place& place, Report& report) {
    const bool needsRuntime = std::ranges::any_of(library.needed, [](const std::string& name) {
        return name.starts_with("libstdc++.so") || name.starts_with("libc++.so");
    });
    if (!needsRuntime && holdsCxxRuntime(file))
        report.add("library-runtime", place, "The C++ runtime is linked into the library.");
}

void reportMissingLibrary(const SolverInstallation& installation, const Place& place, Report& report) {
    if (isInClosedFolder(installation.interfaceLibrary.parent_path(), report)) return;
    const fs::path own = installation.root / installation::solverDirectory / installation.interfaceLibrary.filename();
    Report::Added added = report.add("interface-library-missing", place, "The interface library does not exist.");
    if (isRegularFile(own)) added.fix("The installation has one: unset NUSOL_DLL_DIR.");
}

} // namespace

bool examineInterfaceLibrary(const SolverInstallation& installation, Report& report) {
    const fs::path& file = installation.interfaceLibrary;
    const Place place{file.string()};
    if (!isRegularFile(file)) {
        reportMissingLibrary(installation, place, report);
        return false;
    }
    try {
        const SharedObject library = readSharedObject(file);
        const bool isNamed = !library.hasSections || examineEntryPoints(library, place, report);
        if (!examineLoading(installation, place, report)) return false;
        const bool isComplete = library.hasSections ? isNamed : examineLoadedEntryPoints(file, place, report);
        examineUndefined(file, place, report);
        examineStreams(library, place, report);
        examineRuntime(file, library, place, report);
        if (isComplete)
            report.note("interface library",
                        fmt::format("{}\n{}; loads, has its four functions", file.string(), installation.solverOrigin));
        return isComplete;
    } catch (const UserError& error) {
        report.add("library-unusable", place, "{}", error.what())
            .why("The FMU cannot load it.")
            .fix("Install the solver's library for 64-bit Linux.");
        return false;
    }
}

} // namespace tool
