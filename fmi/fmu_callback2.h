// The face of the component instance: how it is built and released, and what the library exports beside the standard's
// functions. Called by the exported functions only.
#pragma once

#include "fmi/fmu_instance.h"

/// Sets pointers and counts of a new record to a known empty state; null is ignored.
void initialize_comp(FmuInstance* instance);

/// Failures of `Allocate_io`.
inline constexpr int allocationFailed = -1;
inline constexpr int filesUnusable = -2; ///< already reported in the master's log

/// Reads the parameter files of the resources folder and allocates the instance's real values and ports from them. 0,
/// or a failure. What was allocated belongs to the instance either way. Effect on the process:
/// `g_fmu_par` and `g_mv_par` are replaced.
int Allocate_io(FmuInstance* instance, const char* resourceLocation);

/// Ends the solver's run and gives every allocation of the instance, half-built or whole, and the record itself back
/// to the master. Null is ignored.
void freeInstance(FmuInstance* instance);

extern "C" {

/// `fmi2SetString` for one variable.
TESSARO_EXPORT fmi2Status setString(fmi2Component instance, fmi2ValueReference vr, fmi2String value);

} // extern "C"
