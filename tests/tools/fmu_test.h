// What tests of the built library are written with: an FMU's files, the master, the scripted solver, and the calls of a
// co-simulation as verbs.
#pragma once

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fmi/fmi2.h"
#include "fmi/instance/log.h"
#include "tests/tools/test_bed.h"

/// Shows a status by its name.
void PrintTo(fmi2Status status, std::ostream* out);

/// The three kinds of messages that most functions send, as `events` gives them.
inline std::string trace(const std::string& text) { return message(fmi2OK, "logFmiCall", text); }
inline std::string refusal(const std::string& text) { return message(fmi2Error, "logError", text); }
inline std::string setUpError(const std::string& text) { return message(fmi2Error, "error", text); }

/// What an initialization says that fails, and one whose translator makes no model file.
inline std::string startError(const std::string& text) { return setUpError("fmi2EnterInitializationMode: " + text); }
inline const std::string notGenerated = startError("xml model not generated with fmu_batch call, wrong Environment "
                                                   "variable KORVAN_FMU_ROOT defined?");

using References = std::vector<fmi2ValueReference>;

/// The fixture. The test fails when at its end a message was not asked for by `events`, or something is left over.
class FmuTest : public testing::Test, protected TestBed {
protected:
    void TearDown() override;

    /// What the solver reports, as the access interface counts it.
    static constexpr int information = 0, warning = 1, error = 2, fatal = 3;

    // From instantiation to release. Statuses are handed on; `instantiate` and `start` end the test when they fail.
    fmi2Component tryToInstantiate(); ///< with the files as they are, and the members below; null when it fails
    void instantiate();               ///< makes the files anew first
    void start(); ///< from making the files to the first step, stop time 4; the events on the way are forgotten
    fmi2Status setUpExperiment(double stopTime) { return fmi2SetupExperiment(instance, 0, 0, 0, fmi2True, stopTime); }
    fmi2Status enterInitialization() { return fmi2EnterInitializationMode(instance); }
    fmi2Status exitInitialization() { return fmi2ExitInitializationMode(instance); }
    fmi2Status step(double time, double size) { return fmi2DoStep(instance, time, size, fmi2True); }
    fmi2Status terminate() { return fmi2Terminate(instance); }
    void release() { fmi2FreeInstance(instance); }

    // Values, by their references. Those that only take references return the values, and expect the call to succeed.
    fmi2Status setReals(const References& vr, const std::vector<fmi2Real>& values) {
        return fmi2SetReal(instance, vr.data(), vr.size(), values.data());
    }
    fmi2Status setIntegers(const References& vr, const std::vector<fmi2Integer>& values) {
        return fmi2SetInteger(instance, vr.data(), vr.size(), values.data());
    }
    fmi2Status setBooleans(const References& vr, const std::vector<fmi2Boolean>& values) {
        return fmi2SetBoolean(instance, vr.data(), vr.size(), values.data());
    }
    fmi2Status setStrings(const References& vr, const std::vector<fmi2String>& values) {
        return fmi2SetString(instance, vr.data(), vr.size(), values.data());
    }
    std::vector<fmi2Real> reals(const References& vr) { return values<fmi2Real>(fmi2GetReal, vr); }
    std::vector<fmi2Integer> integers(const References& vr) { return values<fmi2Integer>(fmi2GetInteger, vr); }
    std::vector<fmi2Boolean> booleans(const References& vr) { return values<fmi2Boolean>(fmi2GetBoolean, vr); }
    std::vector<fmi2String> strings(const References& vr) { return values<fmi2String>(fmi2GetString, vr); }

    /// Messages and the solver's calls since the last time, in their order (see `message` and `SolverScript`).
    std::vector<std::string> events() { return master.takeEvents(); }

    FmuInstance& record() { return *static_cast<FmuInstance*>(instance); }
    bool isReleased() const { return !master.isAlive(instance); }

    /// Switches the traces of calls on or off, without a call.
    void traceCalls(fmi2Boolean on) { record().logCategories[logFmiCall] = on; }

    fmi2Type type = fmi2CoSimulation;
    fmi2Boolean loggingOn = fmi2True;
    fmi2Component instance = nullptr;

private:
    void require(bool succeeded, const std::string& call);

    template <typename Value, typename Function>
    std::vector<Value> values(Function function, const References& vr) {
        std::vector<Value> all(vr.size());
        EXPECT_EQ(function(instance, vr.data(), vr.size(), all.data()), fmi2OK);
        return all;
    }
};
