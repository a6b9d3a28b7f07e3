// What an instance must answer to every call, written from the rules that a master relies on; nothing of the library's
// own tables is used here. Knows the FMU of `FmuFiles` and the scripted solver.
#pragma once

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/reliability/trial.h"

/// One handle of the master's. Each function takes the arguments of a call and gives the status that is due; `due` then
/// ends with the messages and solver's calls that are due, in their order, each with what the record holds then.
class CallModel {
public:
    using Text = std::optional<std::string>;

    CallModel(const SolverScript& solver, fmi2Type type, fmi2Boolean loggingOn)
        : solver_(solver), type_(type), loggingOn_(loggingOn) {}

    static constexpr unsigned setMask = 2 + 4 + 8 + 32, getMask = 4 + 8 + 16 + 32 + 128 + 256 + 512 + 1024;

    unsigned state = 2; ///< the call state's bit
    bool alive = true;  ///< false once released; the handle may then still be called
    std::vector<std::string> due;
    std::vector<double> reals = std::vector(19, -99999.0);
    std::vector<int> integers{-99999, -99999}, booleans{-99999, -99999};
    std::vector<Text> strings = std::vector<Text>(3);

    fmi2Status setDebugLogging(fmi2Boolean on, std::size_t count, const fmi2String categories[]) {
        static const std::vector<std::string> names{"logAll", "logError", "logFmiCall", "logEvent"};
        if (!allowed("fmi2SetDebugLogging", 2046)) return fmi2Error;
        loggingOn_ = on;
        trace("fmi2SetDebugLogging");
        if (count > 0 && !given("fmi2SetDebugLogging", "categories[]", categories)) return fmi2Error;
        categories_.fill(count == 0 ? on : 0);
        for (std::size_t i = 0; i < count; ++i) {
            const std::string name = categories[i] != nullptr ? categories[i] : "";
            const auto found = std::find(names.begin(), names.end(), name);
            if (found != names.end())
                categories_[static_cast<std::size_t>(found - names.begin())] = on;
            else
                say("warning [logError] logging category '%s' is not supported by model", name.c_str());
        }
        trace("fmi2SetDebugLogging");
        return fmi2OK;
    }

    fmi2Status setupExperiment(fmi2Boolean tolerated, double tolerance, double start, int stops, double stop) {
        if (!allowed("fmi2SetupExperiment", 2)) return fmi2Error;
        traceAs("ok [logFmiCall] fmi2SetupExperiment: toleranceDefined=%d tolerance=%g", tolerated, tolerance);
        if (!(start == 0)) say("error [logError] fmi2SetString: Out of memory.%s", "");
        time_ = start;
        stopTimeDefined_ = stops;
        stopTime_ = stop;
        if (stops != 0) endTime_ = stop;
        return fmi2OK;
    }

    /// A result file without a folder is put into the one of the given length.
    fmi2Status enterInitializationMode(std::size_t folderLength) {
        if (!allowed("fmi2EnterInitializationMode", 2)) return fmi2Error;
        trace("fmi2EnterInitializationMode");
        if (loggingOn_ != 0 && !startValues_.empty())
            say("warning [warning] fmi2EnterInitializationMode: model file [%s] was there already and is used as it "
                "is: "
                "the values that were set have no effect.",
                "Model.xml");
        const std::string result = strings[0].value_or("fmu.mrf");
        const std::size_t ending = result.find(".mrf") == std::string::npos ? 4 : 0;
        const std::size_t folder = result.find_first_of("/\\") == std::string::npos ? folderLength + 1 : 0;
        if (folder + result.size() + ending > 1023) {
            if (loggingOn_ != 0) say("error [error] %s: Result file name is too long.", "fmi2EnterInitializationMode");
            return fmi2Error;
        }
        std::fill(reals.begin(), reals.end(), 0);
        integers = booleans = {0, 0};
        alive = playToItsEnd(0, "start");
        if (alive) state = 4;
        return alive ? fmi2OK : fmi2Error;
    }

