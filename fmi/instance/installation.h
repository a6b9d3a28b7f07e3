// Where the solver installation is: KORVAN_FMU_ROOT, from which two directories of libraries and those of the
// translator are derived, and NUSOL_DLL_DIR and KELDEX_PATH, with which a user sets other directories of libraries.
#pragma once

#include <array>

#include "fmi/instance/fmu_instance.h"

namespace installation {

inline constexpr const char* rootVariable = "KORVAN_FMU_ROOT";
inline constexpr const char* solverVariable = "NUSOL_DLL_DIR";
inline constexpr const char* commonVariable = "KELDEX_PATH";

/// Directories below the root.
inline constexpr const char* solverDirectory = "plsolvers/tessaro/bin/linux64";
inline constexpr const char* commonDirectory = "plsolvers/common/bin/linux64";

/// The interface library, in the solver's directory; the platform's extension of libraries follows.
inline constexpr const char* interfaceLibrary = "tscicos";

/// The directories below the root that may hold the translator, in the order tried; in each, `translator` is its path.
inline constexpr std::array translatorDirectories{"io/translators/bin", "pldesktop/io/translators/bin"};
inline constexpr const char* translator = "linux64/fmu_batch";

} // namespace installation

using PathBuffer = std::array<char, pathBufferSize>;

/// What is in the environment; strings are empty if a variable is not set.
struct Installation {
    PathBuffer userSolverDirectory{}; ///< the user's NUSOL_DLL_DIR, with forward slashes
    PathBuffer userCommonDirectory{}; ///< the user's KELDEX_PATH
    PathBuffer derivedSolverDirectory{};
    PathBuffer derivedCommonDirectory{};
    const char* overlongVariable = nullptr; ///< name of a variable whose value does not fit a path buffer
};

/// Reads the three variables, under the process lock. Effect on the process: sets NUSOL_DLL_DIR and KELDEX_PATH to the
/// derived directories where the user left them empty, unless a string is too long; a user's value is never
/// overwritten.
Installation discoverInstallation();

/// False if the installation cannot be used. Failures, and warnings of a user's directory that is not the derived one,
/// go to the master's log while the instance's logging is on; a warning is cut at 2047 characters.
bool checkInstallation(const FmuInstance* instance, const Installation& installation);
