// The types of FMI 2.0 for co-simulation, written from the binary interface of the published standard ("Functional
// Mock-up Interface for Model Exchange and Co-Simulation", version 2.0). The functions are in fmi/fmi2.h.
#pragma once

#include <stddef.h>

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

} // extern "C"
