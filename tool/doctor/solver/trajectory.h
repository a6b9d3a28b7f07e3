// The outputs of a run over its steps, compared with those of another run, or with their own derivatives.
#pragma once

#include <string>
#include <vector>

#include "tool/doctor/solver/plan.h"

namespace tool {

/// The outputs at a time, by the order of their derivatives; each in the order of the plan's output signals.
struct Moment {
    double time = 0;
    std::vector<double> values, first, second;
};

using Trajectory = std::vector<Moment>;

/// Where the values of a run differ from those expected by more than rounding, as the end of a sentence; empty when
/// they do not.
std::string differenceOf(const Trajectory& run, const Trajectory& expected, const SessionPlan& plan);

/// For each output port how far the derivatives that masters can read are from the differences of the values; one line
/// each, empty when there is none.
std::string derivativeDeviations(const Trajectory& run, const SessionPlan& plan);

} // namespace tool
