// fmi2SetupExperiment, fmi2EnterInitializationMode and fmi2ExitInitializationMode. What becomes of the model file is in
// model_generation_test.cpp.
#include <cstring>

#include "tests/tools/fmu_test.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Initialization : public FmuTest {
protected:
    /// The events of an initialization, which must fail and leave the instance.
    std::vector<std::string> refused() {
        EXPECT_EQ(enterInitialization(), fmi2Error);
        return events();
    }
};

} // namespace

TEST_F(Initialization, TheResultFileIsTheMastersOrTheParametersOrTheDefault) {
    const std::string here = files.location + "/";
    const struct {
        fmi2String set;
        std::string ofParameters, result;
    } rows[] = {{nullptr, "", here + "fmu.mrf"},       {nullptr, "f.res", here + "f.res"},
                {nullptr, "d/f.res", "d/f.res"},       {"run1", "f.res", here + "run1.mrf"},
                {"d\\run1", "", "d\\run1.mrf"},        {"out/run1.mrf", "", "out/run1.mrf"},
                {"r.mrf.txt", "", here + "r.mrf.txt"}, {"", "", here + ".mrf"}};
    for (const auto& row : rows) {
        files.parameters.outputName = row.ofParameters;
        instantiate();
        setStrings({0}, {row.set});
        EXPECT_EQ(enterInitialization(), fmi2OK);
        EXPECT_EQ(record().resultFileName, row.result);
        release();
    }
    files.parameters.nString = "0";
    instantiate();
    EXPECT_EQ(enterInitialization(), fmi2OK);
    EXPECT_EQ(record().resultFileName, here + "fmu.mrf") << "without string variables";
}

TEST_F(Initialization, WithoutMemoryForTheResultFilesNameIsRefused) {
    master.failAllocation(13);
    instantiate();
    EXPECT_THAT(refused(), ElementsAre(startError("Unable allocating memory.")));
}

TEST_F(Initialization, PortsOutsideOfTheRealsAreRefusedBeforeAnythingIsDone) {
    using Lines = ParameterLines;
    const struct {
        std::string Lines::*line;
        const char* value;
        std::string port; ///< empty: accepted
    } rows[] = {{&Lines::inputPortOffset, "18\t0", "Input port 0"},
                {&Lines::inputPortOffset, "0\t-1", "Input port 1"},
                {&Lines::inputPortOffset, "0\t19", "Input port 1"},
                {&Lines::inputPortOffset, "0\t2147483647", "Input port 1"},
                {&Lines::inputPortWidth, "2\t-1", "Input port 1"},
                {&Lines::outputPortOffset, "3\t17", "Output port 1"},
                {&Lines::outputPortOffset, "18\t9", "Output port 0"},
                {&Lines::outputPortWidth, "2\t2147483647", "Output port 1"},
                {&Lines::inputPortOffset, "17\t18", ""},
                {&Lines::outputPortOffset, "3\t10", ""},
                {&Lines::inputPortWidth, "2\t0", ""}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.port + ": " + row.value);
        files.parameters = Lines();
        files.parameters.*row.line = row.value;
        instantiate();
        if (row.port.empty()) {
            EXPECT_EQ(enterInitialization(), fmi2OK);
        } else {
            EXPECT_THAT(refused(),
                        ElementsAre(startError(row.port + " of fmu2ts.par lies outside of the 19 real variables.")));
            EXPECT_THAT(files.added(), IsEmpty());
        }
        release();
    }
}

TEST_F(Initialization, TheDerivativesOfAPortAtTheEndHaveMemoryThoughTheyAreNotAmongTheReals) {
    files.parameters.outputPortOffset = "3\t16";
    instantiate();
    EXPECT_EQ(record().nReal, 19U);
    EXPECT_THAT(master.takeMemoryCalls(), testing::Contains("allocate 25 x 8"));
    EXPECT_EQ(enterInitialization(), fmi2OK);
    EXPECT_EQ(exitInitialization(), fmi2OK);
    EXPECT_EQ(step(0, 0.5), fmi2OK);
    EXPECT_THAT(reals({16, 18}), ElementsAre(10.5, 12.5));
    const References outputs{16, 17, 18};
    const std::vector<fmi2Integer> orders(3, 2);
    std::vector<double> values(3);
    EXPECT_EQ(fmi2GetRealOutputDerivatives(instance, outputs.data(), 3, orders.data(), values.data()), fmi2OK);
    EXPECT_THAT(values, ElementsAre(111.5, 112.5, 210.5)) << "at the distance of the first port, which is two wide";
}

TEST_F(Initialization, TheMastersMemoryNeedNotBeZeroed) {
    static const auto allocate = master.callbacks.allocateMemory;
    master.callbacks.allocateMemory = [](std::size_t count, std::size_t size) {
        void* block = allocate(count, size);
        return std::memset(block, 0xa5, count * size);
    };
    instantiate();
    EXPECT_EQ(enterInitialization(), fmi2OK);
    EXPECT_THAT(strings({0, 1, 2}), testing::Each(testing::IsNull()));
    release();
    files.parameters.inputPortOffset = "18\t0";
    instantiate();
    EXPECT_EQ(enterInitialization(), fmi2Error);
    EXPECT_THAT(events(), ElementsAre("start", "terminate at 0",
                                      startError("Input port 0 of fmu2ts.par lies outside "
                                                 "of the 19 real variables.")));
}
