// `tessaro-fmu doctor`: why an FMU does not start on this machine, in this environment.
#pragma once

#include <filesystem>

#include "tool/findings/report.h"

namespace tool {

struct DoctorOptions {
    std::filesystem::path fmu; ///< archive or unpacked folder; empty: the installation alone
    bool driveSolver = false;  ///< also run the interface library through a session, in a child process
    double timeLimit = 60;     ///< seconds that the solver is given for it
};

/// Adds what is found: what check finds in the FMU first, then the rest. Prints nothing. Loads the FMU's library and
/// the solver's, in child processes, and says so before on standard error.
void examine(const DoctorOptions& options, Report& report);

} // namespace tool
