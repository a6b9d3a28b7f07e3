// Which exported function may be called in which state, and the checks at the start of each of them.
#pragma once

#include "fmi/instance/fmu_instance.h"
#include "fmi/instance/released_handles.h"

/// An exported function: its name in messages, and a mask of the states in which it is accepted.
struct CallRule {
    const char* name;
    std::uint32_t mask;
};

/// One row per function. Kept: the masks are uneven; the static_asserts below fix their values.
namespace rules {

inline constexpr std::uint32_t initialized = stateInitializationMode | stateEventMode | stateContinuousTimeMode |
                                             stateStepComplete | stateStepFailed | stateStepCanceled | stateTerminated |
                                             stateError;
inline constexpr std::uint32_t releasable = initialized | stateInstantiated;
inline constexpr std::uint32_t settable =
    stateInstantiated | stateInitializationMode | stateEventMode | stateStepComplete;
inline constexpr std::uint32_t stepped = stateStepComplete | stateStepInProgress | stateStepFailed | stateTerminated;

inline constexpr CallRule setupExperiment{"fmi2SetupExperiment", stateInstantiated};
inline constexpr CallRule enterInitializationMode{"fmi2EnterInitializationMode", stateInstantiated};
inline constexpr CallRule exitInitializationMode{"fmi2ExitInitializationMode", stateInitializationMode};
inline constexpr CallRule terminate{"fmi2Terminate",
                                    stateEventMode | stateContinuousTimeMode | stateStepComplete | stateStepFailed};
inline constexpr CallRule reset{"fmi2Reset", releasable};
inline constexpr CallRule freeInstance{"fmi2FreeInstance", releasable};
inline constexpr CallRule setDebugLogging{"fmi2SetDebugLogging", releasable | stateStepInProgress};

inline constexpr CallRule getReal{"fmi2GetReal", initialized};
inline constexpr CallRule getInteger{"fmi2GetInteger", initialized};
inline constexpr CallRule getBoolean{"fmi2GetBoolean", initialized};
inline constexpr CallRule getString{"fmi2GetString", initialized};
inline constexpr CallRule setReal{"fmi2SetReal", settable | stateContinuousTimeMode};
inline constexpr CallRule setInteger{"fmi2SetInteger", settable};
inline constexpr CallRule setBoolean{"fmi2SetBoolean", settable};
inline constexpr CallRule setString{"fmi2SetString", settable};

inline constexpr CallRule setRealInputDerivatives{"fmi2SetRealInputDerivatives",
                                                  stateInstantiated | stateInitializationMode | stateStepComplete};
inline constexpr CallRule doStep{"fmi2DoStep", stateStepComplete};
inline constexpr CallRule cancelStep{"fmi2CancelStep", stateStepInProgress};
inline constexpr CallRule getStatus{"fmi2GetStatus", stepped};
inline constexpr CallRule getRealStatus{"fmi2GetRealStatus", stepped};
inline constexpr CallRule getIntegerStatus{"fmi2GetIntegerStatus", stepped};
inline constexpr CallRule getBooleanStatus{"fmi2GetBooleanStatus", stepped};
inline constexpr CallRule getStringStatus{"fmi2GetStringStatus", stepped};

inline constexpr CallRule getFMUstate{"fmi2GetFMUstate", releasable};
inline constexpr CallRule setFMUstate{"fmi2SetFMUstate", releasable};
inline constexpr CallRule freeFMUstate{"fmi2FreeFMUstate", releasable};
inline constexpr CallRule serializedFMUstateSize{"fmi2SerializedFMUstateSize", releasable};
inline constexpr CallRule serializeFMUstate{"fmi2SerializeFMUstate", releasable};
inline constexpr CallRule deSerializeFMUstate{"fmi2DeSerializeFMUstate", releasable};
inline constexpr CallRule getDirectionalDerivative{"fmi2GetDirectionalDerivative", initialized};

static_assert(initialized == 1980 && releasable == 1982 && settable == 46 && stepped == 736);
static_assert(setupExperiment.mask == 2 && enterInitializationMode.mask == 2 && exitInitializationMode.mask == 4);
static_assert(terminate.mask == 184 && setDebugLogging.mask == 2046 && setReal.mask == 62);
static_assert(setRealInputDerivatives.mask == 38 && doStep.mask == 32 && cancelStep.mask == 64);

} // namespace rules

/// Failure paths of the checks below. `refuseState` and `refuseNull` set the error state, then log; `refuseReference`
/// logs first.
[[gnu::cold]] void refuseState(FmuInstance* instance, const CallRule& rule);
[[gnu::cold]] void refuseNull(FmuInstance* instance, const char* functionName, const char* argumentName);
[[gnu::cold]] void refuseReference(FmuInstance* instance, const char* functionName, fmi2ValueReference valueReference);

/// The checks. Each returns 1 when the call must stop, 0 when it may continue.

/// Stops without a message for a null instance. For a state outside the mask: error state, then a message.
inline int invalidState(FmuInstance* instance, const CallRule& rule) {
    if (instance == nullptr) return 1;
    if ((instance->state & rule.mask) != 0) return 0;

    refuseState(instance, rule);
    return 1;
}

/// For a null pointer: error state, then a message with the argument's name.
inline int nullPointer(FmuInstance* instance, const char* functionName, const char* argumentName, const void* pointer) {
    if (pointer != nullptr) return 0;

    refuseNull(instance, functionName, argumentName);
    return 1;
}

/// For a value reference that is not below `end`, the number of variables of the type: a message, then the error state.
inline int vrOutOfRange(FmuInstance* instance, const char* functionName, fmi2ValueReference valueReference,
                        std::uint32_t end) {
    // Kept: the comparison is signed, so a reference of 2^31 or more passes and is used as the index.
    if (static_cast<std::int32_t>(valueReference) < static_cast<std::int32_t>(end)) return 0;

    refuseReference(instance, functionName, valueReference);
    return 1;
}

/// The complete body of an unsupported function. Does not change the state when the call was allowed.
fmi2Status unsupportedFunction(FmuInstance* instance, const CallRule& rule);
