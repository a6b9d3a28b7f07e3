// Whether the translator and the solver know the parameters and inputs that a master may set: each is set, and the
// model file must be made, and be another one.
#pragma once

#include <string>

#include "tool/doctor/solver/part.h"
#include "tool/doctor/solver/plan.h"
#include "tool/doctor/solver/working_copy.h"
#include "tool/fmu/fmu.h"

namespace tool {

/// Makes the model file as the library does, without values. To be run in a child process.
void makeModelFile(const std::filesystem::path& resources, const ShapeFile& shape, SessionReport& report);

/// Tries values. `plan` has the model without any; `timeLimit` is the seconds after which no further one is tried.
void tryValues(const Fmu& fmu, const WorkingCopy& copy, const SessionPlan& plan, double timeLimit,
               const PartRunner& runner, Report& report);

} // namespace tool
