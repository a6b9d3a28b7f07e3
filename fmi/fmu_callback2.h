// How a component instance is built and released. For the exported functions only.
#pragma once

#include "fmi/instance/fmu_instance.h"
#include "resources/parameter_files.h"

/// Sets the pointers and counts of a new record to null and 0; null is ignored.
void initialize_comp(FmuInstance* instance);

/// Reads the parameter files of the resources folder and allocates the instance's real values and ports from them. 0;
/// or -1 if the files cannot be used or an allocation fails, with a message. What was allocated belongs to the instance
/// either way. `parameters` receives what was read from `fmu2ts.par`. Effect on the process: `g_fmu_par` and `g_mv_par`
/// are replaced.
int Allocate_io(FmuInstance* instance, const char* resourceLocation, FmuParRecord& parameters);

/// Ends the solver's run and frees every allocation of the instance, and then the record, through the master's
/// `freeMemory`. The instance may be half-built. Null is ignored.
void freeInstance(FmuInstance* instance);
