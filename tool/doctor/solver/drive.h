// The part of `doctor` that runs the solver: translator and interface library, each in a child process, on a copy of
// the FMU's resources.
#pragma once

#include <filesystem>

#include "tool/findings/report.h"
#include "tool/fmu/fmu.h"

namespace tool {

struct SolverCheck {
    const Fmu& fmu;                ///< with a template or a model file, and without errors in its parameter files
    std::filesystem::path library; ///< tscicos.so, which loads and has its four functions
    double timeLimit = 60;         ///< seconds, for the translator and for the session
};

/// Adds what the solver does wrong, and what it says.
void driveSolver(const SolverCheck& check, Report& report);

} // namespace tool
