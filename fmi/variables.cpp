// Getters and setters of the variables. A value reference is the index into the value array of its type.
#include <cstring>

#include "fmi/fmi2.h"
#include "fmi/fmu_callback2.h"
#include "fmi/instance/allocation.h"
#include "fmi/instance/call_rules.h"
#include "fmi/instance/log.h"
#include "fmi/instance/reset_values.h"

namespace {

/// Traits of each variable type, used by `getValues` and `setValues`. `dirtyAfterGet`: the dirty flag after a get, if
/// it was set. Kept: the getters print a reference with %u, the setters with %d.

struct Reals {
    using Value = fmi2Real;
    static constexpr const CallRule& getRule = rules::getReal;
    static constexpr const CallRule& setRule = rules::setReal;
    static constexpr fmi2Boolean dirtyAfterGet = fmi2True; // Kept: only this getter leaves the flag set.

    static std::uint32_t count(const FmuInstance* instance) { return instance->nReal; }
    static double* array(const FmuInstance* instance) { return instance->realValues; }
    static std::vector<bool>& flags(SetSinceReset& set) { return set.reals; }

    static void traceGet(const FmuInstance* instance, fmi2ValueReference vr, Value value) {
        logMessage(instance, fmi2OK, "logFmiCall", "fmi2GetReal: #r%u# = %.16g", vr, value);
    }
    static void traceCount(const FmuInstance* instance, int nvr) {
        logMessage(instance, fmi2OK, "logFmiCall", "fmi2SetReal: nvr = %d", nvr);
    }
    static void traceSet(const FmuInstance* instance, fmi2ValueReference vr, Value value) {
        logMessage(instance, fmi2OK, "logFmiCall", "fmi2SetReal: #r%d# = %.16g", vr, value);
    }
};

struct Integers {
    using Value = fmi2Integer;
    static constexpr const CallRule& getRule = rules::getInteger;
    static constexpr const CallRule& setRule = rules::setInteger;
    static constexpr fmi2Boolean dirtyAfterGet = fmi2False;

    static std::uint32_t count(const FmuInstance* instance) { return instance->nInteger; }
    static fmi2Integer* array(const FmuInstance* instance) { return instance->integerValues; }
    static std::vector<bool>& flags(SetSinceReset& set) { return set.integers; }

    static void traceGet(const FmuInstance* instance, fmi2ValueReference vr, Value value) {
        logMessage(instance, fmi2OK, "logFmiCall", "fmi2GetInteger: #i%u# = %d", vr, value);
    }
    static void traceCount(const FmuInstance* instance, int nvr) {
        logMessage(instance, fmi2OK, "logFmiCall", "fmi2SetInteger: nvr = %d", nvr);
    }
    static void traceSet(const FmuInstance* instance, fmi2ValueReference vr, Value value) {
        logMessage(instance, fmi2OK, "logFmiCall", "fmi2SetInteger: #i%d# = %d", vr, value);
    }
};

struct Booleans {
    using Value = fmi2Boolean;
    static constexpr const CallRule& getRule = rules::getBoolean;
    static constexpr const CallRule& setRule = rules::setBoolean;
    static constexpr fmi2Boolean dirtyAfterGet = fmi2False;

    static std::uint32_t count(const FmuInstance* instance) { return instance->nBoolean; }
    static fmi2Boolean* array(const FmuInstance* instance) { return instance->booleanValues; }
    static std::vector<bool>& flags(SetSinceReset& set) { return set.booleans; }

    static const char* nameOf(Value value) { return value ? "true" : "false"; }
    static void traceGet(const FmuInstance* instance, fmi2ValueReference vr, Value value) {
        logMessage(instance, fmi2OK, "logFmiCall", "fmi2GetBoolean: #b%u# = %s", vr, nameOf(value));
    }
    static void traceCount(const FmuInstance* instance, int nvr) {
        logMessage(instance, fmi2OK, "logFmiCall", "fmi2SetBoolean: nvr = %d", nvr);
    }
    static void traceSet(const FmuInstance* instance, fmi2ValueReference vr, Value value) {
        logMessage(instance, fmi2OK, "logFmiCall", "fmi2SetBoolean: #b%d# = %s", vr, nameOf(value));
    }
};

/// A null string is passed to the master's logger as null.
struct Strings {
    using Value = fmi2String;
    static constexpr const CallRule& getRule = rules::getString;
    static constexpr const CallRule& setRule = rules::setString;
    static constexpr fmi2Boolean dirtyAfterGet = fmi2False;

