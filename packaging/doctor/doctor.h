// `tessaro-fmu doctor`: why an FMU doesn't start on this machine, in this environment.
#pragma once

#include <filesystem>

#include "packaging/findings.h"

namespace packaging {

struct DoctorOptions {
    std::filesystem::path fmu; ///< archive or unpacked folder; empty: the installation alone
    bool driveSolver = false;  ///< also run the interface library through a session, in a child process
    double timeLimit = 60;     ///< seconds that the solver is given for it
};

/// Adds what is found. Prints nothing.
void examine(const DoctorOptions& options, Findings& findings);

} // namespace packaging
