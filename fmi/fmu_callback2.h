// The face of the component instance: how it is built and released, and what the library exports beside the standard's
// functions. Called by the exported functions only.
#pragma once

#include "fmi/fmu_instance.h"

/// Sets pointers and counts of a new record to a known empty state; null is ignored.
void initialize_comp(FmuInstance* instance);

/// Reads the parameter files of the resources folder and allocates the instance's real values and ports from them.
/// 0; -1 (all bits set) when an allocation failed; -2 when the parameter files cannot be used, which is then already
/// reported in the master's log. What was allocated belongs to the instance either way. Effect on the process:
/// `g_fmu_par` and `g_mv_par` are replaced.
int Allocate_io(FmuInstance* instance, const char* resourceLocation);

/// Ends the solver's run and gives every allocation of the instance, half-built or whole, and the record itself back
/// to the master. Null is ignored.
void freeInstance(FmuInstance* instance);

extern "C" {

/// `fmi2SetString` for one variable.
TESSARO_EXPORT fmi2Status setString(fmi2Component instance, fmi2ValueReference vr, fmi2String value);

} // extern "C"
