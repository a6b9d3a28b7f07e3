#include "packaging/doctor/environment.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <system_error>
#include <vector>

#include <fmt/format.h>

#include "fmi/installation.h"
#include "resources/model_names.h"

namespace packaging {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view absoluteWanted = "Set it to an absolute path.";

bool isFolder(const fs::path& path) {
    std::error_code ignored;
    return fs::is_directory(path, ignored);
}

void record(fmi2ComponentEnvironment environment, fmi2String /*name*/, fmi2Status status, fmi2String /*category*/,
            fmi2String format, ...) {
    char text[2 * pathBufferSize + 256];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (status == fmi2Warning) static_cast<std::vector<std::string>*>(environment)->emplace_back(text);
}

/// The warnings that the library will log.
std::vector<std::string> warningsOf(const Installation& installation) {
    std::vector<std::string> warnings;
    const fmi2CallbackFunctions functions{record, nullptr, nullptr, nullptr, &warnings};
    char name[] = "doctor";
    FmuInstance instance{};
    instance.functions = &functions;
    instance.instanceName = name;
    instance.loggingOn = fmi2True;
    checkInstallation(&instance, installation);
    return warnings;
}

bool examineRoot(const char* root, const Installation& installation, Findings& findings) {
    if (root == nullptr) {
        findings.error("root-unset", {}, "The environment variable KORVAN_FMU_ROOT isn't set.",
                       "No FMU can be instantiated; with the master's logging off it says nothing.",
                       "Set it to the installation's root folder where the master is started: what a shell knows, a "
                       "master started from a desktop or a service doesn't.");
        return false;
    }
    if (installation.overlongVariable != nullptr) {
        findings.error("variable-too-long", {},
                       fmt::format("The environment variable {} leads to a path of more than {} bytes.",
                                   installation.overlongVariable, pathBufferSize - 1),
                       "The library refuses it: no FMU can be instantiated.",
                       "Put the installation into a shorter path.");
        return false;
    }
    if (!isFolder(root)) {
        findings.error("root-missing", {}, fmt::format("KORVAN_FMU_ROOT names no folder: \"{}\".", root),
                       "Interface library and translator are looked for in it.",
                       "Correct the path; nobody expands a ~ or a variable in it.");
        return false;
    }
    if (!fs::path(root).is_absolute())
        findings.error("root-relative", {}, fmt::format("KORVAN_FMU_ROOT is no absolute path: \"{}\".", root),
                       "The library is looked for from the master's working directory, the translator from the FMU's "
                       "resources: there is no directory in which both are found.",
                       std::string(absoluteWanted));
    if (!isPlainInQuotes(root))
        findings.error(
            "root-characters", {},
            fmt::format("KORVAN_FMU_ROOT has a double quote, dollar sign, backquote, double backslash or line "
                        "feed in it: \"{}\".",
                        root),
            "The translator is started by a shell that would read another path: initialization fails.",
            "Write the path with slashes, or move the installation, or set a link to it.");
    return true;
}

/// A folder that follows from the root unless the user sets a variable.
struct Directory {
    const char* variable;
    const PathBuffer& user;
    const PathBuffer& derived;

    bool isUsers() const { return user[0] != '\0'; }
    std::string origin() const {
        return isUsers() ? fmt::format("set in {}", variable) : "derived from KORVAN_FMU_ROOT";
    }
};

fs::path examineDirectory(const Directory& directory, const std::vector<std::string>& warnings, Findings& findings) {
    fs::path used = (directory.isUsers() ? directory.user : directory.derived).data();
    for (const std::string& warning : warnings)
        if (warning.find(directory.variable) != std::string::npos)
            findings.warning(
                "directory-differs", {},
                fmt::format("{} names another folder than follows from KORVAN_FMU_ROOT.", directory.variable),
                fmt::format("It is used all the same, and the master's log will say \"{}\"", warning),
                fmt::format("Unset {} unless it is meant so.", directory.variable));
    if (directory.isUsers() && used.is_relative())
        findings.warning("directory-relative", {},
                         fmt::format("{} is no absolute path: \"{}\".", directory.variable, used.string()),
                         "It counts from the working directory of the master, which differs from master to master.",
                         std::string(absoluteWanted));
    return used;
}

void examineCommonFolder(const SolverInstallation& found, const Directory& directory, Findings& findings) {
    if (isFolder(found.commonFolder))
        findings.note("common libraries", fmt::format("{}\n{}", found.commonFolder.string(), directory.origin()));
    else
        findings.warning("common-folder-missing", {},
                         fmt::format("The solver's common libraries should be in {}, which is no folder.",
                                     found.commonFolder.string()),
                         "The FMU doesn't need it, but the solver may: it is told of it by KELDEX_PATH.",
                         "Complete the installation, or set KELDEX_PATH.");
}

} // namespace

SolverInstallation examineEnvironment(Findings& findings) {
    const char* root = std::getenv("KORVAN_FMU_ROOT");
    const Installation installation = discoverInstallation();
    if (!examineRoot(root, installation, findings)) return {};
    findings.note("KORVAN_FMU_ROOT", root);

    const std::vector<std::string> warnings = warningsOf(installation);
    const Directory solver{"NUSOL_DLL_DIR", installation.userSolverDirectory, installation.derivedSolverDirectory};
    const Directory common{"KELDEX_PATH", installation.userCommonDirectory, installation.derivedCommonDirectory};
    SolverInstallation found;
    found.usable = true;
    found.root = root;
    found.solverFolder = examineDirectory(solver, warnings, findings);
    found.solverOrigin = solver.origin();
    found.commonFolder = examineDirectory(common, warnings, findings);
    examineCommonFolder(found, common, findings);
    return found;
}

} // namespace packaging
