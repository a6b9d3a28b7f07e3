// The functions of FMI 2.0 for co-simulation, written from the binary interface of the published standard
// ("Functional Mock-up Interface for Model Exchange and Co-Simulation", version 2.0): only what a co-simulation FMU
// exports and a master calls, and one function beside them. Each function lists the call states in which it is
// accepted. A call in any other state sets the error state, logs "%s: Illegal call sequence." and returns fmi2Error.
//
// All functions return fmi2Error for a null instance (fmi2FreeInstance ignores it). Make one call at a time per
// instance. Different instances may be instantiated, initialized, stepped and freed on several threads at once. What a
// master's other threads must respect: instantiation reads the environment and, when they are not set, sets
// NUSOL_DLL_DIR and KELDEX_PATH, and initialization reads the environment; no other thread may change it meanwhile.
#pragma once

#include "fmi/instance/fmi2_types.h"
#include "util/internal/export.h"

extern "C" {

/// Returns "default". Any state, no instance needed.
TESSARO_EXPORT const char* fmi2GetTypesPlatform(void);

/// Returns "2.0". Any state, no instance needed.
TESSARO_EXPORT const char* fmi2GetVersion(void);

/// Switches the log categories ("logAll", "logError", "logFmiCall", "logEvent"): the named ones, or all when
/// nCategories is 0, are set to loggingOn; all others are switched off. loggingOn also switches the messages of the
/// solver and of initialization. An unknown name is reported with status fmi2Warning and ignored. States: all but
/// fatal.
TESSARO_EXPORT fmi2Status fmi2SetDebugLogging(fmi2Component instance, fmi2Boolean loggingOn, size_t nCategories,
                                              const fmi2String categories[]);

/// Creates an instance from the parameter files in the resources folder; null on failure. Invalid arguments are always
/// logged, later failures only with loggingOn. Name and GUID must not be empty; visible is ignored. `functions` is
/// borrowed and must stay valid until the instance is freed. Effects on the process: NUSOL_DLL_DIR and KELDEX_PATH are
/// set if they were unset or empty; the parameter records and the resource location of all instances are replaced.
TESSARO_EXPORT fmi2Component fmi2Instantiate(fmi2String instanceName, fmi2Type fmuType, fmi2String fmuGUID,
                                             fmi2String fmuResourceLocation, const fmi2CallbackFunctions* functions,
                                             fmi2Boolean visible, fmi2Boolean loggingOn);

/// Ends the solver's run and frees all memory of the instance. States: as fmi2Reset; in any other state the instance is
/// not freed but enters the error state.
TESSARO_EXPORT void fmi2FreeInstance(fmi2Component instance);

/// Stores the experiment's times, in seconds; may be repeated. The solver always starts at 0: any other start time logs
/// an error, but is stored. States: instantiated.
TESSARO_EXPORT fmi2Status fmi2SetupExperiment(fmi2Component instance, fmi2Boolean toleranceDefined, fmi2Real tolerance,
                                              fmi2Real startTime, fmi2Boolean stopTimeDefined, fmi2Real stopTime);

/// Generates the solver's model file if it does not exist, sets all numeric values to 0 and starts the solver. Returns
/// fmi2Error and does nothing when the values of a port are not all inside the array of reals. When the solver does not
/// start, the instance is released at once: fmi2Error, and later calls with the handle are refused without reading it.
/// States: instantiated. The resources folder is locked (`flock`) until the solver has started: other starts from the
/// same folder, on any thread or in any process, wait. The working directory is not changed.
TESSARO_EXPORT fmi2Status fmi2EnterInitializationMode(fmi2Component instance);

/// Only changes the state; the solver is not called. States: initialization mode.
TESSARO_EXPORT fmi2Status fmi2ExitInitializationMode(fmi2Component instance);

/// Passes the inputs to the solver once more, for the stopTime that fmi2SetupExperiment got, also when its
/// stopTimeDefined was 0; 0 without that call. The solver's run continues until fmi2FreeInstance. States: event mode,
/// continuous-time mode, step complete, step failed.
TESSARO_EXPORT fmi2Status fmi2Terminate(fmi2Component instance);

/// Returns to the instantiated state: values and times are kept and the solver continues to run. But for the next start
/// only what is set from now on counts as set, all else is left to the model. fmi2Error and the error state when out of
/// memory. States: all but step in progress and fatal.
TESSARO_EXPORT fmi2Status fmi2Reset(fmi2Component instance);

/// The getters copy nvr values out. If a value reference is out of range, the values before it are still written.
/// Strings belong to the instance and are valid until set again or freed; null when never set. States: all but
/// instantiated, step in progress and fatal; any state when the FMU has no variable of the type.
TESSARO_EXPORT fmi2Status fmi2GetReal(fmi2Component instance, const fmi2ValueReference vr[], size_t nvr,
                                      fmi2Real value[]);
TESSARO_EXPORT fmi2Status fmi2GetInteger(fmi2Component instance, const fmi2ValueReference vr[], size_t nvr,
                                         fmi2Integer value[]);
TESSARO_EXPORT fmi2Status fmi2GetBoolean(fmi2Component instance, const fmi2ValueReference vr[], size_t nvr,
                                         fmi2Boolean value[]);
TESSARO_EXPORT fmi2Status fmi2GetString(fmi2Component instance, const fmi2ValueReference vr[], size_t nvr,
                                        fmi2String value[]);

/// The setters copy nvr values in. Strings are copied; null clears the variable. If a value reference is out of range,
/// the values before it are still set. States: instantiated, initialization mode, event mode, step complete; reals also
/// in continuous-time mode.
TESSARO_EXPORT fmi2Status fmi2SetReal(fmi2Component instance, const fmi2ValueReference vr[], size_t nvr,
                                      const fmi2Real value[]);
TESSARO_EXPORT fmi2Status fmi2SetInteger(fmi2Component instance, const fmi2ValueReference vr[], size_t nvr,
                                         const fmi2Integer value[]);
TESSARO_EXPORT fmi2Status fmi2SetBoolean(fmi2Component instance, const fmi2ValueReference vr[], size_t nvr,
                                         const fmi2Boolean value[]);
TESSARO_EXPORT fmi2Status fmi2SetString(fmi2Component instance, const fmi2ValueReference vr[], size_t nvr,
                                        const fmi2String value[]);

/// Beside the standard: `fmi2SetString` for one variable.
TESSARO_EXPORT fmi2Status setString(fmi2Component instance, fmi2ValueReference vr, fmi2String value);

/// Not supported: always fmi2Error, with the message "%s: Function not implemented.". States: as fmi2Reset; the
/// directional derivative as the getters.
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

/// Not supported: always fmi2Error. Inputs are constant over a step. States: instantiated, initialization mode,
/// step complete.
TESSARO_EXPORT fmi2Status fmi2SetRealInputDerivatives(fmi2Component instance, const fmi2ValueReference vr[], size_t nvr,
                                                      const fmi2Integer order[], const fmi2Real value[]);

/// Reads time derivatives of nvr outputs, as the solver wrote them. vr has the value references of the outputs
/// themselves; the order (1 or 2) of the first element is used for all. Every derivative is read at the distance from
/// its value that output port 0 has, which the solver's side is asked for even when nvr is 0. fmi2Error without a
/// running solver or for another order. If a derivative would be past those of the last port: fmi2Error, the values
/// before it are still written. Any state.
TESSARO_EXPORT fmi2Status fmi2GetRealOutputDerivatives(fmi2Component instance, const fmi2ValueReference vr[],
                                                       size_t nvr, const fmi2Integer order[], fmi2Real value[]);

/// Passes the inputs to the solver at currentCommunicationPoint and lets it advance by communicationStepSize (seconds,
/// positive). The real variables then contain the outputs and their derivatives. The communication point is used as
/// given, not compared with the last one. A failure of the solver ends its run: if it refuses the inputs the state does
/// not change, otherwise it becomes step failed. A step size of 0 or below sets the error state. States: step complete.
TESSARO_EXPORT fmi2Status fmi2DoStep(fmi2Component instance, fmi2Real currentCommunicationPoint,
                                     fmi2Real communicationStepSize, fmi2Boolean noSetFMUStatePriorToCurrentPoint);

/// Always fmi2Error: a step is never in progress, so the call is refused in every state.
TESSARO_EXPORT fmi2Status fmi2CancelStep(fmi2Component instance);

/// The status queries. Only two are answered: fmi2GetRealStatus with fmi2LastSuccessfulTime (end of the last successful
/// step, in seconds) and fmi2GetBooleanStatus with fmi2Terminated (always false). All others return fmi2Discard with a
/// message and write nothing. States: step complete, step in progress, step failed, terminated.
TESSARO_EXPORT fmi2Status fmi2GetStatus(fmi2Component instance, const fmi2StatusKind kind, fmi2Status* value);
TESSARO_EXPORT fmi2Status fmi2GetRealStatus(fmi2Component instance, const fmi2StatusKind kind, fmi2Real* value);
TESSARO_EXPORT fmi2Status fmi2GetIntegerStatus(fmi2Component instance, const fmi2StatusKind kind, fmi2Integer* value);
TESSARO_EXPORT fmi2Status fmi2GetBooleanStatus(fmi2Component instance, const fmi2StatusKind kind, fmi2Boolean* value);
TESSARO_EXPORT fmi2Status fmi2GetStringStatus(fmi2Component instance, const fmi2StatusKind kind, fmi2String* value);

} // extern "C"
