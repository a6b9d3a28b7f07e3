#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>

#include "fmi/fmi2.h"
#include "fmi/fmu_callback2.h"
#include "fmi/instance/allocation.h"
#include "fmi/instance/call_rules.h"
#include "fmi/instance/installation.h"
#include "fmi/instance/log.h"
#include "fmi/instance/process_lock.h"
#include "resources/parameter_records.h"
#include "resources/resource_location.h"
#include "util/internal/joining.h"

namespace {

struct FreeInstance {
    void operator()(FmuInstance* instance) const { freeInstance(instance); }
};

/// An instance under construction; released if construction fails.
using InstanceOwner = std::unique_ptr<FmuInstance, FreeInstance>;

/// Stores the location for initialization; false when it is null or too long.
bool keepResourceLocation(const char* location) {
    if (location == nullptr || std::strlen(location) >= sizeof g_fmu_resource_location) return false;
    const ProcessLock lock;
    std::strcpy(g_fmu_resource_location, location);
    return true;
}

bool isMissing(const char* text) { return text == nullptr || *text == '\0'; }

/// False, with a message whatever the logging flag, when an argument is invalid.
bool checkArguments(const fmi2CallbackFunctions& functions, const char* instanceName, const char* guid,
                    const char* resourceLocation, bool locationKept) {
    const char* failure = nullptr;
    if (functions.allocateMemory == nullptr || functions.freeMemory == nullptr)
        failure = "fmi2Instantiate: Missing callback function.";
    else if (isMissing(instanceName)) {
        failure = "fmi2Instantiate: Missing instance name.";
        instanceName = "?";
    } else if (isMissing(guid))
        failure = "fmi2Instantiate: Missing GUID.";
    else if (resourceLocation == nullptr)
        failure = "fmi2Instantiate: Missing resource location.";
    else if (!locationKept)
        failure = "fmi2Instantiate: Resource location is too long.";

    if (failure != nullptr) logAs(functions, instanceName, fmi2Error, "error", failure);
    return failure == nullptr;
}

void reportOutOfMemory(const fmi2CallbackFunctions& functions, const char* instanceName, fmi2Boolean loggingOn) {
    if (loggingOn) logAs(functions, instanceName, fmi2Error, "error", "fmi2Instantiate: Unable allocating memory.");
}

/// The record with its name; null, with a message, when out of memory.
InstanceOwner createRecord(const fmi2CallbackFunctions& functions, const char* instanceName, fmi2Boolean loggingOn) {
    InstanceOwner instance(allocateArray<FmuInstance>(functions, 1));
    if (instance) *instance = FmuInstance{};
    initialize_comp(instance.get());
    if (instance) {
        instance->functions = &functions;
        instance->loggingOn = loggingOn;
        instance->instanceName = allocateArray<char>(functions, std::strlen(instanceName) + 1);
        if (instance->instanceName != nullptr) {
            std::strcpy(instance->instanceName, instanceName);
            return instance;
        }
    }
    reportOutOfMemory(functions, instanceName, loggingOn);
    return nullptr;
}

bool allocateValues(FmuInstance* instance) {
    const fmi2CallbackFunctions& functions = *instance->functions;
    instance->integerValues = allocateArray<fmi2Integer>(functions, instance->nInteger);
    if (instance->integerValues != nullptr) std::fill_n(instance->integerValues, instance->nInteger, neverSetInteger);
    instance->booleanValues = allocateArray<fmi2Boolean>(functions, instance->nBoolean);
    if (instance->booleanValues != nullptr) std::fill_n(instance->booleanValues, instance->nBoolean, neverSetInteger);
    instance->stringValues = allocateArray<char*>(functions, instance->nString);
    if (instance->stringValues != nullptr) std::fill_n(instance->stringValues, instance->nString, nullptr);

    return (instance->nInteger == 0 || instance->integerValues != nullptr) &&
           (instance->nBoolean == 0 || instance->booleanValues != nullptr) &&
           (instance->nString == 0 || instance->stringValues != nullptr);
}

/// Neither allocation is tested: the GUID is not used later, and initialization fails with a message if the buffer for
/// the result file name is missing.
void allocateNames(FmuInstance* instance, const char* guid) {
    instance->resultFileName = allocateArray<char>(*instance->functions, pathBufferSize);
    instance->guid = allocateArray<char>(*instance->functions, std::strlen(guid) + 1);
    if (instance->guid != nullptr) std::strcpy(instance->guid, guid);
}

char* copyString(const FmuInstance* instance, std::string_view source) {
    auto* copy = allocateArray<char>(*instance->functions, source.size() + 1);
    if (copy != nullptr) copy[source.copy(copy, source.size())] = '\0';
    return copy;
}

/// Resource location, slash and name, in the master's memory; an empty string for an empty name.
char* joinLocation(const FmuInstance* instance, const char* location, std::string_view name) {
    if (name.empty()) return copyString(instance, name);

    const std::size_t size = name.size() + std::strlen(location) + 50;
    auto* joined = allocateArray<char>(*instance->functions, size);
    if (joined != nullptr) joinInto(joined, size, {location, "/", name});
    return joined;
}

/// The three strings from `fmu2ts.par`; false when out of memory.
bool buildStrings(FmuInstance* instance, const char* location, const FmuParRecord& parameters) {
    instance->modelFilePath = joinLocation(instance, location, parameterText(parameters, parameters.inputName));
    instance->subdllFilePath = joinLocation(instance, location, parameterText(parameters, parameters.subdllName));
    instance->ipAddress = copyString(instance, parameterText(parameters, parameters.ipAddress));
    return instance->modelFilePath != nullptr && instance->subdllFilePath != nullptr && instance->ipAddress != nullptr;
}

/// Everything whose size is in the parameter files; false, with a message, when it cannot be built.
bool allocateModel(FmuInstance* instance, const char* guid, const char* resourceLocation) {
    FmuParRecord parameters;
    if (Allocate_io(instance, resourceLocation, parameters) != 0) return false;

    const bool valuesAllocated = allocateValues(instance);
    allocateNames(instance, guid);
    if (valuesAllocated && buildStrings(instance, resourceLocation, parameters)) return true;
    reportOutOfMemory(*instance->functions, instance->instanceName, instance->loggingOn);
    return false;
}

void setInitialState(FmuInstance* instance, fmi2Type fmuType) {
    instance->time = 0.0;
    instance->fmuType = fmuType;
    instance->componentEnvironment = instance->functions->componentEnvironment;
    instance->state = stateInstantiated;
    instance->dirtyValues = fmi2True;
    instance->newEventIteration = fmi2False;
    instance->eventInfo = {};
}

} // namespace