    fmi2Status exitInitializationMode() {
        if (!allowed("fmi2ExitInitializationMode", 4)) return fmi2Error;
        trace("fmi2ExitInitializationMode");
        state = type_ == fmi2ModelExchange ? 8 : 32;
        dirty_ = 0;
        newEventIteration_ |= type_ == fmi2ModelExchange;
        return fmi2OK;
    }

    fmi2Status reset() {
        if (!allowed("fmi2Reset", getMask + 2)) return fmi2Error;
        trace("fmi2Reset");
        state = 2;
        dirty_ = 1;
        startValues_.clear();
        return fmi2OK;
    }

    fmi2Status terminate() {
        if (!allowed("fmi2Terminate", 8 + 16 + 32 + 128)) return fmi2Error;
        trace("fmi2Terminate");
        deposit(stopTime_);
        state = 512;
        return fmi2OK;
    }

    void free() {
        if (!allowed("fmi2FreeInstance", getMask + 2)) return;
        trace("fmi2FreeInstance");
        if (plant_) play(3, "terminate at" + number(time_));
        alive = false;
    }

    fmi2Status doStep(double time, double size, fmi2Boolean flag) {
        if (!allowed("fmi2DoStep", 32)) return fmi2Error;
        traceAs("ok [logFmiCall] fmi2DoStep: currentCommunicationPoint = %g, communicationStepSize = %g, "
                "noSetFMUStatePriorToCurrentPoint = fmi2%s",
                time, size, flag != 0 ? "True" : "False");
        const char* failed = "error [logAll] Problem in cosimulation, unable to %s at communication point=%g.";
        if (size <= 0) {
            say("error [logError] fmi2DoStep: communication step size must be > 0. Fount %g.", size);
            state = 1024;
        } else if (!deposit(time)) {
            say(failed, "deposite plant input", time);
        } else if (!request(time + size)) {
            say(failed, "request plant output", time);
            state = 128;
        } else {
            traceAs("ok [logFmiCall] Solver progressed from %g to %g.", time, time + size);
            time_ = time + size;
            return fmi2OK;
        }
        return fmi2Error;
    }

    fmi2Status cancelStep() { return allowed("fmi2CancelStep", 64) ? fmi2Fatal : fmi2Error; } // no state allows it

    /// A status query; the kind that it answers itself, if any, goes to `answer` unless `value` is null.
    fmi2Status getStatus(const char* name, int kind, int answeredKind, const void* value, double& answer) {
        static const std::array kinds{"DoStepStatus", "PendingStatus", "LastSuccessfulTime", "Terminated"};
        if (!allowed(name, 32 + 64 + 128 + 512)) return fmi2Error;
        if (kind == answeredKind) {
            if (!given(name, "value", value)) return fmi2Error;
            answer = kind == 2 ? time_ : 0;
            return fmi2OK;
        }
        const bool known = kind >= 0 && kind <= 3;
        const std::string kindName =
            known ? "fmi2" + std::string(kinds[static_cast<std::size_t>(kind)]) : "unknown status kind";
        traceAs("ok [logFmiCall] %s: fmi2StatusKind = %s", name, kindName.c_str());
        if (known)
            say("error [logError] %s: Can be called with %s when fmi2DoStep returned fmi2%s. This is not the case.",
                name, kindName.c_str(), kind < 2 ? "Pending" : "Discard");
        return fmi2Discard;
    }

    fmi2Status setInputDerivatives(std::size_t count) {
        const char* name = "fmi2SetRealInputDerivatives";
        if (!allowed(name, 2 + 4 + 32)) return fmi2Error;
        traceAs("ok [logFmiCall] %s: nvr= %d", name, static_cast<int>(count));
        say("error [logError] %s: ignoring function call. This model cannot interpolate inputs: "
            "canInterpolateInputs=\"fmi2False\"",
            name);
        return fmi2Error;
    }

