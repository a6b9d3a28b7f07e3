// The part of `doctor` that runs the solver: translator and interface library, each in a child process, on a copy of
// the FMU's resources.
#pragma once

#include <filesystem>

#include "packaging/doctor/fmu_files.h"
#include "packaging/findings.h"

namespace packaging {

struct SolverCheck {
    const FmuFiles& files;         ///< with a template or a model file
    std::filesystem::path library; ///< tscicos.so, which loads and has its four functions
    double timeLimit = 60;         ///< seconds, for the translator and for the session
};

/// Adds what the solver does wrong, and what it says.
void driveSolver(const SolverCheck& check, Findings& findings);

} // namespace packaging
