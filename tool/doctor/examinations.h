// What doctor looks at beyond the FMU's files: the environment, the installation's libraries and programs, and the
// places in which a run reads and writes.
#pragma once

#include <filesystem>
#include <string>

#include "tool/findings/report.h"
#include "tool/fmu/fmu.h"

namespace tool {

/// Folders of the solver's installation as the FMU's library will use them; empty where the environment does not lead
/// to one.
struct SolverInstallation {
    std::filesystem::path root;
    std::filesystem::path interfaceLibrary; ///< the file that the library will load
    std::filesystem::path commonFolder;     ///< KELDEX_PATH
    std::string solverOrigin;               ///< why the solver's folder is the one that it is
    bool isUsable = false;                  ///< the FMU will get beyond the environment
};

/// KORVAN_FMU_ROOT, NUSOL_DLL_DIR and KELDEX_PATH. Effect on the process: sets the last two as the library does, so
/// that what is loaded later finds them set.
SolverInstallation examineEnvironment(Report& report);

/// tscicos.so, which is loaded in a child process as the FMU will do it. True when it can be driven.
bool examineInterfaceLibrary(const SolverInstallation& installation, Report& report);

/// The two places of fmu_batch; what is wrong there is an error only when it is `needed`. True when there is one that
/// can be run.
bool examineTranslators(const SolverInstallation& installation, bool needed, Report& report);

/// The FMU's library, in which the FMU's own rules found no error: loads it in a child process as the strictest masters
/// do.
void examineFmuLibrary(const Fmu& fmu, Report& report);

/// The forms in which the known masters pass on the location of a resources folder, which need not exist. False with
/// findings when one of them does not lead to it.
bool examineLocation(const std::filesystem::path& resources, Report& report);

/// The folder into which masters unpack an archive. False when nothing can be unpacked there. Effect on the process:
/// sets TMPDIR to /tmp, as many masters do, when it names a folder that cannot be used.
bool examineTemporaryFolder(Report& report);

/// What is written during a run, and the result file's place as the parameter file names it.
void examineWriting(const Fmu& fmu, Report& report);

} // namespace tool
