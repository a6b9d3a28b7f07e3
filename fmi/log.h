// Every message to the master's logger goes through this header.
#pragma once

#include <array>
#include <type_traits>

#include "fmi/fmu_instance.h"

/// The log categories that a master can switch, by index.
enum LogCategory : int { logAll, logError, logFmiCall, logEvent };

inline constexpr std::array<const char*, nLogCategories> logCategoriesNames{"logAll", "logError", "logFmiCall",
                                                                            "logEvent"};

/// 1 when the category of that index, or "logAll", is switched on; 0 otherwise and for an index above 3. Negative
/// indices must not be given.
inline int isCategoryLogged(const FmuInstance* instance, int categoryIndex) {
    if (categoryIndex >= nLogCategories) return 0;

    return (instance->logCategories[categoryIndex] | instance->logCategories[logAll]) != 0 ? 1 : 0;
}

/// Calls the logger of `functions` under another instance name than the record's, or before there is a record.
template <typename... Arguments>
void logAs(const fmi2CallbackFunctions& functions, const char* instanceName, fmi2Status status, const char* category,
           const char* format, Arguments... arguments) {
    static_assert((std::is_scalar_v<Arguments> && ...), "the master's logger is variadic: scalars and pointers only");
    functions.logger(functions.componentEnvironment, instanceName, status, category, format, arguments...);
}

/// Sends one message of the instance, whatever the categories; the environment is the one in the master's record now.
template <typename... Arguments>
void logMessage(const FmuInstance* instance, fmi2Status status, const char* category, const char* format,
                Arguments... arguments) {
    logAs(*instance->functions, instance->instanceName, status, category, format, arguments...);
}

/// Sends an error of instantiation or initialization (category "error"), only while the instance's logging is on.
template <typename... Arguments>
void logSetupError(const FmuInstance* instance, const char* format, Arguments... arguments) {
    if (instance->loggingOn) logMessage(instance, fmi2Error, "error", format, arguments...);
}

/// The trace that an exported function writes on entry: its own name, when calls are logged.
inline void traceCall(const FmuInstance* instance, const char* functionName) {
    if (isCategoryLogged(instance, logFmiCall)) logMessage(instance, fmi2OK, "logFmiCall", functionName);
}
