// The status queries. A step is never pending or discarded, so all but two report that they do not apply.
#include "fmi/fmi2.h"
#include "fmi/instance/call_rules.h"
#include "fmi/instance/log.h"

namespace {

const char* nameOf(fmi2StatusKind kind) {
    switch (kind) {
    case fmi2DoStepStatus:
        return "fmi2DoStepStatus";
    case fmi2PendingStatus:
        return "fmi2PendingStatus";
    case fmi2LastSuccessfulTime:
        return "fmi2LastSuccessfulTime";
    case fmi2Terminated:
        return "fmi2Terminated";
    }
    return "unknown status kind";
}

/// The message for a kind that a query does not support; null for an unknown kind.
const char* refusalOf(fmi2StatusKind kind) {
    switch (kind) {
    case fmi2DoStepStatus:
        return "%s: Can be called with fmi2DoStepStatus when fmi2DoStep returned fmi2Pending. This is not the case.";
    case fmi2PendingStatus:
        return "%s: Can be called with fmi2PendingStatus when fmi2DoStep returned fmi2Pending. This is not the case.";
    case fmi2LastSuccessfulTime:
        return "%s: Can be called with fmi2LastSuccessfulTime when fmi2DoStep returned fmi2Discard. This is not the "
               "case.";
    case fmi2Terminated:
        return "%s: Can be called with fmi2Terminated when fmi2DoStep returned fmi2Discard. This is not the case.";
    }
    return nullptr;
}

/// The result for every kind that a query does not support.
fmi2Status getStatus(FmuInstance* instance, const CallRule& rule, fmi2StatusKind kind) {
    if (invalidState(instance, rule)) return fmi2Error;

    if (isCategoryLogged(instance, logFmiCall))
        logMessage(instance, fmi2OK, "logFmiCall", "%s: fmi2StatusKind = %s", rule.name, nameOf(kind));

    if (const char* refusal = refusalOf(kind)) logMessage(instance, fmi2Error, "logError", refusal, rule.name);
    return fmi2Discard;
}

} // namespace

fmi2Status fmi2GetStatus(fmi2Component handle, const fmi2StatusKind kind, fmi2Status* /*value*/) {
    return getStatus(instanceOf(handle), rules::getStatus, kind);
}

fmi2Status fmi2GetRealStatus(fmi2Component handle, const fmi2StatusKind kind, fmi2Real* value) {
    FmuInstance* instance = instanceOf(handle);
    if (kind != fmi2LastSuccessfulTime) return getStatus(instance, rules::getRealStatus, kind);
    if (invalidState(instance, rules::getRealStatus)) return fmi2Error;
    if (nullPointer(instance, rules::getRealStatus.name, "value", value)) return fmi2Error;

    *value = instance->time;
    return fmi2OK;
}

fmi2Status fmi2GetIntegerStatus(fmi2Component handle, const fmi2StatusKind kind, fmi2Integer* /*value*/) {
    return getStatus(instanceOf(handle), rules::getIntegerStatus, kind);
}

fmi2Status fmi2GetBooleanStatus(fmi2Component handle, const fmi2StatusKind kind, fmi2Boolean* value) {
    FmuInstance* instance = instanceOf(handle);
    if (kind != fmi2Terminated) return getStatus(instance, rules::getBooleanStatus, kind);
    if (invalidState(instance, rules::getBooleanStatus)) return fmi2Error;
    if (nullPointer(instance, rules::getBooleanStatus.name, "value", value)) return fmi2Error;

    *value = instance->eventInfo.terminateSimulation;
    return fmi2OK;
}

fmi2Status fmi2GetStringStatus(fmi2Component handle, const fmi2StatusKind kind, fmi2String* /*value*/) {
    return getStatus(instanceOf(handle), rules::getStringStatus, kind);
}
