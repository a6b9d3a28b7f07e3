// The only way to the master's logger.
#pragma once

#include <array>
#include <type_traits>

#include "fmi/instance/fmu_instance.h"

/// The log categories that a master can switch, by index.
enum LogCategory : int { logAll, logError, logFmiCall, logEvent };

inline constexpr std::array<const char*, nLogCategories> logCategoriesNames{"logAll", "logError", "logFmiCall",
                                                                            "logEvent"};

/// 1 when the category with this index, or "logAll", is switched on; 0 otherwise and for an index above 3. The index
/// must not be negative.
inline int isCategoryLogged(const FmuInstance* instance, int categoryIndex) {
    if (categoryIndex >= nLogCategories) return 0;

    return (instance->logCategories[categoryIndex] | instance->logCategories[logAll]) != 0 ? 1 : 0;
}

/// Logs with an explicit instance name, for use before there is a record.
template <typename... Arguments>
void logAs(const fmi2CallbackFunctions& functions, const char* instanceName, fmi2Status status, const char* category,
           const char* format, Arguments... arguments) {
    static_assert((std::is_scalar_v<Arguments> && ...), "the master's logger is variadic: scalars and pointers only");
    functions.logger(functions.componentEnvironment, instanceName, status, category, format, arguments...);
}

/// Logs a message of the instance, whatever the categories. The environment is read from the master's record.
template <typename... Arguments>
void logMessage(const FmuInstance* instance, fmi2Status status, const char* category, const char* format,
                Arguments... arguments) {
    logAs(*instance->functions, instance->instanceName, status, category, format, arguments...);
}

/// Logs an error of instantiation or initialization (category "error") if the instance's logging is on.
template <typename... Arguments>
void logSetupError(const FmuInstance* instance, const char* format, Arguments... arguments) {
    if (instance->loggingOn) logMessage(instance, fmi2Error, "error", format, arguments...);
}

/// The trace at the start of an exported function: its name, if calls are logged.
inline void traceCall(const FmuInstance* instance, const char* functionName) {
    if (isCategoryLogged(instance, logFmiCall)) logMessage(instance, fmi2OK, "logFmiCall", functionName);
}
