#include "tool/doctor/doctor.h"

#include <optional>

#include "tool/check/check.h"
#include "tool/doctor/examinations.h"
#include "tool/doctor/obstacles.h"
#include "tool/doctor/solver/drive.h"
#include "tool/fmu/names.h"
#include "tool/os/files.h"
#include "tool/os/user_error.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

/// Where the FMU's files are or will be. False when they cannot be anywhere.
bool examinePlace(const fs::path& fmu, Report& report) {
    if (isInClosedFolder(fmu / resourcesFolder, report)) return false;
    if (!isFolder(fmu)) return examineTemporaryFolder(report);
    const fs::path resources = fs::absolute(fmu / resourcesFolder).lexically_normal();
    refusesToRun(fs::absolute(fmu), "the FMU", report, "Unpack it to a folder on another file system.");
    if (examineLocation(resources, report))
        report.note("resources", resources.string() + "; all masters can pass this path on");
    return true;
}

void noteModel(const Fmu& fmu, Report& report) {
    if (fmu.hasModelFile())
        report.note("model", fmu.modelFile() + ", used unchanged: start values have no effect");
    else if (fmu.hasTemplate())
        report.note("model", fmt::format("made from {} at a start that finds no model file", fmu.modelTemplate()));
}

/// What keeps the FMU from reaching the solver, for a sentence; empty when nothing does.
std::string obstacleOf(const Fmu& fmu, bool isLoaded, bool isTranslated, const Report& report) {
    if (!isLoaded) return "the interface library cannot be used";
    for (const std::string& file : {shapeFileName, nameFileName})
        if (report.hasErrorIn(file)) return fmt::format("there are errors in {}", file);
    if (fmu.hasModelFile()) return "";
    if (!fmu.hasTemplate()) return "there is neither a template nor a model file";
    return isTranslated ? "" : "the translator cannot be used";
}

void examineInstallation(const SolverInstallation& installation, Report& report) {
    if (!installation.isUsable) return;
    report.looksAt("the installation");
    examineInterfaceLibrary(installation, report);
    examineTranslators(installation, true, report);
}

/// False with a finding when it cannot be opened.
bool open(const fs::path& path, std::optional<Fmu>& fmu, Report& report) {
    if (!examinePlace(path, report)) return false;
    try {
        fmu.emplace(fs::absolute(path).lexically_normal());
        return true;
    } catch (const UserError& error) {
        report.add("unreadable", {}, "{}", error.what());
        return false;
    }
}

void examineFmu(const DoctorOptions& options, const SolverInstallation& installation, Report& report) {
    std::optional<Fmu> opened;
    if (!open(options.fmu, opened, report)) return examineInstallation(installation, report);
    const Fmu& fmu = *opened;
    checkFmu(fmu, report);
    noteModel(fmu, report);
    if (installation.isUsable) report.looksAt("the installation");
    const bool isLoaded = installation.isUsable && examineInterfaceLibrary(installation, report);
    const bool isTranslated = installation.isUsable && examineTranslators(installation, !fmu.hasModelFile(), report);
    examineFmuLibrary(fmu, report);
    examineWriting(fmu, report);

    if (!options.driveSolver) return report.skips("the solver (--solver)");
    if (const std::string obstacle = obstacleOf(fmu, isLoaded, isTranslated, report); !obstacle.empty())
        return report.skips("the solver, since " + obstacle);
    driveSolver({fmu, installation.interfaceLibrary, options.timeLimit}, report);
}

} // namespace

void examine(const DoctorOptions& options, Report& report) {
    if (options.driveSolver && options.fmu.empty())
        fail("--solver needs an FMU: its ports and its model are what the solver is driven with.");
    report.looksAt("the environment");
    const SolverInstallation installation = examineEnvironment(report);
    if (!options.fmu.empty()) return examineFmu(options, installation, report);
    report.skips("an FMU, since none was named");
    examineInstallation(installation, report);
}

} // namespace tool
