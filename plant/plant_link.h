// The five functions through which the exported functions drive the solver. A plant handle is the access object of one
// solver run; every instance has runs of its own. Failures are reported by the return value only; the loader or the
// solver has normally logged the reason. No exception escapes.
//
// A function that ends the run also clears `FmuInstance::plant` if it is that run's handle.
#pragma once

#include "fmi/instance/fmu_instance.h"
#include "plant/access_object.h"

/// Helpers of the functions below. The two calls of a step are inline: a step takes 57 instructions, as functions of
/// their own they would make it 91, and the solver's own entry points take 17 (benchmarks/README.md).
namespace plant {

/// The exception barrier around the solver's code: false when the call threw anything. The exception is destroyed
/// before this returns. Only then may the access object be destroyed: that unloads the library, which may define the
/// class of the exception.
template <typename Call>
[[gnu::always_inline]] inline bool completes(const Call& call) {
    try {
        call();
        return true;
    } catch (...) {
        return false;
    }
}

/// Destroys the access object of a run and clears `instance->plant` if it is that object.
[[gnu::cold]] void endRun(FmuInstance* instance, TScicosAccessFnc2* access);

/// One call into a running solver. Returns 0, or -1 after ending the run.
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

/// Loads the interface library and starts a run. Returns the plant handle, which `TSplant_Terminate` or the first
/// failing call releases. Null when the instance is null, the library cannot be loaded, memory runs out, or the solver
/// reports an error or throws.
void* TSplant_Instantiate(FmuInstance* instance);

/// Passes the inputs for communication point `time` (seconds) to the solver; a flag other than 0 is passed as 1.
/// Returns 0. On failure returns -1, the run is over and the handle invalid. A null handle gives -1, also in the
/// functions below.
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

/// Ends the run. Returns 0, or -1 when the solver threw; the handle is invalid in both cases.
int TSplant_Terminate(FmuInstance* instance, void* plant, double time);

/// The distance, in reals, from the values of output port 0 to their derivatives of order 1 or 2; -1 for any other
/// order, and without an instance or an output port. Does not call the solver. If the solver has reported an error
/// since the last call, the run is over and the handle invalid, but the distance is still returned.
int TSplant_RequestPlantOutputDerivPtrOffset(FmuInstance* instance, void* plant, int order);
