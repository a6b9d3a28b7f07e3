// The next run after a reset: it starts from the model's own values, but for those that are set again.
#include <cstdlib>

#include <dlfcn.h>

#include "tests/tools/fmu_test.h"

namespace {

class Reset : public FmuTest {
protected:
    /// Resets, and ends the former run, which would go on.
    void resetAndEndTheRun() {
        solver.during(Entry::deposit).raise(Thrown::number);
        terminate();
        solver.behave();
        EXPECT_EQ(record().plant, nullptr);
        EXPECT_EQ(fmi2Reset(instance), fmi2OK);
    }

    /// Starts a solver that removes the model file; the lines that its translator received.
    std::string linesOfAStart() {
        solver.during(Entry::start).run([&](void*, TScicosAccessAPI2&) { fs::remove(files.resources / "Model.xml"); });
        EXPECT_EQ(enterInitialization(), fmi2OK);
        return contentOf(files.resources / "Model.csv");
    }
};

} // namespace

TEST_F(Reset, OnlyWhatIsSetAfterItReachesTheTranslator) {
    instantiate();
    setReals({0, 1}, {1, 2});
    setIntegers({0, 1}, {3, 4});
    setStrings({0, 1}, {"result", "a"});
    EXPECT_EQ(linesOfAStart(), "r0, 1.000000\nr1, 2.000000\ni0, 3\ni1, 4\ns1, a\n");
    exitInitialization();
    setReals({2}, {5});
    step(0, 1);
    resetAndEndTheRun();
    setReals({18, 1}, {0, 2});
    setIntegers({1}, {-99999});
    setBooleans({1}, {7});
    setStrings({2, 1}, {"b", nullptr});
    EXPECT_EQ(linesOfAStart(), "r1, 2.000000\nr18, 0.000000\nb1, 7\ns2, b\n");
    exitInitialization();
    resetAndEndTheRun();
    EXPECT_EQ(linesOfAStart(), "");
    EXPECT_EQ(record().resultFileName, files.location + "/result.mrf") << "strings are kept";
    events();
}

TEST_F(Reset, CountsBeforeTheFirstStartAndNoteIsTakenUntilOneSucceeds) {
    instantiate();
    setReals({0, 1}, {1, 2});
    EXPECT_EQ(fmi2Reset(instance), fmi2OK);
    setReals({1}, {2});
    fs::rename(files.resources / "Model.mdl", files.resources / "away");
    EXPECT_EQ(enterInitialization(), fmi2Error);
    setReals({2}, {3});
    fs::rename(files.resources / "away", files.resources / "Model.mdl");
    EXPECT_EQ(linesOfAStart(), "r1, 2.000000\nr2, 3.000000\n");
}

TEST_F(Reset, AnInstanceMayBeReleasedWhenTheProcessEnds) {
    files.make();
    const auto endTheProcess = [this] {
        static struct AtExit {
            ~AtExit() { release(instance); } // after the objects of the library, which is loaded later
            decltype(&fmi2FreeInstance) release = nullptr;
            fmi2Component instance = nullptr;
        } atExit;
        const fs::path copy = files.folder.path / "copy.so"; // the tests' own is loaded before all of their objects
        fs::copy(TESSARO_LIBRARY, copy);
        void* library = dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
        const auto instantiateCopy = reinterpret_cast<decltype(&fmi2Instantiate)>(dlsym(library, "fmi2Instantiate"));
        const auto resetCopy = reinterpret_cast<decltype(&fmi2Reset)>(dlsym(library, "fmi2Reset"));
        atExit.release = reinterpret_cast<decltype(&fmi2FreeInstance)>(dlsym(library, "fmi2FreeInstance"));
        atExit.instance = instantiateCopy("unit", type, "g", files.location.c_str(), &master.callbacks, 0, loggingOn);
        std::exit(resetCopy(atExit.instance) == fmi2OK ? 0 : 1);
    };
    EXPECT_EXIT(endTheProcess(), testing::ExitedWithCode(0), "");
}
