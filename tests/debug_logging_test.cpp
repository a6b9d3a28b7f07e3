// fmi2SetDebugLogging. Which messages a category switches is held by the random caller.
#include "tests/tools/fmu_test.h"

using testing::ElementsAre;

using DebugLogging = FmuTest;

TEST_F(DebugLogging, SwitchesTheNamedCategoriesAndReportsUnknownOnesToTheEnvironmentOfTheInstantiation) {
    instantiate();
    traceCalls(true);
    master.callbacks.componentEnvironment = nullptr;
    const fmi2String categories[] = {"logFmiCall", "logfmicall", "logEvent"};
    EXPECT_EQ(fmi2SetDebugLogging(instance, 5, 3, categories), fmi2OK);
    EXPECT_THAT(record().logCategories, ElementsAre(0, 0, 5, 5));
    EXPECT_EQ(record().loggingOn, 5);
    EXPECT_THAT(events(),
                ElementsAre(trace("fmi2SetDebugLogging") + " elsewhere",
                            message(fmi2Warning, "logError", "logging category 'logfmicall' is not supported by model"),
                            trace("fmi2SetDebugLogging") + " elsewhere"));
}
