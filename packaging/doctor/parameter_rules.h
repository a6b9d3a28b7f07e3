// Whether the FMU's library accepts what the two parameter files say.
#pragma once

#include "packaging/doctor/fmu_files.h"

namespace packaging {

/// Reads fmu2ts.par into `files.parameters`, and examines it and mv.par. Sets `hasParameters` and `areUsable`.
void examineParameterFiles(FmuFiles& files, Findings& findings);

} // namespace packaging
