// The record that every fmi2Component points to, and its call states.
#pragma once

#include <cstddef>
#include <cstdint>

#include "fmi/instance/fmi2_types.h"

/// Call states, one bit each; `FmuInstance::state` always holds exactly one of them.
enum CallState : std::uint32_t {
    stateStartAndEnd = 1, ///< never entered
    stateInstantiated = 2,
    stateInitializationMode = 4,
    stateEventMode = 8,           ///< after initialization, as a model-exchange instance
    stateContinuousTimeMode = 16, ///< never entered
    stateStepComplete = 32,       ///< after initialization and after each step, as a co-simulation instance
    stateStepInProgress = 64,     ///< never entered: every step ends inside fmi2DoStep
    stateStepFailed = 128,
    stateStepCanceled = 256, ///< never entered
    stateTerminated = 512,
    stateError = 1024, ///< left only by fmi2Reset or by freeing the instance
    stateFatal = 2048  ///< never entered
};

/// Number of log categories; fmi/instance/log.h has their names.
inline constexpr int nLogCategories = 4;

/// Size of every path and name buffer in bytes, terminator included.
inline constexpr std::size_t pathBufferSize = 1024;

/// The value of a real, integer or boolean variable until the master sets it.
inline constexpr double neverSetReal = -99999.0;
inline constexpr int neverSetInteger = -99999;

/// One co-simulation instance. All memory except the plant comes from the master's `allocateMemory`.
///
/// The solver's interface library receives the address of this record as its block handle, so the order, width and
/// alignment of the fields are fixed.
struct FmuInstance {
    const fmi2CallbackFunctions* functions; ///< borrowed from the master
    char* instanceName;
    char* guid;
    fmi2Boolean loggingOn;
    void* plant; ///< the solver's run (plant/plant_link.h), or null
    double* realValues;
    fmi2Integer* integerValues;
    fmi2Boolean* booleanValues;
    char** stringValues; ///< each an allocation of its own, or null
    std::uint32_t nReal;
    std::uint32_t nInteger;
    std::uint32_t nBoolean;
    std::uint32_t nString;
    char* modelFilePath;  ///< location of the model file: resource location, slash, name; or empty
    char* resultFileName; ///< `pathBufferSize` bytes
    char* subdllFilePath; ///< location of the additional library, or empty
    char* ipAddress;
    double endTime; ///< in seconds: the master's stop time if defined, else from the parameter file
    std::uint32_t nInputPorts;
    std::uint32_t nOutputPorts;
    std::uint32_t* inputPortSize;
    std::uint32_t* outputPortSize;
    double** inputPortValues; ///< for each port an address inside `realValues`; also the next three
    double** outputPortValues;
    double** outputPortDots;
    double** outputPortDotDots;
    std::uint32_t state; ///< one bit of `CallState`
    fmi2Boolean stopTimeDefined;
    double stopTime;
    double time; ///< last communication point reached, in seconds
    fmi2ComponentEnvironment componentEnvironment;
    fmi2Type fmuType;
    fmi2Boolean dirtyValues;
    fmi2Boolean newEventIteration;
    fmi2EventInfo eventInfo;
    fmi2Boolean logCategories[nLogCategories];
};

static_assert(sizeof(FmuInstance) == 280);
static_assert(offsetof(FmuInstance, functions) == 0);
static_assert(offsetof(FmuInstance, instanceName) == 8);
static_assert(offsetof(FmuInstance, guid) == 16);
static_assert(offsetof(FmuInstance, loggingOn) == 24);
static_assert(offsetof(FmuInstance, plant) == 32);
static_assert(offsetof(FmuInstance, realValues) == 40);
static_assert(offsetof(FmuInstance, integerValues) == 48);
static_assert(offsetof(FmuInstance, booleanValues) == 56);
static_assert(offsetof(FmuInstance, stringValues) == 64);
static_assert(offsetof(FmuInstance, nReal) == 72);
static_assert(offsetof(FmuInstance, nInteger) == 76);
static_assert(offsetof(FmuInstance, nBoolean) == 80);
static_assert(offsetof(FmuInstance, nString) == 84);
static_assert(offsetof(FmuInstance, modelFilePath) == 88);
static_assert(offsetof(FmuInstance, resultFileName) == 96);
static_assert(offsetof(FmuInstance, subdllFilePath) == 104);
static_assert(offsetof(FmuInstance, ipAddress) == 112);
static_assert(offsetof(FmuInstance, endTime) == 120);
static_assert(offsetof(FmuInstance, nInputPorts) == 128);
static_assert(offsetof(FmuInstance, nOutputPorts) == 132);
static_assert(offsetof(FmuInstance, inputPortSize) == 136);
static_assert(offsetof(FmuInstance, outputPortSize) == 144);
static_assert(offsetof(FmuInstance, inputPortValues) == 152);
static_assert(offsetof(FmuInstance, outputPortValues) == 160);
static_assert(offsetof(FmuInstance, outputPortDots) == 168);
static_assert(offsetof(FmuInstance, outputPortDotDots) == 176);
static_assert(offsetof(FmuInstance, state) == 184);
static_assert(offsetof(FmuInstance, stopTimeDefined) == 188);
static_assert(offsetof(FmuInstance, stopTime) == 192);
static_assert(offsetof(FmuInstance, time) == 200);
static_assert(offsetof(FmuInstance, componentEnvironment) == 208);
static_assert(offsetof(FmuInstance, fmuType) == 216);
static_assert(offsetof(FmuInstance, dirtyValues) == 220);
static_assert(offsetof(FmuInstance, newEventIteration) == 224);
static_assert(offsetof(FmuInstance, eventInfo) == 232);
static_assert(offsetof(FmuInstance, logCategories) == 264);
