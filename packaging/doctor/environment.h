// What the environment says of the solver installation, and what the FMU's library will make of it.
#pragma once

#include <filesystem>
#include <string>

#include "packaging/findings.h"

namespace packaging {

/// Folders of the installation as the library will use them; empty where the environment doesn't lead to one.
struct SolverInstallation {
    std::filesystem::path root;
    std::filesystem::path solverFolder; ///< where tscicos.so is looked for
    std::filesystem::path commonFolder; ///< KELDEX_PATH
    std::string solverOrigin;           ///< why the solver's folder is the one that it is
    bool usable = false;                ///< the library will get beyond the environment
};

/// Examines KORVAN_FMU_ROOT, NUSOL_DLL_DIR and KELDEX_PATH. Effect on the process: sets the last two as the library
/// does, so that what is loaded later finds them set.
SolverInstallation examineEnvironment(Findings& findings);

} // namespace packaging
