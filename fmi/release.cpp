// The end of an instance: termination, reset, release.
#include "fmi/fmi2.h"
#include "fmi/fmu_callback2.h"
#include "fmi/instance/call_rules.h"
#include "fmi/instance/log.h"
#include "fmi/instance/reset_values.h"
#include "plant/plant_link.h"

fmi2Status fmi2Terminate(fmi2Component handle) {
    FmuInstance* instance = instanceOf(handle);
    if (invalidState(instance, rules::terminate)) return fmi2Error;

    traceCall(instance, rules::terminate.name);

    // Kept: the result of the deposit is ignored. Without fmi2SetupExperiment its time is 0.
    TSplant_DepositPlantInput(instance, instance->plant, 1, instance->stopTime);
    instance->state = stateTerminated;
    return fmi2OK;
}

fmi2Status fmi2Reset(fmi2Component handle) {
    FmuInstance* instance = instanceOf(handle);
    if (invalidState(instance, rules::reset)) return fmi2Error;

    traceCall(instance, rules::reset.name);

    if (!noteReset(instance)) {
        instance->state = stateError;
        logMessage(instance, fmi2Error, "logError", "fmi2Reset: Out of memory.");
        return fmi2Error;
    }
    // Kept: a running plant continues, and the next initialization starts another one beside it. The values are kept,
    // but those that are not set again are left to the model.
    instance->state = stateInstantiated;
    instance->dirtyValues = fmi2True;
    return fmi2OK;
}

void fmi2FreeInstance(fmi2Component handle) {
    FmuInstance* instance = instanceOf(handle);
    if (invalidState(instance, rules::freeInstance)) return;

    traceCall(instance, rules::freeInstance.name);

    freeInstance(instance);
}

void freeInstance(FmuInstance* instance) {
    if (instance == nullptr) return;

    forgetReset(instance);
    TSplant_Terminate(instance, instance->plant, instance->time);

    const auto freeMemory = instance->functions->freeMemory;
    const auto release = [freeMemory](void* memory) {
        if (memory != nullptr) freeMemory(memory);
    };
    release(instance->booleanValues);
    release(instance->integerValues);
    for (std::uint32_t i = 0; instance->stringValues != nullptr && i < instance->nString; ++i)
        release(instance->stringValues[i]);
    release(instance->stringValues);
    release(instance->instanceName);
    release(instance->modelFilePath);
    release(instance->resultFileName);
    release(instance->subdllFilePath);
    release(instance->ipAddress);
    release(instance->guid);
    release(instance->inputPortSize);
    release(instance->outputPortSize);
    release(instance->inputPortValues);
    release(instance->outputPortValues);
    release(instance->outputPortDots);
    release(instance->outputPortDotDots);
    release(instance->realValues);
    freeMemory(instance);
}
