// What is tried with the solver's interface library, in the order of the tasks: each runs in a child process of its
// own, after the one before has found no error.
#pragma once

#include "tool/doctor/solver/plan.h"
#include "tool/doctor/solver/session_report.h"

namespace tool {

/// The number of steps of a short run.
inline constexpr int shortRun = 4;

/// A short run with all inputs 0.
void runOnce(const SessionPlan& plan, SessionReport& report);

/// Runs under the circumstances that masters make: inputs that are not 0, a restart without blkTerminate as after
/// fmi2Reset, a second instance beside the first, another folder, many runs and steps, small steps. Notes the signals
/// with their first and last values, and how far derivatives are from the differences of the values.
void runRepeatedly(const SessionPlan& plan, SessionReport& report);

} // namespace tool
