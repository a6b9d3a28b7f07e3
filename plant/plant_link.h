// The five functions through which the exported functions drive the solver. A plant handle is the access object of one
// solver run; instances have no run in common. Failures are told by the result alone: as a rule the master has then
// already heard of them from the loader or from the solver. No exception leaves these functions,
// whoever threw it.
//
// A function that ends the run also takes the handle out of `FmuInstance::plant` when it stands there.
#pragma once

#include "fmi/fmu_instance.h"
#include "plant/access_object.h"

/// What the two calls of a step are made of. They are inline, so that a step costs hardly more than the solver's own
/// entry points.
namespace plant {

/// The barrier between our code and the solver's: runs a call and tells whether it came back without an exception of
/// any kind. The exception is gone when this returns. Only then may the access object be destroyed: that unloads the
/// library, and with it perhaps the exception's own class.
template <typename Call>
[[gnu::always_inline]] inline bool completes(const Call& call) {
    try {
        call();
        return true;
    } catch (...) {
        return false;
    }
}

/// Destroys the access object of a run and forgets it where it stands in the instance.
[[gnu::cold]] void endRun(FmuInstance* instance, TScicosAccessFnc2* access);

/// One call into a running solver: 0; or -1, and the run is over.
template <typename Call>
[[gnu::always_inline]] inline int call(FmuInstance* instance, void* handle, const Call& entryPoint) {
    if (handle == nullptr) return -1;

    auto* access = static_cast<TScicosAccessFnc2*>(handle);
    const bool completed = completes([&] { entryPoint(*access); });
    if (completed && access->getErrorCode() == 0) return 0;

    endRun(instance, access);
    return -1;
}

} // namespace plant

/// Loads the interface library and starts a run. The plant handle, released by `TSplant_Terminate` or by the first
/// failing call; null when the instance is null, the library cannot be loaded, memory is lacking, or the solver reports
/// an error or throws.
void* TSplant_Instantiate(FmuInstance* instance);

/// Hands the solver the inputs for communication point `time` (seconds); the solver sees the flag as 0 or 1. 0, or -1:
/// the run is then over and the handle invalid. A null handle gives -1, here and in the functions below.
inline int TSplant_DepositPlantInput(FmuInstance* instance, void* plant, int flag, double time) {
    return plant::call(instance, plant, [=](TScicosAccessFnc2& access) {
        access.blkDepositPlantInput(instance, flag != 0 ? 1 : 0, &access, time);
    });
}

/// Lets the solver advance to `time` (seconds) and write the outputs and their derivatives into the instance's real
/// values. Result as above.
inline int TSplant_RequestPlantOutput(FmuInstance* instance, void* plant, double time) {
    return plant::call(instance, plant,
                       [=](TScicosAccessFnc2& access) { access.blkRequestPlantOutput(instance, &access, time); });
}

/// Ends the run; the handle is invalid afterwards whatever the result. 0, or -1 when the solver threw.
int TSplant_Terminate(FmuInstance* instance, void* plant, double time);

/// The distance, counted in reals, from the values of output port 0 to their derivatives of order 1 or 2; -1 for any
/// other order, and without an instance or an output port. Does not call the solver. When the solver had reported an
/// error in the meantime the run is over and the handle invalid, yet the distance is given.
int TSplant_RequestPlantOutputDerivPtrOffset(FmuInstance* instance, void* plant, int order);
