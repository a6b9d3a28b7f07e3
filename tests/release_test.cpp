// fmi2Reset and fmi2FreeInstance. When the solver's run gets its last inputs and ends is held by the random caller.
#include "tests/tools/fmu_test.h"

using testing::ElementsAre;

using Release = FmuTest;

TEST_F(Release, GivesTheMemoryBackInAFixedOrder) {
    start();
    setStrings({0, 2}, {"a", "b"});
    const FmuInstance own = record();
    const auto due =
        ElementsAre(own.booleanValues, own.integerValues, own.stringValues[0], own.stringValues[2], own.stringValues,
                    own.instanceName, own.modelFilePath, own.resultFileName, own.subdllFilePath, own.ipAddress,
                    own.guid, own.inputPortSize, own.outputPortSize, own.inputPortValues, own.outputPortValues,
                    own.outputPortDots, own.outputPortDotDots, own.realValues, instance);
    master.takeMemoryCalls();
    release();
    EXPECT_THAT(master.freed(), due);
}

TEST_F(Release, AResetKeepsValuesAndTheRunningSolverAndTheNextInitializationStartsAnother) {
    start();
    setReals({2}, {0.5});
    void* former = record().plant;
    record().state = stateError;
    EXPECT_EQ(fmi2Reset(instance), fmi2OK);
    EXPECT_EQ(record().state, stateInstantiated);
    EXPECT_EQ(record().plant, former);
    EXPECT_EQ(record().realValues[2], 0.5);
    enterInitialization();
    exitInitialization();
    EXPECT_NE(record().plant, former);
    std::swap(record().plant, former);
    EXPECT_EQ(step(1, 1), fmi2OK) << "the former run goes on";
    solver.during(Entry::deposit).report(5, "");
    EXPECT_EQ(step(2, 1), fmi2Error) << "and ends by itself";
    record().plant = former;
    release();
    EXPECT_THAT(events(), ElementsAre("start", "deposit at 1: 0 0 0", "request at 2", "deposit at 2: 0 0 0",
                                      "terminate at 2", testing::StartsWith("error [logAll]"), "terminate at 2"));
}
