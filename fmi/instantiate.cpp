#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>

#include "fmi/allocation.h"
#include "fmi/call_rules.h"
#include "fmi/fmi2.h"
#include "fmi/fmu_callback2.h"
#include "fmi/installation.h"
#include "fmi/log.h"
#include "resources/parameter_files.h"
#include "resources/resource_location.h"
#include "util/joining.h"

namespace {

struct FreeInstance {
    void operator()(FmuInstance* instance) const { freeInstance(instance); }
};

/// An instance that is still being built; releases what there is of it when building fails.
using InstanceOwner = std::unique_ptr<FmuInstance, FreeInstance>;

/// Keeps the location for initialization; false when there is none or it does not fit.
bool keepResourceLocation(const char* location) {
    if (location == nullptr || std::strlen(location) >= sizeof g_fmu_resource_location) return false;
    std::strcpy(g_fmu_resource_location, location);
    return true;
}

bool isEmpty(const char* text) { return text == nullptr || *text == '\0'; }

/// Reports an argument that no instance can be made of, whatever the logging flag.
bool checkArguments(const fmi2CallbackFunctions& functions, const char* instanceName, const char* guid,
                    const char* resourceLocation, bool locationKept) {
    const char* failure = nullptr;
    if (functions.allocateMemory == nullptr || functions.freeMemory == nullptr)
        failure = "fmi2Instantiate: Missing callback function.";
    else if (isEmpty(instanceName)) {
        failure = "fmi2Instantiate: Missing instance name.";
        instanceName = "?";
    } else if (isEmpty(guid))
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

/// The record with its name, or null with a message.
InstanceOwner createRecord(const fmi2CallbackFunctions& functions, const char* instanceName, fmi2Boolean loggingOn) {
    InstanceOwner instance(allocateArray<FmuInstance>(functions, 1));
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

    return (instance->nInteger == 0 || instance->integerValues != nullptr) &&
           (instance->nBoolean == 0 || instance->booleanValues != nullptr) &&
           (instance->nString == 0 || instance->stringValues != nullptr);
}

/// Neither is tested here: without a GUID the instance works all the same, and without the buffer of the result file's
/// name initialization fails with a message.
void allocateNames(FmuInstance* instance, const char* guid) {
    instance->resultFileName = allocateArray<char>(*instance->functions, pathBufferSize);
    instance->guid = allocateArray<char>(*instance->functions, std::strlen(guid) + 1);
    if (instance->guid != nullptr) std::strcpy(instance->guid, guid);
}

char* copyText(const FmuInstance* instance, std::string_view source) {
    auto* text = allocateArray<char>(*instance->functions, source.size() + 1);
    if (text != nullptr) text[source.copy(text, source.size())] = '\0';
    return text;
}

/// Resource location, slash and name in the master's memory; an empty text for an empty name.
char* joinLocation(const FmuInstance* instance, const char* location, std::string_view name) {
    if (name.empty()) return copyText(instance, name);

    const std::size_t size = name.size() + std::strlen(location) + 50;
    auto* text = allocateArray<char>(*instance->functions, size);
    if (text != nullptr) joinInto(text, size, {location, "/", name});
    return text;
}

/// The three texts of `fmu2ts.par`; false when one of them is lacking.
bool buildTexts(FmuInstance* instance, const char* location) {
    instance->modelFilePath = joinLocation(instance, location, parameterText(g_fmu_par, g_fmu_par.inputName));
    instance->subdllFilePath = joinLocation(instance, location, parameterText(g_fmu_par, g_fmu_par.subdllName));
    instance->ipAddress = copyText(instance, parameterText(g_fmu_par, g_fmu_par.ipAddress));
    return instance->modelFilePath != nullptr && instance->subdllFilePath != nullptr && instance->ipAddress != nullptr;
}

/// Everything whose size the parameter files tell; false, with a message, when it cannot be built.
bool allocateModel(FmuInstance* instance, const char* guid, const char* resourceLocation) {
    const int result = Allocate_io(instance, resourceLocation);
    if (result == filesUnusable) return false;

    bool built = result == 0;
    if (built) {
        built = allocateValues(instance);
        allocateNames(instance, guid);
        built = built && buildTexts(instance, resourceLocation);
    }
    if (!built) reportOutOfMemory(*instance->functions, instance->instanceName, instance->loggingOn);
    return built;
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
    // Environment and location are settled before any argument is looked at.
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
