// fmi2DoStep, fmi2CancelStep and fmi2GetRealOutputDerivatives. What the solver receives and returns in a step is held
// by the random caller.
#include "tests/tools/fmu_test.h"

using testing::ElementsAre;

namespace {

class Stepping : public FmuTest {
protected:
    static std::string unableTo(const std::string& what) {
        return message(fmi2Error, "logAll", "Problem in cosimulation, unable to " + what + ".");
    }

    /// The derivatives, and 7 where none was given.
    std::vector<double> derivatives(const References& vr, const std::vector<fmi2Integer>& orders, fmi2Status due) {
        std::vector<double> values(vr.size(), 7);
        EXPECT_EQ(fmi2GetRealOutputDerivatives(instance, vr.data(), vr.size(), orders.data(), values.data()), due);
        return values;
    }
};

} // namespace

TEST_F(Stepping, AStepSizeOfZeroOrLessIsRefused) {
    start();
    EXPECT_EQ(step(1, 0), fmi2Error);
    EXPECT_EQ(record().state, stateError);
    record().state = stateStepComplete;
    EXPECT_EQ(step(1, -0.25), fmi2Error);
    EXPECT_THAT(events(), ElementsAre(refusal("fmi2DoStep: communication step size must be > 0. Fount 0."),
                                      refusal("fmi2DoStep: communication step size must be > 0. Fount -0.25.")));
}

TEST_F(Stepping, AReportOfAnErrorInADepositEndsTheRunAndLeavesTheState) {
    start();
    solver.during(Entry::deposit).report(error, "singular");
    EXPECT_EQ(step(1.5, 0.5), fmi2Error);
    EXPECT_EQ(record().state, stateStepComplete);
    EXPECT_EQ(record().plant, nullptr);
    EXPECT_EQ(step(2, 0.5), fmi2Error) << "there is no run any more";
    EXPECT_THAT(events(), ElementsAre("deposit at 1.5: 0 0 0", message(fmi2Error, "log", "singular"), "terminate at 0",
                                      unableTo("deposite plant input at communication point=1.5"),
                                      unableTo("deposite plant input at communication point=2")));
}

TEST_F(Stepping, AReportOfAnErrorInARequestEndsTheRunAndFailsTheStep) {
    start();
    solver.during(Entry::request).report(error, "singular");
    EXPECT_EQ(step(1.5, 0.5), fmi2Error);
    EXPECT_EQ(record().state, stateStepFailed);
    EXPECT_EQ(record().plant, nullptr);
    EXPECT_THAT(events(), ElementsAre("deposit at 1.5: 0 0 0", "request at 2", message(fmi2Error, "log", "singular"),
                                      "terminate at 0", unableTo("request plant output at communication point=1.5")));
}

TEST_F(Stepping, NoStepIsEverInProgressSoThatNoneCanBeCancelled) {
    start();
    record().state = stateStepInProgress;
    EXPECT_EQ(fmi2CancelStep(instance), fmi2Error);
    EXPECT_THAT(events(), ElementsAre(refusal("fmi2CancelStep: Can be called when fmi2DoStep returned fmi2Pending. "
                                              "This is not the case.")));
}

TEST_F(Stepping, OutputDerivativesLieAtTheDistanceOfTheFirstPortByTheFirstOrderInEveryState) {
    start();
    step(0, 0.5);
    events();
    record().state = stateFatal;
    EXPECT_THAT(derivatives({3, 4}, {1, 7}, fmi2OK), ElementsAre(100.5, 101.5));
    EXPECT_THAT(derivatives({3, 4}, {2, 1}, fmi2OK), ElementsAre(200.5, 201.5));
    EXPECT_THAT(derivatives({9, 11}, {1, 1}, fmi2OK), ElementsAre(12.5, 111.5)) << "the second port is wider";
    EXPECT_THAT(derivatives({3, 17}, {1, 1}, fmi2Error), ElementsAre(100.5, 7));
    EXPECT_THAT(events(), ElementsAre(refusal("fmi2GetRealOutputDerivatives: Value reference 17 has no derivative.")));
}

TEST_F(Stepping, AnErrorReportedBetweenCallsEndsTheRunAtTheNextQuestionForDerivatives) {
    for (const References& vr : {References{3}, References{}}) {
        start();
        TScicosAccessAPI2* access = nullptr;
        solver.during(Entry::request).run([&](void*, TScicosAccessAPI2& object) { access = &object; });
        step(0, 0.5);
        access->MessageHandler(instance, "late", error);
        EXPECT_EQ(derivatives(vr, {1}, fmi2OK), std::vector<double>(vr.size(), 100.5));
        EXPECT_EQ(record().plant, nullptr);
        EXPECT_THAT(events(), ElementsAre("deposit at 0: 0 0 0", "request at 0.5", message(fmi2Error, "log", "late"),
                                          "terminate at 0.5"));
        EXPECT_EQ(fmi2GetRealOutputDerivatives(instance, nullptr, 0, nullptr, nullptr), fmi2OK);
        release();
    }
}
