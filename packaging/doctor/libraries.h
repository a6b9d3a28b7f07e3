// Whether shared libraries and programs of an installation would run here, without calling any function of theirs.
#pragma once

#include "packaging/doctor/environment.h"
#include "packaging/doctor/fmu_files.h"
#include "packaging/findings.h"

namespace packaging {

/// Examines tscicos.so and loads it, in a child process, as the FMU will. True when it can be driven.
bool examineInterfaceLibrary(const SolverInstallation& installation, Findings& findings);

/// Examines the two places of fmu_batch; what is wrong there is an error only when it is `needed`. True when there is
/// one that can be run.
bool examineTranslators(const SolverInstallation& installation, bool needed, Findings& findings);

/// Examines the FMU's library, which the model description names, and loads it, in a child process, as the strictest
/// masters do.
void examineFmuLibrary(const FmuFiles& files, Findings& findings);

} // namespace packaging
