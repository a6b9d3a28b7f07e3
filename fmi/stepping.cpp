#include "fmi/call_rules.h"
#include "fmi/fmi2.h"
#include "fmi/log.h"
#include "plant/plant_link.h"

namespace {

/// After a failure the plant link has ended the run and taken its handle out of the instance.
bool depositInputs(FmuInstance* instance, double time) {
    if (TSplant_DepositPlantInput(instance, instance->plant, 1, time) == 0) return true;

    // Kept: the state stays step complete; without a plant the next step fails here again. "deposite" and the category
    // "logAll" belong to the message, as in the one below.
    logMessage(instance, fmi2Error, "logAll",
               "Problem in cosimulation, unable to deposite plant input at communication point=%g.", time);
    return false;
}

/// The message names the start of the step.
bool requestOutputs(FmuInstance* instance, double time, double endOfStep) {
    if (TSplant_RequestPlantOutput(instance, instance->plant, endOfStep) == 0) return true;

    logMessage(instance, fmi2Error, "logAll",
               "Problem in cosimulation, unable to request plant output at communication point=%g.", time);
    instance->state = stateStepFailed;
    return false;
}

} // namespace

fmi2Status fmi2DoStep(fmi2Component handle, fmi2Real currentCommunicationPoint, fmi2Real communicationStepSize,
                      fmi2Boolean noSetFMUStatePriorToCurrentPoint) {
    FmuInstance* instance = instanceOf(handle);
    if (invalidState(instance, rules::doStep)) return fmi2Error;

    const bool traced = isCategoryLogged(instance, logFmiCall);
    if (traced)
        logMessage(instance, fmi2OK, "logFmiCall",
                   "fmi2DoStep: currentCommunicationPoint = %g, communicationStepSize = %g, "
                   "noSetFMUStatePriorToCurrentPoint = fmi2%s",
                   currentCommunicationPoint, communicationStepSize,
                   noSetFMUStatePriorToCurrentPoint ? "True" : "False");

    // Kept: a step size that is not a number passes. "Fount" stands in the message as masters' users know it.
    if (communicationStepSize <= 0.0) {
        logMessage(instance, fmi2Error, "logError", "fmi2DoStep: communication step size must be > 0. Fount %g.",
                   communicationStepSize);
        instance->state = stateError;
        return fmi2Error;
    }

    // Kept: the communication point is taken as given, not compared with the last one.
    const double endOfStep = currentCommunicationPoint + communicationStepSize;
    if (!depositInputs(instance, currentCommunicationPoint)) return fmi2Error;
    if (!requestOutputs(instance, currentCommunicationPoint, endOfStep)) return fmi2Error;

    if (traced)
        logMessage(instance, fmi2OK, "logFmiCall", "Solver progressed from %g to %g.", currentCommunicationPoint,
                   endOfStep);
    instance->time = endOfStep;
    return fmi2OK;
}

fmi2Status fmi2CancelStep(fmi2Component handle) {
    FmuInstance* instance = instanceOf(handle);
    if (invalidState(instance, rules::cancelStep)) return fmi2Error;

    traceCall(instance, rules::cancelStep.name);

    logMessage(instance, fmi2Error, "logError",
               "fmi2CancelStep: Can be called when fmi2DoStep returned fmi2Pending. This is not the case.");
    return fmi2Error;
}
