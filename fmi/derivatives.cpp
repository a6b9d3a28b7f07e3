// Derivatives of inputs, which are not supported, and of outputs.
#include "fmi/fmi2.h"
#include "fmi/instance/allocation.h"
#include "fmi/instance/call_rules.h"
#include "fmi/instance/log.h"
#include "plant/plant_link.h"

namespace {

constexpr const char* outputDerivativesName = "fmi2GetRealOutputDerivatives";

/// Reads the real `offset` places after the value. False, with a message, when it is not among the `nReals` reals.
bool readDerivative(FmuInstance* instance, std::uint32_t offset, fmi2ValueReference vr, std::size_t nReals,
                    fmi2Real& value) {
    if (vrOutOfRange(instance, outputDerivativesName, vr, instance->nReal)) return false;

    const std::uint32_t index = offset + vr; // modulo 2^32
    if (index >= nReals) {
        logMessage(instance, fmi2Error, "logError", "%s: Value reference %u has no derivative.", outputDerivativesName,
                   vr);
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

    if (isCategoryLogged(instance, logFmiCall)) // Kept: no space before the equals sign.
        logMessage(instance, fmi2OK, "logFmiCall", "fmi2SetRealInputDerivatives: nvr= %d", static_cast<int>(nvr));

    logMessage(instance, fmi2Error, "logError",
               "fmi2SetRealInputDerivatives: ignoring function call. This model cannot interpolate inputs: "
               "canInterpolateInputs=\"fmi2False\"");
    return fmi2Error;
}

// Kept: no state check, and the order of the first element is used for all of them. The plant is asked first, even when
// nvr is 0: an error that the solver has reported since its last call ends the run here.
fmi2Status fmi2GetRealOutputDerivatives(fmi2Component handle, const fmi2ValueReference vr[], size_t nvr,
                                        const fmi2Integer order[], fmi2Real value[]) {
    FmuInstance* instance = instanceOf(handle);
    if (instance == nullptr) return fmi2Error;
    const int offset =
        order != nullptr ? TSplant_RequestPlantOutputDerivPtrOffset(instance, instance->plant, order[0]) : -1;
    if (nvr == 0) return fmi2OK;
    if (nullPointer(instance, outputDerivativesName, "vr[]", vr)) return fmi2Error;
    if (nullPointer(instance, outputDerivativesName, "order[]", order)) return fmi2Error;
    if (nullPointer(instance, outputDerivativesName, "value[]", value)) return fmi2Error;
    if (offset == -1) {
        logMessage(instance, fmi2Error, "logError", "%s: No output derivatives of order %d.", outputDerivativesName,
                   order[0]);
        return fmi2Error;
    }

    const std::size_t nReals = allocatedReals(instance);
    const bool traced = isCategoryLogged(instance, logFmiCall);
    for (size_t n = 0; n < nvr; ++n) {
        if (!readDerivative(instance, static_cast<std::uint32_t>(offset), vr[n], nReals, value[n])) return fmi2Error;
        if (traced)
            logMessage(instance, fmi2OK, "logFmiCall", "fmi2GetRealOutputDerivatives: #r%u# = %.16g", vr[n], value[n]);
    }
    return fmi2OK;
}