    static std::uint32_t count(const FmuInstance* instance) { return instance->nString; }
    static char** array(const FmuInstance* instance) { return instance->stringValues; }
    static std::vector<bool>& flags(SetSinceReset& set) { return set.strings; }

    static void traceGet(const FmuInstance* instance, fmi2ValueReference vr, Value value) {
        logMessage(instance, fmi2OK, "logFmiCall", "fmi2GetString: #s%u# = '%s'", vr, value);
    }
    static void traceCount(const FmuInstance* instance, int nvr) {
        logMessage(instance, fmi2OK, "logFmiCall", "fmi2SetString: nvr = %d", nvr);
    }
    static void traceSet(const FmuInstance* instance, fmi2ValueReference vr, Value value) {
        logMessage(instance, fmi2OK, "logFmiCall", "fmi2SetString: #s%d# = '%s'", vr, value);
    }
};

template <typename Value>
bool store(FmuInstance* /*instance*/, Value& entry, Value value, std::size_t /*position*/) {
    entry = value;
    return true;
}

void clearString(FmuInstance* instance, char*& entry, std::size_t position) {
    if (entry != nullptr) instance->functions->freeMemory(entry);
    entry = nullptr;
    if (isCategoryLogged(instance, logError))
        logMessage(instance, fmi2Warning, "logError", "fmi2SetString: string argument value[%d] = NULL.",
                   static_cast<int>(position));
}

/// Copies a string into the instance. Kept: the buffer is reused only if its present string is at least as long, even
/// if it was allocated larger.
bool store(FmuInstance* instance, char*& entry, fmi2String value, std::size_t position) {
    if (value == nullptr) {
        clearString(instance, entry, position);
        return true;
    }

    const std::size_t length = std::strlen(value);
    if (entry == nullptr || std::strlen(entry) < length) {
        if (entry != nullptr) instance->functions->freeMemory(entry);
        entry = allocateArray<char>(*instance->functions, length + 1);
    }
    if (entry == nullptr) {
        instance->state = stateError;
        logMessage(instance, fmi2Error, "logError", "fmi2SetString: Out of memory.");
        return false;
    }
    std::memmove(entry, value, length + 1); // `value` may be this very buffer, from a getter
    return true;
}

/// Copies values until the first reference out of range; nvr > 0. `traced` is a template argument so that the untraced
/// loop stays a plain copy: fmi2SetReal takes 48 instructions for one value and 8235 for 1024, with an ordinary
/// argument 75 and 11331 (GCC 12, counted as for the test `instructions`).
template <typename Type, bool traced>
[[gnu::noinline]] fmi2Status copyOut(FmuInstance* instance, const fmi2ValueReference vr[], std::size_t nvr,
                                     typename Type::Value value[], std::uint32_t count) {
    const auto* array = Type::array(instance);
    std::size_t n = 0;
    do {
        if (vrOutOfRange(instance, Type::getRule.name, vr[n], count)) return fmi2Error;
        value[n] = array[vr[n]];
        if constexpr (traced) Type::traceGet(instance, vr[n], value[n]);
    } while (++n < nvr);
    return fmi2OK;
}

/// As `copyOut`, but nvr may be 0, and the number of values is traced too. A value is traced before it is stored.
template <typename Type, bool traced>
[[gnu::noinline]] fmi2Status copyIn(FmuInstance* instance, const fmi2ValueReference vr[], std::size_t nvr,
                                    const typename Type::Value value[]) {
    if constexpr (traced) Type::traceCount(instance, static_cast<int>(nvr));
    if (nvr == 0) return fmi2OK;

    const std::uint32_t count = Type::count(instance);
    auto* array = Type::array(instance);
    for (std::size_t n = 0; n < nvr; ++n) {
        if (vrOutOfRange(instance, Type::setRule.name, vr[n], count)) return fmi2Error;
        if constexpr (traced) Type::traceSet(instance, vr[n], value[n]);
        if (!store(instance, array[vr[n]], value[n], n)) return fmi2Error;
    }
    instance->dirtyValues = fmi2True;
    return fmi2OK;
}

template <typename Type>
fmi2Status getValues(fmi2Component handle, const fmi2ValueReference vr[], std::size_t nvr,
                     typename Type::Value value[]) {
    FmuInstance* instance = instanceOf(handle);
    if (instance == nullptr) return fmi2Error;
    // Kept: if the FMU has no variable of the type, every call is accepted before any check.
    const std::uint32_t count = Type::count(instance);
    if (count == 0) return fmi2OK;
    if (invalidState(instance, Type::getRule)) return fmi2Error;
    if (nvr == 0) return fmi2OK;
    if (nullPointer(instance, Type::getRule.name, "vr[]", vr)) return fmi2Error;
    if (nullPointer(instance, Type::getRule.name, "value[]", value)) return fmi2Error;

    if (instance->dirtyValues) instance->dirtyValues = Type::dirtyAfterGet;
    return isCategoryLogged(instance, logFmiCall) ? copyOut<Type, true>(instance, vr, nvr, value, count)
                                                  : copyOut<Type, false>(instance, vr, nvr, value, count);
}

/// Whether a setter has more to do than to copy: to trace, or to note what is set after a reset. One test of all flags,
/// which costs a call two instructions more than the trace alone.
bool hasMoreToDo(const FmuInstance* instance) {
    return (instance->logCategories[logFmiCall] | instance->logCategories[logAll] |
            nResetInstances.load(std::memory_order_relaxed)) != 0;
}

/// As `copyIn`, traced or not, and notes what is set if the instance was reset: all before a reference out of range.
template <typename Type>
[[gnu::cold, gnu::noinline]] fmi2Status noteAndCopyIn(FmuInstance* instance, const fmi2ValueReference vr[],
                                                      std::size_t nvr, const typename Type::Value value[]) {
    if (SetSinceReset* set = setSinceReset(instance)) {
        std::vector<bool>& flags = Type::flags(*set);
        for (std::size_t n = 0; n < nvr && vr[n] < flags.size(); ++n) flags[vr[n]] = true;
    }
    return isCategoryLogged(instance, logFmiCall) ? copyIn<Type, true>(instance, vr, nvr, value)
                                                  : copyIn<Type, false>(instance, vr, nvr, value);
}

template <typename Type>
fmi2Status setValues(fmi2Component handle, const fmi2ValueReference vr[], std::size_t nvr,
                     const typename Type::Value value[]) {
    FmuInstance* instance = instanceOf(handle);
    if (invalidState(instance, Type::setRule)) return fmi2Error;
    if (nvr != 0 && nullPointer(instance, Type::setRule.name, "vr[]", vr)) return fmi2Error;
    if (nvr != 0 && nullPointer(instance, Type::setRule.name, "value[]", value)) return fmi2Error;

    return hasMoreToDo(instance) ? noteAndCopyIn<Type>(instance, vr, nvr, value)
                                 : copyIn<Type, false>(instance, vr, nvr, value);
}

} // namespace