void initialize_comp(FmuInstance* instance) {
    if (instance == nullptr) return;

    instance->realValues = nullptr;
    instance->integerValues = nullptr;
    instance->booleanValues = nullptr;
    instance->stringValues = nullptr;
    instance->instanceName = nullptr;
    instance->inputPortSize = nullptr;
    instance->outputPortSize = nullptr;
    instance->inputPortValues = nullptr;
    instance->outputPortValues = nullptr;
    instance->outputPortDots = nullptr;
    instance->outputPortDotDots = nullptr;
    instance->plant = nullptr;
    instance->modelFilePath = nullptr;
    instance->resultFileName = nullptr;
    instance->subdllFilePath = nullptr;
    instance->nReal = instance->nInteger = instance->nBoolean = instance->nString = 0;
    instance->nInputPorts = instance->nOutputPorts = 0;
}

fmi2Component fmi2Instantiate(fmi2String instanceName, fmi2Type fmuType, fmi2String fmuGUID,
                              fmi2String fmuResourceLocation, const fmi2CallbackFunctions* functions,
                              fmi2Boolean /*visible*/, fmi2Boolean loggingOn) {
    // The environment and the location are set before any argument is checked.
    const Installation installation = discoverInstallation();
    const bool locationKept = keepResourceLocation(fmuResourceLocation);

    if (functions == nullptr || functions->logger == nullptr) return nullptr;
    if (!checkArguments(*functions, instanceName, fmuGUID, fmuResourceLocation, locationKept)) return nullptr;

    InstanceOwner instance = createRecord(*functions, instanceName, loggingOn);
    if (!instance) return nullptr;
    if (!checkInstallation(instance.get(), installation)) return nullptr;
    if (!allocateModel(instance.get(), fmuGUID, fmuResourceLocation)) return nullptr;

    setInitialState(instance.get(), fmuType);
    if (isCategoryLogged(instance.get(), logFmiCall))
        logMessage(instance.get(), fmi2OK, "logFmiCall", "fmi2Instantiate: Instantiate finished successfully");
    forgetReleased(instance.get());
    return instance.release();
}
