// Functions that must be exported but are not supported: FMU states and directional derivatives.
#include "fmi/fmi2.h"
#include "fmi/instance/call_rules.h"

fmi2Status fmi2GetFMUstate(fmi2Component handle, fmi2FMUstate* /*state*/) {
    return unsupportedFunction(instanceOf(handle), rules::getFMUstate);
}

fmi2Status fmi2SetFMUstate(fmi2Component handle, fmi2FMUstate /*state*/) {
    return unsupportedFunction(instanceOf(handle), rules::setFMUstate);
}

fmi2Status fmi2FreeFMUstate(fmi2Component handle, fmi2FMUstate* /*state*/) {
    return unsupportedFunction(instanceOf(handle), rules::freeFMUstate);
}

fmi2Status fmi2SerializedFMUstateSize(fmi2Component handle, fmi2FMUstate /*state*/, size_t* /*size*/) {
    return unsupportedFunction(instanceOf(handle), rules::serializedFMUstateSize);
}

fmi2Status fmi2SerializeFMUstate(fmi2Component handle, fmi2FMUstate /*state*/, fmi2Byte /*bytes*/[], size_t /*size*/) {
    return unsupportedFunction(instanceOf(handle), rules::serializeFMUstate);
}

fmi2Status fmi2DeSerializeFMUstate(fmi2Component handle, const fmi2Byte /*bytes*/[], size_t /*size*/,
                                   fmi2FMUstate* /*state*/) {
    return unsupportedFunction(instanceOf(handle), rules::deSerializeFMUstate);
}

fmi2Status fmi2GetDirectionalDerivative(fmi2Component handle, const fmi2ValueReference /*vUnknown*/[],
                                        size_t /*nUnknown*/, const fmi2ValueReference /*vKnown*/[], size_t /*nKnown*/,
                                        const fmi2Real /*dvKnown*/[], fmi2Real /*dvUnknown*/[]) {
    return unsupportedFunction(instanceOf(handle), rules::getDirectionalDerivative);
}
