#include <cstdlib>
#include <vector>

#include "fmi/instance/installation.h"
#include "resources/model_names.h"
#include "tool/doctor/examinations.h"
#include "tool/doctor/obstacles.h"
#include "tool/fmu/library_log.h"
#include "tool/os/files.h"
#include "util/dynamic_library.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

/// The warnings that the library will log.
std::vector<std::string> warningsOf(const Installation& installation) {
    LibraryLog log;
    checkInstallation(log.instance(), installation);
    return log.warnings();
}

bool examineRoot(const char* root, const Installation& installation, Report& report) {
    if (root == nullptr) {
        report.add("root-unset", {}, "The environment variable KORVAN_FMU_ROOT is not set.");
        return false;
    }
    if (installation.overlongVariable != nullptr) {
        report.add("variable-too-long", {}, "The environment variable {} leads to a path of more than {} bytes.",
                   installation.overlongVariable, pathBufferSize - 1);
        return false;
    }
    if (*root != '\0' && !isFolder(root) && isInClosedFolder(root, report)) return false;
    if (!isFolder(root)) {
        report.add("root-missing", {}, "KORVAN_FMU_ROOT does not name a folder: {}.", inQuotes(root));
        return false;
    }
    if (!fs::path(root).is_absolute())
        report.add("root-relative", {}, "KORVAN_FMU_ROOT is not an absolute path: {}.", inQuotes(root));
    if (!isPlainInQuotes(root))
        report.add("root-characters", {},
                   "KORVAN_FMU_ROOT has a double quote, dollar sign, backquote, double backslash or line feed in it: "
                   "{}.",
                   inQuotes(root));
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

fs::path examineDirectory(const Directory& directory, const std::vector<std::string>& warnings, Report& report) {
    fs::path used = (directory.isUsers() ? directory.user : directory.derived).data();
    for (const std::string& warning : warnings)
        if (warning.find(directory.variable) != std::string::npos)
            report
                .add("directory-differs", {}, "{} names another folder than follows from KORVAN_FMU_ROOT.",
                     directory.variable)
                .why(fmt::format("It is used all the same, and the master's log will say \"{}\"", printable(warning)));
    if (directory.isUsers() && used.is_relative())
        report.add("directory-relative", {}, "{} is not an absolute path: {}.", directory.variable,
                   inQuotes(used.string()));
    return used;
}

void examineCommonFolder(const SolverInstallation& found, const Directory& directory, Report& report) {
    if (isFolder(found.commonFolder))
        report.note("common libraries", fmt::format("{}\n{}", found.commonFolder.string(), directory.origin()));
    else if (!isInClosedFolder(found.commonFolder, report))
        report.add("common-folder-missing", {}, "The solver's common libraries should be in {}, which is not a folder.",
                   found.commonFolder.string());
}

} // namespace

SolverInstallation examineEnvironment(Report& report) {
    const char* root = std::getenv(installation::rootVariable);
    const Installation derived = discoverInstallation();
    if (!examineRoot(root, derived, report)) return {};
    report.note(installation::rootVariable, root);

    const std::vector<std::string> warnings = warningsOf(derived);
    const Directory solver{installation::solverVariable, derived.userSolverDirectory, derived.derivedSolverDirectory};
    const Directory common{installation::commonVariable, derived.userCommonDirectory, derived.derivedCommonDirectory};
    SolverInstallation found;
    found.isUsable = true;
    found.root = root;
    found.interfaceLibrary =
        examineDirectory(solver, warnings, report) / (std::string(installation::interfaceLibrary) + GetDllExtension());
    found.solverOrigin = solver.origin();
    found.commonFolder = examineDirectory(common, warnings, report);
    examineCommonFolder(found, common, report);
    return found;
}

} // namespace tool