    fmi2Status getOutputDerivatives(const unsigned vr[], std::size_t count, const int order[], double value[]) {
        const char* name = "fmi2GetRealOutputDerivatives";
        if (!alive || count == 0) return alive ? fmi2OK : fmi2Error;
        if (!given(name, "vr[]", vr) || !given(name, "order[]", order) || !given(name, "value[]", value))
            return fmi2Error;
        if (!plant_ || (order[0] != 1 && order[0] != 2)) {
            say("error [logError] %s: No output derivatives of order %d.", name, order[0]);
            return fmi2Error;
        }
        for (std::size_t n = 0; n < count; ++n) {
            if (!inRange(name, vr[n], reals.size())) return fmi2Error;
            const unsigned index = vr[n] + 2U * static_cast<unsigned>(order[0]);
            if (index >= reals.size()) {
                say("error [logError] %s: Value reference %u has no derivative.", name, vr[n]);
                return fmi2Error;
            }
            value[n] = reals[index];
            traceAs("ok [logFmiCall] %s: #r%u# = %.16g", name, vr[n], value[n]);
        }
        return fmi2OK;
    }

    fmi2Status unsupported(const char* name, unsigned mask) {
        if (!allowed(name, mask)) return fmi2Error;
        trace(name);
        say("error [logError] %s: Function not implemented.", name);
        return fmi2Error;
    }

    /// A getter; `values` is null where the master's argument is. What is read goes there.
    template <typename Value>
    fmi2Status get(const char* name, std::vector<Value>& own, const unsigned vr[], std::size_t count, Value values[]) {
        if (!transferable(name, getMask, vr, count, values)) return fmi2Error;
        if (count != 0 && name[7] != 'R') dirty_ = 0;
        for (std::size_t n = 0; n < count; ++n) {
            if (!inRange(name, vr[n], own.size())) return fmi2Error;
            values[n] = own[vr[n]];
            traceAs("ok [logFmiCall] %s: #%s", name, shown(name, vr[n], values[n]).c_str());
        }
        return fmi2OK;
    }

    /// The setter to it.
    template <typename Value>
    fmi2Status set(const char* name, std::vector<Value>& own, const unsigned vr[], std::size_t count,
                   const Value values[]) {
        if (!transferable(name, setMask + (name[7] == 'R' ? 16 : 0), vr, count, values)) return fmi2Error;
        traceAs("ok [logFmiCall] %s: nvr = %d", name, static_cast<int>(count));
        for (std::size_t n = 0; n < count; ++n) {
            if (!inRange(name, vr[n], own.size())) return fmi2Error;
            traceAs("ok [logFmiCall] %s: #%s", name, shown(name, vr[n], values[n]).c_str());
            if constexpr (std::is_same_v<Value, Text>)
                if (!values[n] && (categories_[0] != 0 || categories_[1] != 0))
                    say("warning [logError] %s: string argument value[%d] = NULL.", name, static_cast<int>(n));
            own[vr[n]] = values[n];
            const std::pair variable(name[7], vr[n]);
            if (isForTranslator(variable, values[n]))
                startValues_.insert(variable);
            else
                startValues_.erase(variable);
        }
        if (count != 0) dirty_ = 1;
        return fmi2OK;
    }

    /// What the record's fields must hold, as `fieldsOf` shows them.
    std::string fields() const {
        return textOf("state %u, time %g, stop time %d %g, end time %g, dirty %d, event %d", state, time_,
                      stopTimeDefined_, stopTime_, endTime_, dirty_, newEventIteration_);
    }

private:
    static std::string number(double value) { return textOf(" %g", value); }

    /// A value as the traces show it; the functions' names differ in their eighth letter.
    static std::string shown(const char* /*name*/, unsigned vr, double value) {
        return textOf("r%u# = %.16g", vr, value);
    }
    static std::string shown(const char* name, unsigned vr, int value) {
        if (name[7] == 'I') return textOf("i%u# = %d", vr, value);
        return textOf("b%u# = %s", vr, value != 0 ? "true" : "false");
    }
    static std::string shown(const char* /*name*/, unsigned vr, const Text& value) {
        return textOf("s%u# = ", vr) + "'" + value.value_or("(null)") + "'";
    }

