// A whole co-simulation as different masters make it. Their orders of calls are among those of the random caller.
#include <thread>

#include "tests/tools/fmu_test.h"

using testing::ElementsAre;

namespace {

class Masters : public FmuTest {
protected:
    /// Runs a co-simulation with the location of the resources; set-up, steps and end each on a thread of its own.
    void simulateAt(const std::string& location) {
        SCOPED_TRACE(location);
        files.location = location;
        std::thread([this] {
            instantiate();
            EXPECT_EQ(setReals({2}, {0.5}), fmi2OK);
            EXPECT_EQ(fmi2SetupExperiment(instance, 1, 1e-4, 0, 0, 0), fmi2OK);
            EXPECT_EQ(enterInitialization(), fmi2OK);
            EXPECT_EQ(contentOf(files.resources / "Model.csv"), "r2, 0.500000\n");
            EXPECT_EQ(setReals({0, 1}, {1, 2}), fmi2OK);
            EXPECT_EQ(exitInitialization(), fmi2OK);
        }).join();
        std::thread([this] {
            EXPECT_THAT(reals({0, 1, 2, 3, 18}), ElementsAre(1, 2, 0, 0, 0));
            EXPECT_EQ(step(0, 0.5), fmi2OK);
        }).join();
        std::thread([this] {
            EXPECT_EQ(terminate(), fmi2OK);
            release();
        }).join();
        EXPECT_THAT(events(), ElementsAre("start", "deposit at 0: 1 2 0", "request at 0.5", "deposit at 0: 1 2 0",
                                          "terminate at 0.5"));
    }
};

} // namespace

TEST_F(Masters, NameTheResourcesInDifferentWaysAndCallFromDifferentThreads) {
    const std::string folder = files.folder.path;
    fs::create_directory_symlink(files.fmu, folder + "/plain"); // a name that needs no encoding
    simulateAt("file://" + folder + "/unit%20%C3%BC/resources");
    simulateAt("FILE://" + folder + "/unit%20%C3%BC/resources/");
    simulateAt("file:///" + folder + "/plain/resources");
    simulateAt(folder + "/plain/resources/");
}
