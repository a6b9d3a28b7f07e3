// The getters and setters. What they do in every state and for every bad argument is held by the random caller.
#include <sys/mman.h>

#include "fmi/fmu_callback2.h"
#include "tests/tools/fmu_test.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsNull;
using testing::StrEq;

namespace {

class Variables : public FmuTest {
protected:
    void SetUp() override {
        instantiate();
        record().state = stateStepComplete;
    }

    static constexpr fmi2ValueReference farAway = (1U << 31U) + 1;

    /// Makes calls with an array that is large enough for `farAway`; all of it but a page is never touched.
    template <typename Value, typename Calls>
    void withLargeArray(Value*& array, const Calls& calls) {
        constexpr std::size_t size = (farAway + std::size_t{1}) * sizeof(Value);
        void* space = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (space == MAP_FAILED) throw std::runtime_error("no addresses are left");
        Value* const own = std::exchange(array, static_cast<Value*>(space));
        calls();
        array = own;
        munmap(space, size);
    }
};

} // namespace

TEST_F(Variables, EveryValueIsTracedBeforeItIsStored) {
    traceCalls(true);
    std::vector<double> stored;
    master.whenLogged = [&](const std::string&) { stored.push_back(record().realValues[1]); };
    EXPECT_EQ(setReals({1, 0}, {0.1, -1e300}), fmi2OK);
    master.whenLogged = {};
    EXPECT_THAT(stored, ElementsAre(neverSetReal, neverSetReal, 0.1));
    EXPECT_THAT(reals({1}), ElementsAre(0.1));
    EXPECT_THAT(events(), ElementsAre(trace("fmi2SetReal: nvr = 2"), trace("fmi2SetReal: #r1# = 0.1"),
                                      trace("fmi2SetReal: #r0# = -1e+300"), trace("fmi2GetReal: #r1# = 0.1")));
}

TEST_F(Variables, AReferenceOfTwoToTheThirtyOneOrMoreIsUsedAsGivenAndTracedSignedBySetters) {
    traceCalls(true);
    withLargeArray(record().realValues, [this] {
        EXPECT_EQ(setReals({farAway}, {2.5}), fmi2OK);
        EXPECT_THAT(reals({farAway}), ElementsAre(2.5));
    });
    EXPECT_THAT(events(), ElementsAre(trace("fmi2SetReal: nvr = 1"), trace("fmi2SetReal: #r-2147483647# = 2.5"),
                                      trace("fmi2GetReal: #r2147483649# = 2.5")));
    withLargeArray(record().integerValues, [this] {
        EXPECT_EQ(setIntegers({farAway}, {-8}), fmi2OK);
        EXPECT_THAT(integers({farAway}), ElementsAre(-8));
    });
    EXPECT_THAT(events(), ElementsAre(trace("fmi2SetInteger: nvr = 1"), trace("fmi2SetInteger: #i-2147483647# = -8"),
                                      trace("fmi2GetInteger: #i2147483649# = -8")));
    withLargeArray(record().booleanValues, [this] {
        EXPECT_EQ(setBooleans({farAway}, {7}), fmi2OK);
        EXPECT_THAT(booleans({farAway}), ElementsAre(7));
    });
    EXPECT_THAT(events(), ElementsAre(trace("fmi2SetBoolean: nvr = 1"), trace("fmi2SetBoolean: #b-2147483647# = true"),
                                      trace("fmi2GetBoolean: #b2147483649# = true")));
    withLargeArray(record().stringValues, [this] {
        EXPECT_EQ(setStrings({farAway}, {"x"}), fmi2OK);
        EXPECT_THAT(strings({farAway}), ElementsAre(StrEq("x")));
        traceCalls(false);
        EXPECT_EQ(setStrings({farAway}, {nullptr}), fmi2OK);
    });
    EXPECT_THAT(events(), ElementsAre(trace("fmi2SetString: nvr = 1"), trace("fmi2SetString: #s-2147483647# = 'x'"),
                                      trace("fmi2GetString: #s2147483649# = 'x'")));
}

TEST_F(Variables, AStringsBufferIsReusedWhileItHoldsAStringThatIsAtLeastAsLong) {
    master.takeMemoryCalls();
    EXPECT_EQ(setStrings({1}, {"abc"}), fmi2OK);
    EXPECT_EQ(setStrings({1}, {"xy"}), fmi2OK);
    EXPECT_THAT(master.takeMemoryCalls(), ElementsAre("allocate 4 x 1"));
    EXPECT_EQ(setStrings({1}, {"abc"}), fmi2OK);
    EXPECT_THAT(master.takeMemoryCalls(), ElementsAre("free 4 x 1", "allocate 4 x 1"));
    EXPECT_EQ(setString(instance, 1, ""), fmi2OK);
    EXPECT_THAT(strings({1}), ElementsAre(StrEq("")));
    EXPECT_EQ(setStrings({1}, {"a"}), fmi2OK);
    EXPECT_THAT(master.takeMemoryCalls(), ElementsAre("free 4 x 1", "allocate 2 x 1"));
}

TEST_F(Variables, AStringThatCannotBeStoredIsGoneAndThoseAfterItStay) {
    setStrings({0, 1, 2}, {"old", "old", "old"});
    master.failAllocation(1);
    EXPECT_EQ(setStrings({2, 1, 0}, {"new", "longer", "new"}), fmi2Error);
    EXPECT_EQ(record().state, stateError);
    EXPECT_THAT(strings({0, 1, 2}), ElementsAre(StrEq("old"), IsNull(), StrEq("new")));
    EXPECT_THAT(events(), ElementsAre(refusal("fmi2SetString: Out of memory.")));
}

TEST_F(Variables, WithoutAVariableOfTheTypeAGetterAcceptsEveryCall) {
    release();
    files.parameters.nReal = files.parameters.nInteger = files.parameters.nBoolean = files.parameters.nString = "0";
    instantiate();
    record().state = stateFatal;
    EXPECT_EQ(fmi2GetReal(instance, nullptr, 9, nullptr), fmi2OK);
    EXPECT_EQ(fmi2GetInteger(instance, nullptr, 9, nullptr), fmi2OK);
    EXPECT_EQ(fmi2GetBoolean(instance, nullptr, 9, nullptr), fmi2OK);
    EXPECT_EQ(fmi2GetString(instance, nullptr, 9, nullptr), fmi2OK);
    EXPECT_THAT(events(), IsEmpty());
}
