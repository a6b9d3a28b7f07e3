// `tessaro-fmu check`: everything that is wrong or risky in an FMU, without running any of its code.
#pragma once

#include "tool/findings/report.h"
#include "tool/fmu/fmu.h"

namespace tool {

/// Adds what is found.
void checkFmu(const Fmu& fmu, Report& report);

} // namespace tool
