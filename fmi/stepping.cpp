#include "fmi/fmi2.h"
#include "fmi/instance/call_rules.h"
#include "fmi/instance/log.h"
#include "plant/plant_link.h"

namespace {

/// The failures of a step. They are separate cold functions: a step is the call that a master makes most often.

[[gnu::cold]] fmi2Status refuseStepSize(FmuInstance* instance, double stepSize) {
    // Kept: "Fount" is misspelt in the message.
    logMessage(instance, fmi2Error, "logError", "fmi2DoStep: communication step size must be > 0. Fount %g.", stepSize);
    instance->state = stateError;
    return fmi2Error;
}

/// Here and in the next function, the plant link has ended the run and cleared `plant`.
[[gnu::cold]] fmi2Status failDeposit(const FmuInstance* instance, double time) {
    // Kept: the state stays step complete, so the next step fails here again. "deposite" is misspelt in the message,
    // and its category is "logAll", as below.
    logMessage(instance, fmi2Error, "logAll",
               "Problem in cosimulation, unable to deposite plant input at communication point=%g.", time);
    return fmi2Error;
}

/// The message has the start of the step, not its end.
[[gnu::cold]] fmi2Status failRequest(FmuInstance* instance, double time) {
    logMessage(instance, fmi2Error, "logAll",
               "Problem in cosimulation, unable to request plant output at communication point=%g.", time);
    instance->state = stateStepFailed;
    return fmi2Error;
}

/// A step in an allowed state. Traced and untraced steps are two functions: an untraced one takes 57 instructions, with
/// the flag tested on the way 63 (GCC 12, counted as for the test `instructions`).
template <bool traced>
[[gnu::always_inline]] inline fmi2Status step(FmuInstance* instance, double time, double stepSize,
                                              fmi2Boolean noSetState) {
    if constexpr (traced)
        logMessage(instance, fmi2OK, "logFmiCall",
                   "fmi2DoStep: currentCommunicationPoint = %g, communicationStepSize = %g, "
                   "noSetFMUStatePriorToCurrentPoint = fmi2%s",
                   time, stepSize, noSetState ? "True" : "False");

    // Kept: NaN passes as a step size.
    if (stepSize <= 0.0) return refuseStepSize(instance, stepSize);

    // Kept: the communication point is used as given, not compared with the last one.
    const double endOfStep = time + stepSize;
    void* plant = instance->plant;
    if (TSplant_DepositPlantInput(instance, plant, 1, time) != 0) return failDeposit(instance, time);
    if (TSplant_RequestPlantOutput(instance, plant, endOfStep) != 0) return failRequest(instance, time);

    if constexpr (traced)
        logMessage(instance, fmi2OK, "logFmiCall", "Solver progressed from %g to %g.", time, endOfStep);
    instance->time = endOfStep;
    return fmi2OK;
}

/// Not inlined, so that an untraced step saves no registers for tracing.
[[gnu::noinline]] fmi2Status tracedStep(FmuInstance* instance, double time, double stepSize, fmi2Boolean noSetState) {
    return step<true>(instance, time, stepSize, noSetState);
}

} // namespace

fmi2Status fmi2DoStep(fmi2Component handle, fmi2Real currentCommunicationPoint, fmi2Real communicationStepSize,
                      fmi2Boolean noSetFMUStatePriorToCurrentPoint) {
    FmuInstance* instance = instanceOf(handle);
    if (invalidState(instance, rules::doStep)) return fmi2Error;

    if (isCategoryLogged(instance, logFmiCall))
        return tracedStep(instance, currentCommunicationPoint, communicationStepSize, noSetFMUStatePriorToCurrentPoint);
    return step<false>(instance, currentCommunicationPoint, communicationStepSize, noSetFMUStatePriorToCurrentPoint);
}

fmi2Status fmi2CancelStep(fmi2Component handle) {
    FmuInstance* instance = instanceOf(handle);
    if (invalidState(instance, rules::cancelStep)) return fmi2Error;

    traceCall(instance, rules::cancelStep.name);

    logMessage(instance, fmi2Error, "logError",
               "fmi2CancelStep: Can be called when fmi2DoStep returned fmi2Pending. This is not the case.");
    return fmi2Error;
}
