// `tessaro-fmu check`: everything that is wrong or risky in an FMU, without running any of its code.
#pragma once

#include "packaging/findings.h"
#include "packaging/fmu_tree.h"

namespace packaging {

/// Adds what is found. Throws UserError only when files can't be read at all.
void checkFmu(const FmuTree& fmu, Findings& findings);

} // namespace packaging
