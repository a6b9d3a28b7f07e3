#include <algorithm>
#include <cstring>
#include <iterator>

#include "fmi/fmi2.h"
#include "fmi/instance/call_rules.h"
#include "fmi/instance/log.h"

namespace {

/// The index of a category, -1 for an unknown name.
int categoryOf(const char* name) {
    for (int i = 0; name != nullptr && i < nLogCategories; ++i)
        if (std::strcmp(name, logCategoriesNames[static_cast<std::size_t>(i)]) == 0) return i;
    return -1;
}

void switchCategory(FmuInstance* instance, const char* name, fmi2Boolean on) {
    const int category = categoryOf(name);
    if (category >= 0) {
        instance->logCategories[category] = on;
        return;
    }
    // Kept: only this message passes the environment that was copied at instantiation.
    instance->functions->logger(instance->componentEnvironment, instance->instanceName, fmi2Warning, "logError",
                                "logging category '%s' is not supported by model", name != nullptr ? name : "");
}

} // namespace

fmi2Status fmi2SetDebugLogging(fmi2Component handle, fmi2Boolean loggingOn, size_t nCategories,
                               const fmi2String categories[]) {
    FmuInstance* instance = instanceOf(handle);
    if (invalidState(instance, rules::setDebugLogging)) return fmi2Error;
    instance->loggingOn = loggingOn;

    // Kept: the call is traced twice, here by the old flags and at the end by the new ones.
    traceCall(instance, rules::setDebugLogging.name);

    if (nCategories > 0 && nullPointer(instance, rules::setDebugLogging.name, "categories[]", categories))
        return fmi2Error;
    std::fill(std::begin(instance->logCategories), std::end(instance->logCategories),
              nCategories == 0 ? loggingOn : fmi2False);
    // Kept: an unknown name is reported, but the call succeeds.
    for (size_t i = 0; i < nCategories; ++i) switchCategory(instance, categories[i], loggingOn);

    traceCall(instance, rules::setDebugLogging.name);
    return fmi2OK;
}
