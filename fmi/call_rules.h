// Which exported function may be called in which state, and the checks that each of them makes before it does anything.
#pragma once

#include <atomic>

#include "fmi/fmu_instance.h"

/// An exported function: its name, as its messages show it, and the states in which it is accepted.
struct CallRule {
    const char* name;
    std::uint32_t mask;
};

/// One row a function. The masks are uneven on purpose; their numbers are held right below.
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

/// How many handles were ever remembered by `rememberReleased`: 0 keeps the usual case at one test.
inline std::atomic<std::size_t> nRememberedReleases{0};

/// `instanceOf` when there are remembered handles.
[[gnu::cold]] FmuInstance* instanceUnlessReleased(fmi2Component handle);

/// The instance behind a handle, or null when the handle is null or was released early (see `rememberReleased`). The
/// first line of every exported function that takes an instance: what follows may then read the record.
inline FmuInstance* instanceOf(fmi2Component handle) {
    if (nRememberedReleases.load(std::memory_order_acquire) != 0) return instanceUnlessReleased(handle);
    return static_cast<FmuInstance*>(handle);
}

/// Remembers a handle whose instance is about to be released although the master still holds it, so that later calls
/// with it are refused. Without a lock; with 64 held already, another one takes the place of an old one.
void rememberReleased(const FmuInstance* instance);

/// Forgets a remembered handle, when a new instance that stands at the same address is handed to the master.
void forgetReleased(const FmuInstance* instance);

/// What the checks below do when the call must stop: error state and message, for a state and a pointer in this order,
/// for a value reference in the other.
[[gnu::cold]] void refuseState(FmuInstance* instance, const CallRule& rule);
[[gnu::cold]] void refuseNull(FmuInstance* instance, const char* functionName, const char* argumentName);
[[gnu::cold]] void refuseReference(FmuInstance* instance, const char* functionName, fmi2ValueReference valueReference);

/// The checks. Each gives 1 when the call must stop, 0 when it may go on.

/// Stops without a message for a null instance. In a state outside the mask: error state, then "Illegal call sequence".
inline int invalidState(FmuInstance* instance, const CallRule& rule) {
    if (instance == nullptr) return 1;
    if ((instance->state & rule.mask) != 0) return 0;

    refuseState(instance, rule);
    return 1;
}

/// Stops for a null pointer: error state, then a message with the argument's name.
inline int nullPointer(FmuInstance* instance, const char* functionName, const char* argumentName, const void* pointer) {
    if (pointer != nullptr) return 0;

    refuseNull(instance, functionName, argumentName);
    return 1;
}

/// Stops for a value reference that is not below `end`, the number of variables of the type: a message, then the error
/// state.
inline int vrOutOfRange(FmuInstance* instance, const char* functionName, fmi2ValueReference valueReference,
                        std::uint32_t end) {
    // Kept: the comparison is signed, so a reference of 2^31 or more passes, and the caller indexes with it as given.
    if (static_cast<std::int32_t>(valueReference) < static_cast<std::int32_t>(end)) return 0;

    refuseReference(instance, functionName, valueReference);
    return 1;
}

/// The whole body of a function that this FMU does not support. Leaves the state alone when the call was allowed.
fmi2Status unsupportedFunction(FmuInstance* instance, const CallRule& rule);
