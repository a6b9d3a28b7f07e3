// Which function may be called in which state, and what is left of a handle after a failed start. What a call does that
// is accepted, or refused for its arguments, is held by the random caller.
#include <cstring>

#include "tests/tools/fmu_test.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using C = fmi2Component;

/// A function, the sum of the states that accept it, and a call.
const struct Row {
    const char* name;
    std::uint32_t mask;
    fmi2Status (*call)(C);
} rows[] = {
    {"fmi2SetupExperiment", 2, [](C c) { return fmi2SetupExperiment(c, 1, 1e-6, 0, 1, 9); }},
    {"fmi2EnterInitializationMode", 2, fmi2EnterInitializationMode},
    {"fmi2ExitInitializationMode", 4, fmi2ExitInitializationMode},
    {"fmi2Terminate", 184, fmi2Terminate},
    {"fmi2Reset", 1982, fmi2Reset},
    {"fmi2FreeInstance", 1982, [](C c) { return fmi2FreeInstance(c), fmi2Error; }},
    {"fmi2SetDebugLogging", 2046, [](C c) { return fmi2SetDebugLogging(c, 0, 0, nullptr); }},
    {"fmi2GetReal", 1980, [](C c) { return fmi2GetReal(c, nullptr, 0, nullptr); }},
    {"fmi2GetInteger", 1980, [](C c) { return fmi2GetInteger(c, nullptr, 0, nullptr); }},
    {"fmi2GetBoolean", 1980, [](C c) { return fmi2GetBoolean(c, nullptr, 0, nullptr); }},
    {"fmi2GetString", 1980, [](C c) { return fmi2GetString(c, nullptr, 0, nullptr); }},
    {"fmi2SetReal", 62, [](C c) { return fmi2SetReal(c, nullptr, 0, nullptr); }},
    {"fmi2SetInteger", 46, [](C c) { return fmi2SetInteger(c, nullptr, 0, nullptr); }},
    {"fmi2SetBoolean", 46, [](C c) { return fmi2SetBoolean(c, nullptr, 0, nullptr); }},
    {"fmi2SetString", 46, [](C c) { return fmi2SetString(c, nullptr, 0, nullptr); }},
    {"fmi2SetRealInputDerivatives", 38,
     [](C c) { return fmi2SetRealInputDerivatives(c, nullptr, 0, nullptr, nullptr); }},
    {"fmi2DoStep", 32, [](C c) { return fmi2DoStep(c, 0, 1, 1); }},
    {"fmi2CancelStep", 64, fmi2CancelStep},
    {"fmi2GetStatus", 736, [](C c) { return fmi2GetStatus(c, fmi2DoStepStatus, nullptr); }},
    {"fmi2GetRealStatus", 736, [](C c) { return fmi2GetRealStatus(c, fmi2DoStepStatus, nullptr); }},
    {"fmi2GetIntegerStatus", 736, [](C c) { return fmi2GetIntegerStatus(c, fmi2DoStepStatus, nullptr); }},
    {"fmi2GetBooleanStatus", 736, [](C c) { return fmi2GetBooleanStatus(c, fmi2DoStepStatus, nullptr); }},
    {"fmi2GetStringStatus", 736, [](C c) { return fmi2GetStringStatus(c, fmi2DoStepStatus, nullptr); }},
    {"fmi2GetFMUstate", 1982, [](C c) { return fmi2GetFMUstate(c, nullptr); }},
    {"fmi2SetFMUstate", 1982, [](C c) { return fmi2SetFMUstate(c, nullptr); }},
    {"fmi2FreeFMUstate", 1982, [](C c) { return fmi2FreeFMUstate(c, nullptr); }},
    {"fmi2SerializedFMUstateSize", 1982, [](C c) { return fmi2SerializedFMUstateSize(c, nullptr, nullptr); }},
    {"fmi2SerializeFMUstate", 1982, [](C c) { return fmi2SerializeFMUstate(c, nullptr, nullptr, 0); }},
    {"fmi2DeSerializeFMUstate", 1982, [](C c) { return fmi2DeSerializeFMUstate(c, nullptr, 0, nullptr); }},
    {"fmi2GetDirectionalDerivative", 1980,
     [](C c) { return fmi2GetDirectionalDerivative(c, nullptr, 0, nullptr, 0, nullptr, nullptr); }},
};

class CallRules : public FmuTest {
protected:
    void expectRefused(const Row& row) {
        FmuInstance before = record();
        master.takeMemoryCalls();
        EXPECT_EQ(row.call(instance), fmi2Error);
        EXPECT_THAT(events(), ElementsAre(refusal(row.name + std::string(": Illegal call sequence."))));
        before.state = stateError;
        EXPECT_EQ(std::memcmp(&before, instance, sizeof before), 0) << "more than the state has changed";
        EXPECT_THAT(master.takeMemoryCalls(), IsEmpty());
    }

    /// Every call must fail without a message or an effect.
    void expectDead(fmi2Component handle) {
        for (const Row& row : rows) EXPECT_EQ(row.call(handle), fmi2Error) << row.name;
        EXPECT_EQ(fmi2GetRealOutputDerivatives(handle, nullptr, 0, nullptr, nullptr), fmi2Error);
        EXPECT_THAT(events(), IsEmpty());
    }
};

} // namespace

TEST_F(CallRules, EveryFunctionIsAcceptedInTheStatesOfItsMaskAndRefusedInAllOthers) {
    instantiate();
    fs::remove(files.fmu / "modelDescription.xml"); // so that initialization ends early
    for (const Row& row : rows)
        for (std::uint32_t state = stateStartAndEnd; state <= stateFatal; state *= 2) {
            SCOPED_TRACE(row.name + std::string(" in state ") + std::to_string(state));
            if (isReleased()) tryToInstantiate();
            record().state = state;
            if ((row.mask & state) == 0) {
                expectRefused(row);
            } else {
                row.call(instance);
                EXPECT_THAT(events(), testing::Not(testing::Contains(testing::HasSubstr("Illegal call sequence"))));
            }
        }
}

TEST_F(CallRules, AHandleReleasedByAFailedStartIsNeverTouchedUntilItsAddressIsAnInstanceAgain) {
    expectDead(nullptr);
    instantiate();
    const fmi2Component released = instance;
    solver.during(Entry::start).raise(Thrown::number);
    EXPECT_EQ(enterInitialization(), fmi2Error);
    EXPECT_THAT(events(), ElementsAre("start"));
    expectDead(released);

    root.unset();
    EXPECT_EQ(tryToInstantiate(), nullptr) << "it had its record at the address";
    EXPECT_EQ(events().size(), 1U);
    expectDead(released);
    root.set(files.root);
    EXPECT_EQ(tryToInstantiate(), released);
    EXPECT_EQ(setReals({1}, {0.5}), fmi2OK);
}

TEST_F(CallRules, VersionAndPlatformAreConstants) {
    EXPECT_STREQ(fmi2GetVersion(), "2.0");
    EXPECT_STREQ(fmi2GetTypesPlatform(), "default");
}
