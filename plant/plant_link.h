// The five functions through which the exported functions drive the solver. A plant handle is the access object of one
// solver run; instances have no run in common. Failures are told by the result alone: as a rule
// the master has then already heard of them from the loader or from the solver. No exception leaves these functions,
// whoever threw it.
//
// A function that ends the run also takes the handle out of `FmuInstance::plant` when it stands there.
#pragma once

#include "fmi/fmu_instance.h"

/// Loads the interface library and starts a run. The plant handle, released by `TSplant_Terminate` or by the first
/// failing call; null when the instance is null, the library cannot be loaded, memory is lacking, or the solver reports
/// an error or throws.
void* TSplant_Instantiate(FmuInstance* instance);

/// Hands the solver the inputs for communication point `time` (seconds); the solver sees the flag as 0 or 1. 0, or -1:
/// the run is then over and the handle invalid. A null handle gives -1, here and in the functions below.
int TSplant_DepositPlantInput(FmuInstance* instance, void* plant, int flag, double time);

/// Lets the solver advance to `time` (seconds) and write the outputs and their derivatives into the instance's real
/// values. Result as above.
int TSplant_RequestPlantOutput(FmuInstance* instance, void* plant, double time);

/// Ends the run; the handle is invalid afterwards whatever the result. 0, or -1 when the solver threw.
int TSplant_Terminate(FmuInstance* instance, void* plant, double time);

/// The distance, counted in reals, from the values of output port 0 to their derivatives of order 1 or 2; -1 for any
/// other order, and without an instance or an output port. Does not call the solver. When the solver had reported an
/// error in the meantime the run is over and the handle invalid, yet the distance is given.
int TSplant_RequestPlantOutputDerivPtrOffset(FmuInstance* instance, void* plant, int order);
