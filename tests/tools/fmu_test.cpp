#include "tests/tools/fmu_test.h"

#include <algorithm>

void PrintTo(fmi2Status status, std::ostream* out) { *out << nameOf(status); }

void FmuTest::TearDown() {
    const std::vector<std::string> left = events();
    EXPECT_TRUE(std::none_of(left.begin(), left.end(), isMessage))
        << "a message that the test does not ask for: " << testing::PrintToString(left);
    master.failNoAllocation();
    solver.behave();
    if (instance != nullptr && !isReleased()) {
        record().state = stateInstantiated;
        release();
    }
    EXPECT_EQ(leftovers(), "");
    EXPECT_FALSE(isLoaded(SCRIPTED_SOLVERS)) << "the solver's library was not unloaded";
}

fmi2Component FmuTest::tryToInstantiate() {
    return instance = fmi2Instantiate(master.instanceName.c_str(), type, "{guid}", files.location.c_str(),
                                      &master.callbacks, fmi2False, loggingOn);
}

/// Ends the test, with what was said so far, when the co-simulation cannot go on.
void FmuTest::require(bool succeeded, const std::string& call) {
    if (!succeeded) throw std::runtime_error(call + " failed after " + testing::PrintToString(events()));
}

void FmuTest::instantiate() {
    files.make();
    require(tryToInstantiate() != nullptr, "fmi2Instantiate");
}

void FmuTest::start() {
    instantiate();
    require(setUpExperiment(4) == fmi2OK, "fmi2SetupExperiment");
    require(enterInitialization() == fmi2OK, "fmi2EnterInitializationMode");
    require(exitInitialization() == fmi2OK, "fmi2ExitInitializationMode");
    events();
}
