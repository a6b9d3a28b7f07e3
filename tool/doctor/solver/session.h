// A scripted session with the solver's interface library, called as the FMU calls it. To be run in a child process: the
// library may do anything.
#pragma once

#include <filesystem>
#include <string>

#include "tool/doctor/solver/session_report.h"
#include "tool/doctor/solver/watched_instance.h"
#include "tool/fmu/parameter_files.h"

namespace tool {

struct SessionPlan {
    std::filesystem::path library;
    std::filesystem::path resources; ///< with the model file
    std::string resultFile;
    const ShapeFile& shape; ///< without errors
    double stepSize = 0;    ///< seconds
    DerivativeOrders orders{};
};

/// The number of steps of a session: all of the plan's size but the last, which is half as long.
inline constexpr int nSessionSteps = 4;

/// Starts a run, steps, deposits once more for time 0, as at the end of a run without a stop time, and ends the run.
void runSession(const SessionPlan& plan, SessionReport& report);

} // namespace tool