fmi2Status fmi2GetReal(fmi2Component handle, const fmi2ValueReference vr[], size_t nvr, fmi2Real value[]) {
    return getValues<Reals>(handle, vr, nvr, value);
}

fmi2Status fmi2GetInteger(fmi2Component handle, const fmi2ValueReference vr[], size_t nvr, fmi2Integer value[]) {
    return getValues<Integers>(handle, vr, nvr, value);
}

fmi2Status fmi2GetBoolean(fmi2Component handle, const fmi2ValueReference vr[], size_t nvr, fmi2Boolean value[]) {
    return getValues<Booleans>(handle, vr, nvr, value);
}

fmi2Status fmi2GetString(fmi2Component handle, const fmi2ValueReference vr[], size_t nvr, fmi2String value[]) {
    return getValues<Strings>(handle, vr, nvr, value);
}

fmi2Status fmi2SetReal(fmi2Component handle, const fmi2ValueReference vr[], size_t nvr, const fmi2Real value[]) {
    return setValues<Reals>(handle, vr, nvr, value);
}

fmi2Status fmi2SetInteger(fmi2Component handle, const fmi2ValueReference vr[], size_t nvr, const fmi2Integer value[]) {
    return setValues<Integers>(handle, vr, nvr, value);
}

fmi2Status fmi2SetBoolean(fmi2Component handle, const fmi2ValueReference vr[], size_t nvr, const fmi2Boolean value[]) {
    return setValues<Booleans>(handle, vr, nvr, value);
}

fmi2Status fmi2SetString(fmi2Component handle, const fmi2ValueReference vr[], size_t nvr, const fmi2String value[]) {
    return setValues<Strings>(handle, vr, nvr, value);
}

fmi2Status setString(fmi2Component handle, fmi2ValueReference vr, fmi2String value) {
    return fmi2SetString(handle, &vr, 1, &value);
}