    using Variable = std::pair<char, unsigned>; // a letter of its type, its reference

    /// Whether a value that was set goes into the value file. String variable 0, the result file, does not.
    static bool isForTranslator(Variable variable, const Text& value) {
        return value.has_value() && variable.second != 0;
    }
    template <typename Number>
    static bool isForTranslator(Variable /*variable*/, Number value) {
        return value != -99999;
    }

    template <typename... Arguments>
    void say(const char* format, Arguments... arguments) {
        due.push_back(textOf(format, arguments...));
        due.push_back(fields());
    }
    template <typename... Arguments>
    void traceAs(const char* format, Arguments... arguments) {
        if (categories_[0] != 0 || categories_[2] != 0) say(format, arguments...);
    }
    void trace(const char* name) { traceAs("ok [logFmiCall] %s", name); }

    bool allowed(const char* name, unsigned mask) {
        if (!alive || (state & mask) != 0) return alive;
        state = 1024;
        say("error [logError] %s: Illegal call sequence.", name);
        return false;
    }

    bool given(const char* name, const char* argument, const void* pointer) {
        if (pointer != nullptr) return true;
        state = 1024;
        say("error [logError] %s: Invalid argument %s = NULL.", name, argument);
        return false;
    }

    bool inRange(const char* name, unsigned vr, std::size_t count) {
        if (static_cast<int>(vr) < static_cast<int>(count)) return true;
        say("error [logError] %s: Illegal value reference %u.", name, vr);
        state = 1024;
        return false;
    }

    bool transferable(const char* name, unsigned mask, const void* vr, std::size_t count, const void* value) {
        return allowed(name, mask) && (count == 0 || (given(name, "vr[]", vr) && given(name, "value[]", value)));
    }

    bool deposit(double time) {
        return plant_ && playToItsEnd(1, "deposit at" + number(time) + ":" + number(reals[0]) + number(reals[1]) +
                                             number(reals[2]));
    }

    bool request(double time) {
        for (const auto& [first, width, start] : {std::array{3, 2, 0}, {9, 3, 10}}) // the output ports
            for (int k = 0; k < 3 * width; ++k)
                reals[static_cast<std::size_t>(first + k)] = 100 * (k / width) + time + start + k % width;
        return playToItsEnd(2, "request at" + number(time));
    }

    bool playToItsEnd(int entry, const std::string& line) {
        errorCode_ = 0;
        const bool returned = play(entry, line);
        return plant_ = returned && errorCode_ == 0;
    }

    /// The solver's part of a call; false when it throws.
    bool play(int entry, const std::string& line) {
        due.push_back(line);
        due.push_back(fields());
        const Behaviour& behaviour = solver_.behaviours[entry];
        if (behaviour.reports) report(behaviour.level);
        return behaviour.thrown == Thrown::nothing;
    }

    /// A report of 2 and more ends the run: the solver's terminate is called at once, but not from within itself.
    void report(int level) {
        constexpr std::array statuses{"ok", "warning", "error", "fatal"};
        if (level >= 0 && level <= 3 && loggingOn_ != 0)
            say("%s [log] 100%%s of it\n", statuses[static_cast<std::size_t>(level)]);
        if (level < 2) return;
        if (!terminating_) {
            terminating_ = true;
            const bool returned = play(3, "terminate at" + number(time_));
            terminating_ = false;
            if (!returned) return;
        }
        errorCode_ = level;
    }

    const SolverScript& solver_;
    fmi2Type type_;
    fmi2Boolean loggingOn_;
    std::array<fmi2Boolean, 4> categories_{};
    std::set<Variable> startValues_; // set since the instantiation or the last reset
    bool plant_ = false, terminating_ = false;
    int errorCode_ = 0;
    double time_ = 0, stopTime_ = 0, endTime_ = 7.5;
    int stopTimeDefined_ = 0, dirty_ = 1, newEventIteration_ = 0;
};
