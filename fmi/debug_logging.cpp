// Switching the log categories, and the two constants that a master may ask for before there is an instance.
#include <algorithm>
#include <cstring>
#include <iterator>

#include "fmi/call_rules.h"
#include "fmi/fmi2.h"
#include "fmi/log.h"

namespace {

/// The index of a category's name, -1 when there is none.
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
    // Kept: this one message goes to the environment that was copied at instantiation.
    instance->functions->logger(instance->componentEnvironment, instance->instanceName, fmi2Warning, "logError",
                                "logging category '%s' is not supported by model", name != nullptr ? name : "");
}

} // namespace

fmi2Status fmi2SetDebugLogging(fmi2Component handle, fmi2Boolean loggingOn, size_t nCategories,
                               const fmi2String categories[]) {
    FmuInstance* instance = instanceOf(handle);
    if (invalidState(instance, rules::setDebugLogging)) return fmi2Error;
    instance->loggingOn = loggingOn;

    // Kept: the call is traced twice, here with the flags as they were, at the end with the new ones.
    traceCall(instance, rules::setDebugLogging.name);

    if (nCategories > 0 && nullPointer(instance, rules::setDebugLogging.name, "categories[]", categories))
        return fmi2Error;
    std::fill(std::begin(instance->logCategories), std::end(instance->logCategories),
              nCategories == 0 ? loggingOn : fmi2False);
    // Kept: a name that is not known is reported, but the call succeeds.
    for (size_t i = 0; i < nCategories; ++i) switchCategory(instance, categories[i], loggingOn);

    traceCall(instance, rules::setDebugLogging.name);
    return fmi2OK;
}

const char* fmi2GetVersion() { return "2.0"; }

const char* fmi2GetTypesPlatform() { return "default"; }
