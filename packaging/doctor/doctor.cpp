#include "packaging/doctor/doctor.h"

#include "packaging/doctor/environment.h"
#include "packaging/doctor/fmu_files.h"
#include "packaging/doctor/interruption.h"
#include "packaging/doctor/libraries.h"
#include "packaging/doctor/locations.h"
#include "packaging/doctor/solver_check.h"
#include "packaging/fmu_tree.h"
#include "packaging/user_error.h"

namespace packaging {

namespace {

namespace fs = std::filesystem;

/// Where the FMU's files are or will be. False when they can't be anywhere.
bool examinePlace(const fs::path& fmu, Findings& findings) {
    if (!fs::is_directory(fmu)) return examineTemporaryFolder(findings);
    const fs::path resources = fs::absolute(fmu / "resources").lexically_normal();
    if (examineLocation(resources, findings))
        findings.note("resources", resources.string() + "; all masters can tell this path");
    return true;
}

void examineFmu(const DoctorOptions& options, const SolverInstallation& installation, Findings& findings) {
    const bool loaded = installation.usable && examineInterfaceLibrary(installation, findings);
    if (!examinePlace(options.fmu, findings)) return;
    const FmuTree tree(options.fmu, findings);
    const FmuFiles files = examineFiles(tree.root(), tree.isArchive(), findings);
    const bool translated = installation.usable && examineTranslators(installation, !files.hasModelFile, findings);
    examineFmuLibrary(files, findings);
    examineWriting(files, findings);
    if (!options.driveSolver) return;

    if (loaded && files.areUsable && (files.hasModelFile || (files.hasTemplate && translated)))
        driveSolver({files, installation.solverFolder / "tscicos.so", options.timeLimit}, findings);
    else
        findings.note("solver", "not driven: see the errors");
}

void examineAll(const DoctorOptions& options, Findings& findings) {
    const SolverInstallation installation = examineEnvironment(findings);
    if (!options.fmu.empty()) return examineFmu(options, installation, findings);
    if (!installation.usable) return;
    examineInterfaceLibrary(installation, findings);
    examineTranslators(installation, true, findings);
}

} // namespace

void examine(const DoctorOptions& options, Findings& findings) {
    if (options.driveSolver && options.fmu.empty())
        fail("--solver needs an FMU: its ports and its model are what the solver is driven with.");
    const SignalWatch watch;
    try {
        examineAll(options, findings);
    } catch (const Interrupted&) { // all is tidied up; the watch ends the process
    }
}

} // namespace packaging
