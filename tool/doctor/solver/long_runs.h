// Many runs and steps of one instance after the other: what they leave in memory and in descriptors, and what the first
// of them shows of the signals. For child processes only.
#pragma once

#include "tool/doctor/solver/session.h"

namespace tool {

/// Makes 20 runs with at least 1,000 steps in all, unless the plan's patience ends or a run fails. The first one goes
/// to the final time, if that is within 1,000 steps.
void runLong(const SessionContext& context);

} // namespace tool
