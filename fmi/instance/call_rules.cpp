#include "fmi/instance/call_rules.h"

#include "fmi/instance/log.h"

void refuseState(FmuInstance* instance, const CallRule& rule) {
    instance->state = stateError;
    logMessage(instance, fmi2Error, "logError", "%s: Illegal call sequence.", rule.name);
}

void refuseNull(FmuInstance* instance, const char* functionName, const char* argumentName) {
    instance->state = stateError;
    logMessage(instance, fmi2Error, "logError", "%s: Invalid argument %s = NULL.", functionName, argumentName);
}

void refuseReference(FmuInstance* instance, const char* functionName, fmi2ValueReference valueReference) {
    logMessage(instance, fmi2Error, "logError", "%s: Illegal value reference %u.", functionName, valueReference);
    instance->state = stateError;
}

fmi2Status unsupportedFunction(FmuInstance* instance, const CallRule& rule) {
    if (invalidState(instance, rule)) return fmi2Error;

    traceCall(instance, rule.name);

    logMessage(instance, fmi2Error, "logError", "%s: Function not implemented.", rule.name);
    return fmi2Error;
}
