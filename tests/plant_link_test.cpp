// The calls into the solver, on an access object whose entry points are the test's own.
#include "plant/plant_link.h"

#include <stdexcept>

#include <gtest/gtest.h>

namespace {

class PlantLink : public testing::Test {
protected:
    PlantLink() { record.plant = access; }

    FmuInstance record{};
    TScicosAccessFnc2* access = new TScicosAccessFnc2; ///< the plant link's, which destroys it with the run
};

} // namespace

TEST_F(PlantLink, EveryFlagButZeroReachesTheSolverAsOne) {
    static int seen;
    access->blkDepositPlantInput = [](void*, int flag, TScicosAccessFnc2*, double) { seen = flag; };
    EXPECT_EQ(TSplant_DepositPlantInput(&record, access, 7, 0.5), 0);
    EXPECT_EQ(seen, 1);
    EXPECT_EQ(TSplant_DepositPlantInput(&record, access, 0, 0.5), 0);
    EXPECT_EQ(seen, 0);
    delete access;
}

TEST_F(PlantLink, TheEndOfARunWithoutALoadedLibraryCallsNothingAndSucceeds) {
    access->blkTerminate = [](void*, TScicosAccessFnc2*, double) { throw std::runtime_error("called"); };
    EXPECT_EQ(TSplant_Terminate(&record, access, 1), 0);
    EXPECT_EQ(record.plant, nullptr);
}

TEST_F(PlantLink, AFailedCallEndsTheRunAndLeavesAnotherOneOfTheInstanceAlone) {
    access->blkRequestPlantOutput = [](void*, TScicosAccessFnc2*, double) { throw 7; };
    int another = 0;
    record.plant = &another;
    EXPECT_EQ(TSplant_RequestPlantOutput(&record, access, 1), -1);
    EXPECT_EQ(record.plant, &another);
}
