// From instantiated to the stepping state: the experiment's times and initialization mode.
#include <algorithm>
#include <string_view>

#include "fmi/fmi2.h"
#include "fmi/fmu_callback2.h"
#include "fmi/instance/allocation.h"
#include "fmi/instance/call_rules.h"
#include "fmi/instance/log.h"
#include "fmi/instance/reset_values.h"
#include "plant/plant_link.h"
#include "resources/model_file.h"
#include "resources/parameter_records.h"
#include "resources/resource_location.h"
#include "util/internal/joining.h"

namespace {

constexpr std::string_view resultExtension = ".mrf";
constexpr std::string_view defaultResultFile = "fmu.mrf";

// Kept: parameters read 0 after initialization, and inputs that were set before it are lost.
void zeroValues(FmuInstance* instance) {
    std::fill_n(instance->realValues, allocatedReals(instance), 0.0);
    std::fill_n(instance->integerValues, instance->nInteger, 0);
    std::fill_n(instance->booleanValues, instance->nBoolean, fmi2False);
}

/// The result file: string variable 0, else the parameter file's, else a constant. A bare name is put into the
/// resources, by the location as the master gave it. False, with a message, if it does not fit.
bool chooseResultFile(FmuInstance* instance, const char* resourceLocation) {
    const FmuParRecord parameters = currentParameters();
    std::string_view name = parameterText(parameters, parameters.outputName);
    std::string_view extension;
    if (instance->stringValues != nullptr && instance->stringValues[0] != nullptr) {
        name = instance->stringValues[0];
        if (name.find(resultExtension) == std::string_view::npos) extension = resultExtension;
    } else if (name.empty()) {
        name = defaultResultFile;
    }

    if (instance->resultFileName == nullptr) {
        logSetupError(instance, "fmi2EnterInitializationMode: Unable allocating memory.");
        return false;
    }
    const bool bare = name.find_first_of("/\\") == std::string_view::npos;
    const std::string_view folder = bare ? resourceLocation : "";
    const std::string_view slash = bare ? "/" : "";
    if (!joinInto(instance->resultFileName, pathBufferSize, {folder, slash, name, extension})) {
        logSetupError(instance, "fmi2EnterInitializationMode: Result file name is too long.");
        return false;
    }
    return true;
}

/// False, with a message, if the values of a port are not all variables: the solver would write elsewhere.
bool checkPorts(const FmuInstance* instance, const char* kind, std::uint32_t count, const std::uint32_t* sizes,
                double* const* values) {
    for (std::uint32_t i = 0; i < count; ++i) {
        if (sizes[i] == 0 || values[i] != nullptr) continue;
        logSetupError(instance,
                      "fmi2EnterInitializationMode: %s port %u of fmu2ts.par lies outside of the %u real variables.",
                      kind, i, instance->nReal);
        return false;
    }
    return true;
}

bool checkPorts(const FmuInstance* instance) {
    return checkPorts(instance, "Input", instance->nInputPorts, instance->inputPortSize, instance->inputPortValues) &&
           checkPorts(instance, "Output", instance->nOutputPorts, instance->outputPortSize, instance->outputPortValues);
}

} // namespace

fmi2Status fmi2SetupExperiment(fmi2Component handle, fmi2Boolean toleranceDefined, fmi2Real tolerance,
                               fmi2Real startTime, fmi2Boolean stopTimeDefined, fmi2Real stopTime) {
    FmuInstance* instance = instanceOf(handle);
    if (invalidState(instance, rules::setupExperiment)) return fmi2Error;

    if (isCategoryLogged(instance, logFmiCall))
        logMessage(instance, fmi2OK, "logFmiCall", "fmi2SetupExperiment: toleranceDefined=%d tolerance=%g",
                   toleranceDefined, tolerance);

    // Kept: this text for a start time other than 0, which is stored all the same.
    if (startTime != 0.0) logMessage(instance, fmi2Error, "logError", "fmi2SetString: Out of memory.");

    instance->time = startTime;
    instance->stopTimeDefined = stopTimeDefined;
    instance->stopTime = stopTime;
    if (stopTimeDefined) instance->endTime = stopTime;
    return fmi2OK;
}

fmi2Status fmi2EnterInitializationMode(fmi2Component handle) {
    FmuInstance* instance = instanceOf(handle);
    if (invalidState(instance, rules::enterInitializationMode)) return fmi2Error;

    traceCall(instance, rules::enterInitializationMode.name);

    if (!checkPorts(instance)) return fmi2Error;
    const auto location = currentResourceLocation();
    const auto lockedFolder = provideModelFile(location.data(), instance); // until the solver has read the model file
    if (!lockedFolder) return fmi2Error;
    if (!chooseResultFile(instance, location.data())) return fmi2Error;
    zeroValues(instance);

    instance->plant = TSplant_Instantiate(instance);
    if (instance->plant == nullptr) {
        // Kept: the instance is released here, and the master must not free it again. Many do, hence the memory of it.
        rememberReleased(instance);
        freeInstance(instance);
        return fmi2Error;
    }

    forgetReset(instance);
    instance->state = stateInitializationMode;
    return fmi2OK;
}

fmi2Status fmi2ExitInitializationMode(fmi2Component handle) {
    FmuInstance* instance = instanceOf(handle);
    if (invalidState(instance, rules::exitInitializationMode)) return fmi2Error;

    traceCall(instance, rules::exitInitializationMode.name);

    instance->dirtyValues = fmi2False;
    if (instance->fmuType == fmi2ModelExchange) {
        instance->state = stateEventMode;
        instance->newEventIteration = fmi2True;
    } else {
        instance->state = stateStepComplete;
    }
    return fmi2OK;
}
