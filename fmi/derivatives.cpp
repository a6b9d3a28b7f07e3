// Derivatives of inputs, which are not supported, and of outputs.
#include "fmi/call_rules.h"
#include "fmi/fmi2.h"
#include "fmi/log.h"
#include "plant/plant_link.h"

namespace {

constexpr const char* outputDerivativesName = "fmi2GetRealOutputDerivatives";

/// One derivative, `offset` reals behind the value. False, with a message, when there is no real variable.
bool readDerivative(FmuInstance* instance, std::uint32_t offset, fmi2ValueReference vr, fmi2Real& value) {
    if (vrOutOfRange(instance, outputDerivativesName, vr, instance->nReal)) return false;

    const std::uint32_t index = offset + vr; // modulo 2^32
    if (index >= instance->nReal) {
        logMessage(instance, fmi2Error, "logError", "%s: No derivative behind value reference %u.",
                   outputDerivativesName, vr);
        return false;
    }
    value = instance->realValues[index];
    return true;
}

} // namespace

fmi2Status fmi2SetRealInputDerivatives(fmi2Component handle, const fmi2ValueReference /*vr*/[], size_t nvr,
                                       const fmi2Integer /*order*/[], const fmi2Real /*value*/[]) {
    FmuInstance* instance = instanceOf(handle);
    if (invalidState(instance, rules::setRealInputDerivatives)) return fmi2Error;

    if (isCategoryLogged(instance, logFmiCall)) // Kept: no blank before the equals sign.
        logMessage(instance, fmi2OK, "logFmiCall", "fmi2SetRealInputDerivatives: nvr= %d", static_cast<int>(nvr));

    logMessage(instance, fmi2Error, "logError",
               "fmi2SetRealInputDerivatives: ignoring function call. This model cannot interpolate inputs: "
               "canInterpolateInputs=\"fmi2False\"");
    return fmi2Error;
}

// Kept: there is no state check, and the order of the first element holds for all of them.
fmi2Status fmi2GetRealOutputDerivatives(fmi2Component handle, const fmi2ValueReference vr[], size_t nvr,
                                        const fmi2Integer order[], fmi2Real value[]) {
    FmuInstance* instance = instanceOf(handle);
    if (instance == nullptr) return fmi2Error;
    if (nvr == 0) return fmi2OK; // there is no first element to ask for; the plant is not looked at
    if (nullPointer(instance, outputDerivativesName, "vr[]", vr)) return fmi2Error;
    if (nullPointer(instance, outputDerivativesName, "order[]", order)) return fmi2Error;
    if (nullPointer(instance, outputDerivativesName, "value[]", value)) return fmi2Error;

    const int offset = TSplant_RequestPlantOutputDerivPtrOffset(instance, instance->plant, order[0]);
    if (offset == -1) {
        logMessage(instance, fmi2Error, "logError", "%s: No output derivatives of order %d.", outputDerivativesName,
                   order[0]);
        return fmi2Error;
    }

    const bool traced = isCategoryLogged(instance, logFmiCall);
    for (size_t n = 0; n < nvr; ++n) {
        if (!readDerivative(instance, static_cast<std::uint32_t>(offset), vr[n], value[n])) return fmi2Error;
        if (traced)
            logMessage(instance, fmi2OK, "logFmiCall", "fmi2GetRealOutputDerivatives: #r%u# = %.16g", vr[n], value[n]);
    }
    return fmi2OK;
}
