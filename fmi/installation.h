// Where the solver installation lies: KORVAN_FMU_ROOT, from which two directories of libraries follow, and
// NUSOL_DLL_DIR and KELDEX_PATH, with which a user names other ones.
#pragma once

#include <array>

#include "fmi/fmu_instance.h"

using PathBuffer = std::array<char, pathBufferSize>;

/// What the environment says; texts are empty when it says nothing.
struct Installation {
    PathBuffer userSolverDirectory{}; ///< the user's NUSOL_DLL_DIR, with forward slashes
    PathBuffer userCommonDirectory{}; ///< the user's KELDEX_PATH
    PathBuffer derivedSolverDirectory{};
    PathBuffer derivedCommonDirectory{};
    const char* overlongVariable = nullptr; ///< name of a variable whose value fits no path buffer
};

/// Reads the three variables. Effect on the process: sets NUSOL_DLL_DIR and KELDEX_PATH to the derived directories
/// where the user left them empty, unless a text is too long; a user's value is never overwritten.
Installation discoverInstallation();

/// False when the installation cannot be used. Failures, and warnings of a user's directory that is not the derived
/// one, go to the master's log while the instance's logging is on.
bool checkInstallation(const FmuInstance* instance, const Installation& installation);
