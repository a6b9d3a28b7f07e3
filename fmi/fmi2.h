// The types and functions of FMI 2.0 for co-simulation, written from the binary interface of the published standard
// ("Functional Mock-up Interface for Model Exchange and Co-Simulation", version 2.0): only what a co-simulation FMU
// exports and a master calls. Every exported function's contract here says in which call states it is accepted; a call
// in any other state puts the instance into the error state, sends "%s: Illegal call sequence." and gives fmi2Error.
//
// All functions: a null instance gives fmi2Error (fmi2FreeInstance ignores it). The library takes no locks: one call at
// a time for an instance; instantiation and initialization of all instances of a process one after the other.
#pragma once

#include <stddef.h>

#include "util/export.h"

extern "C" {

typedef void* fmi2Component;
typedef void* fmi2ComponentEnvironment;
typedef void* fmi2FMUstate;
typedef unsigned int fmi2ValueReference;
typedef double fmi2Real;
typedef int fmi2Integer;
typedef int fmi2Boolean;
typedef char fmi2Char;
typedef const fmi2Char* fmi2String;
typedef char fmi2Byte;

enum : fmi2Boolean { fmi2False = 0, fmi2True = 1 };

typedef enum : int { fmi2OK, fmi2Warning, fmi2Discard, fmi2Error, fmi2Fatal, fmi2Pending } fmi2Status;
typedef enum : int { fmi2ModelExchange, fmi2CoSimulation } fmi2Type;
typedef enum : int { fmi2DoStepStatus, fmi2PendingStatus, fmi2LastSuccessfulTime, fmi2Terminated } fmi2StatusKind;

typedef void (*fmi2CallbackLogger)(fmi2ComponentEnvironment environment, fmi2String instanceName, fmi2Status status,
                                   fmi2String category, fmi2String message, ...);
typedef void* (*fmi2CallbackAllocateMemory)(size_t count, size_t size);
typedef void (*fmi2CallbackFreeMemory)(void* memory);
typedef void (*fmi2StepFinished)(fmi2ComponentEnvironment environment, fmi2Status status);

/// The master's callbacks. The record is borrowed: it stays valid and unchanged until the instance is freed.
typedef struct {
    fmi2CallbackLogger logger;
    fmi2CallbackAllocateMemory allocateMemory; ///< zeroed memory for count elements of size bytes, or null
    fmi2CallbackFreeMemory freeMemory;
    fmi2StepFinished stepFinished; ///< never called: no step is asynchronous
    fmi2ComponentEnvironment componentEnvironment;
} fmi2CallbackFunctions;

typedef struct {
    fmi2Boolean newDiscreteStatesNeeded;
    fmi2Boolean terminateSimulation;
    fmi2Boolean nominalsOfContinuousStatesChanged;
    fmi2Boolean valuesOfContinuousStatesChanged;
    fmi2Boolean nextEventTimeDefined;
    fmi2Real nextEventTime;
} fmi2EventInfo;

/// The constant "default". Any state, no instance.
TESSARO_EXPORT const char* fmi2GetTypesPlatform(void);

/// The constant "2.0". Any state, no instance.
TESSARO_EXPORT const char* fmi2GetVersion(void);

/// Switches the log categories ("logAll", "logError", "logFmiCall", "logEvent"): the named ones, or all when
/// nCategories is 0, get the value of loggingOn, all others are switched off. A name that is not known is reported
/// with status fmi2Warning and ignored. States: all but fatal. loggingOn also switches the solver's messages.
TESSARO_EXPORT fmi2Status fmi2SetDebugLogging(fmi2Component instance, fmi2Boolean loggingOn, size_t nCategories,
                                              const fmi2String categories[]);

/// Creates an instance from the parameter files in the resources folder, or gives null. Arguments that no
/// instance can be made of are always reported, later failures only with loggingOn. Name and GUID must not be empty;
/// visible is ignored; the callbacks record is borrowed. Effects on the process: NUSOL_DLL_DIR and KELDEX_PATH are set
/// when the user left them empty, and the parameter records and the resource location of all instances are replaced.
TESSARO_EXPORT fmi2Component fmi2Instantiate(fmi2String instanceName, fmi2Type fmuType, fmi2String fmuGUID,
                                             fmi2String fmuResourceLocation, const fmi2CallbackFunctions* functions,
                                             fmi2Boolean visible, fmi2Boolean loggingOn);

/// Ends the solver's run and gives all memory of the instance back. States: as fmi2Reset; in any other one the
/// instance is not freed but enters the error state.
TESSARO_EXPORT void fmi2FreeInstance(fmi2Component instance);

/// Takes the experiment's times, in seconds; may be repeated. States: instantiated. The solver always starts at 0: any
/// other start time makes an error line appear, but is stored.
TESSARO_EXPORT fmi2Status fmi2SetupExperiment(fmi2Component instance, fmi2Boolean toleranceDefined, fmi2Real tolerance,
                                              fmi2Real startTime, fmi2Boolean stopTimeDefined, fmi2Real stopTime);

/// Generates the solver's model file when there is none, sets all numeric values to 0 and starts the solver. States:
/// instantiated. Refused, with nothing done, when a port lies outside of the reals. When the solver does not start the
/// instance is released at once: fmi2Error, and every later call with the handle is refused without touching anything.
/// Effects on the process: the working directory is another one while the translator runs.
TESSARO_EXPORT fmi2Status fmi2EnterInitializationMode(fmi2Component instance);

/// States: initialization mode. The solver is not contacted.
TESSARO_EXPORT fmi2Status fmi2ExitInitializationMode(fmi2Component instance);

/// Hands the solver its last inputs, stamped with the stop time of fmi2SetupExperiment (0 without one). The solver's
/// run goes on until fmi2FreeInstance. States: event mode, continuous-time mode, step complete, step failed.
TESSARO_EXPORT fmi2Status fmi2Terminate(fmi2Component instance);

/// Returns to the instantiated state and changes nothing else: values, times and a running solver stay. States: all but
/// step in progress and fatal.
TESSARO_EXPORT fmi2Status fmi2Reset(fmi2Component instance);

/// The getters copy nvr values out. States: all but instantiated, step in progress and fatal; any state when the FMU
/// has no variable of the type. On a value reference that is out of range the values before it are filled. Strings are
/// the instance's own, valid until set again or freed; null when never set.
TESSARO_EXPORT fmi2Status fmi2GetReal(fmi2Component instance, const fmi2ValueReference vr[], size_t nvr,
                                      fmi2Real value[]);
TESSARO_EXPORT fmi2Status fmi2GetInteger(fmi2Component instance, const fmi2ValueReference vr[], size_t nvr,
                                         fmi2Integer value[]);
TESSARO_EXPORT fmi2Status fmi2GetBoolean(fmi2Component instance, const fmi2ValueReference vr[], size_t nvr,
                                         fmi2Boolean value[]);
TESSARO_EXPORT fmi2Status fmi2GetString(fmi2Component instance, const fmi2ValueReference vr[], size_t nvr,
                                        fmi2String value[]);

/// The setters copy nvr values in; texts are copied, a null text clears the variable. States: instantiated,
/// initialization mode, event mode, step complete; reals also in continuous-time mode. On a value reference that is out
/// of range the values before it stay set.
TESSARO_EXPORT fmi2Status fmi2SetReal(fmi2Component instance, const fmi2ValueReference vr[], size_t nvr,
                                      const fmi2Real value[]);
TESSARO_EXPORT fmi2Status fmi2SetInteger(fmi2Component instance, const fmi2ValueReference vr[], size_t nvr,
                                         const fmi2Integer value[]);
TESSARO_EXPORT fmi2Status fmi2SetBoolean(fmi2Component instance, const fmi2ValueReference vr[], size_t nvr,
                                         const fmi2Boolean value[]);
TESSARO_EXPORT fmi2Status fmi2SetString(fmi2Component instance, const fmi2ValueReference vr[], size_t nvr,
                                        const fmi2String value[]);

/// Not supported, always fmi2Error with "%s: Function not implemented.". States: as fmi2Reset, for the directional
/// derivative as the getters.
TESSARO_EXPORT fmi2Status fmi2GetFMUstate(fmi2Component instance, fmi2FMUstate* state);
TESSARO_EXPORT fmi2Status fmi2SetFMUstate(fmi2Component instance, fmi2FMUstate state);
TESSARO_EXPORT fmi2Status fmi2FreeFMUstate(fmi2Component instance, fmi2FMUstate* state);
TESSARO_EXPORT fmi2Status fmi2SerializedFMUstateSize(fmi2Component instance, fmi2FMUstate state, size_t* size);
TESSARO_EXPORT fmi2Status fmi2SerializeFMUstate(fmi2Component instance, fmi2FMUstate state, fmi2Byte bytes[],
                                                size_t size);
TESSARO_EXPORT fmi2Status fmi2DeSerializeFMUstate(fmi2Component instance, const fmi2Byte bytes[], size_t size,
                                                  fmi2FMUstate* state);
TESSARO_EXPORT fmi2Status fmi2GetDirectionalDerivative(fmi2Component instance, const fmi2ValueReference vUnknown[],
                                                       size_t nUnknown, const fmi2ValueReference vKnown[],
                                                       size_t nKnown, const fmi2Real dvKnown[], fmi2Real dvUnknown[]);

/// Not supported, always fmi2Error: inputs are held constant over a step. States: instantiated, initialization mode,
/// step complete.
TESSARO_EXPORT fmi2Status fmi2SetRealInputDerivatives(fmi2Component instance, const fmi2ValueReference vr[], size_t nvr,
                                                      const fmi2Integer order[], const fmi2Real value[]);

/// Reads the derivatives of nvr outputs, each asked for by the output's own value reference, as the solver wrote them.
/// The order (1 or 2) of the first element holds for all of them. Any state. The derivative is looked for at the
/// distance that output port 0 has. Without a running solver or for another order: fmi2Error, nothing is read. Behind
/// the last real variable: fmi2Error, the values before it are filled.
TESSARO_EXPORT fmi2Status fmi2GetRealOutputDerivatives(fmi2Component instance, const fmi2ValueReference vr[],
                                                       size_t nvr, const fmi2Integer order[], fmi2Real value[]);

/// Hands the inputs to the solver at currentCommunicationPoint and lets it advance by communicationStepSize (seconds,
/// above 0), then the outputs and their derivatives stand in the real variables. States: step complete. The
/// communication point is taken as given, not compared with the last one. When the solver fails its
/// run is over: a failed deposit leaves the state, a failed advance gives step failed. A step size of 0 or below gives
/// the error state.
TESSARO_EXPORT fmi2Status fmi2DoStep(fmi2Component instance, fmi2Real currentCommunicationPoint,
                                     fmi2Real communicationStepSize, fmi2Boolean noSetFMUStatePriorToCurrentPoint);

/// Always fmi2Error: no step is ever in progress, so every state is refused.
TESSARO_EXPORT fmi2Status fmi2CancelStep(fmi2Component instance);

/// The status queries. States: step complete, step in progress, step failed, terminated. Answered are only the last
/// successful time (fmi2GetRealStatus: end of the last successful step, in seconds) and whether the FMU asks to end the
/// run (fmi2GetBooleanStatus with fmi2Terminated: never); all other kinds give fmi2Discard, a message, and write
/// nothing.
TESSARO_EXPORT fmi2Status fmi2GetStatus(fmi2Component instance, const fmi2StatusKind kind, fmi2Status* value);
TESSARO_EXPORT fmi2Status fmi2GetRealStatus(fmi2Component instance, const fmi2StatusKind kind, fmi2Real* value);
TESSARO_EXPORT fmi2Status fmi2GetIntegerStatus(fmi2Component instance, const fmi2StatusKind kind, fmi2Integer* value);
TESSARO_EXPORT fmi2Status fmi2GetBooleanStatus(fmi2Component instance, const fmi2StatusKind kind, fmi2Boolean* value);
TESSARO_EXPORT fmi2Status fmi2GetStringStatus(fmi2Component instance, const fmi2StatusKind kind, fmi2String* value);

} // extern "C"
