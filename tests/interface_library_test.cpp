// Loading the solver's interface library, and the messages that come back from it. What its reports and exceptions do
// to a run, in every combination, is held by the random caller.
#include "plant/access_object.h"
#include "tests/tools/fmu_test.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class InterfaceLibrary : public FmuTest {
protected:
    /// The messages of a start that must fail, with this directory of the solver; `printed` is what the FMU prints.
    std::vector<std::string> failsFrom(const std::string& directoryOfSolver) {
        solverDirectory.unset();
        instantiate();
        solverDirectory.set(directoryOfSolver);
        testing::internal::CaptureStdout();
        EXPECT_EQ(enterInitialization(), fmi2Error);
        printed = testing::internal::GetCapturedStdout();
        EXPECT_TRUE(isReleased());
        EXPECT_FALSE(isLoaded(directoryOfSolver));
        return events();
    }

    static std::string logged(const std::string& text) { return message(fmi2Error, "log", "\nError: " + text + "\n"); }

    std::string printed;
    const std::string doesNotLoad = logged("Failed to load tscicos.dll");
};

} // namespace

TEST_F(InterfaceLibrary, WithoutADirectoryThereIsNothingToLoad) {
    instantiate();
    solverDirectory.unset();
    EXPECT_EQ(enterInitialization(), fmi2Error);
    EXPECT_THAT(events(), ElementsAre(logged("Environment var NUSOL_DLL_DIR undefined")));
}

TEST_F(InterfaceLibrary, AFileThatIsMissingOrIsNotALibraryIsReported) {
    EXPECT_THAT(failsFrom("/nowhere"), ElementsAre(doesNotLoad));
    EXPECT_THAT(printed, HasSubstr("Dynamic Library loading error: /nowhere/tscicos.so\n"));
    writeFile(files.folder.path / "text/tscicos.so", "not a library at all");
    EXPECT_THAT(failsFrom(files.folder.path / "text"), ElementsAre(doesNotLoad));
    EXPECT_THAT(failsFrom(SCRIPTED_SOLVERS "/needy"), ElementsAre(doesNotLoad)) << "needs a library that is missing";
}

TEST_F(InterfaceLibrary, TheFirstMissingEntryPointIsNamedAndTheLibraryUnloaded) {
    for (const std::string name : {"blkStart", "blkRequestPlantOutput", "blkDepositPlantInput", "blkTerminate"}) {
        EXPECT_THAT(failsFrom(SCRIPTED_SOLVERS "/" + name), ElementsAre(logged("Failed to load fcn " + name + ".")));
        EXPECT_THAT(printed, HasSubstr("Dynamic Library loading error: " + name + "\n"));
    }
    EXPECT_THAT(failsFrom(SCRIPTED_SOLVERS "/two"), ElementsAre(logged("Failed to load fcn blkRequestPlantOutput.")));
}

TEST_F(InterfaceLibrary, AHalfCopiedLibraryIsReportedAndNotMapped) {
    const fs::path copy = files.folder.path / "cut/tscicos.so";
    fs::create_directory(copy.parent_path());
    for (const std::uintmax_t size : {0U, 63U, 64U, 1000U, 8192U}) {
        SCOPED_TRACE(size);
        fs::copy_file(SCRIPTED_SOLVERS "/all/tscicos.so", copy, fs::copy_options::overwrite_existing);
        fs::resize_file(copy, size);
        std::vector<std::string> due{logged("The end of the file is missing: " + copy.string()), doesNotLoad};
        if (size < 1000) due.erase(due.begin()); // the loader refuses it by itself
        EXPECT_EQ(failsFrom(copy.parent_path()), due);
        EXPECT_THAT(printed, testing::MatchesRegex("-{46}\nDynamic Library loading error: " + copy.string() + "\n    " +
                                                   copy.string() + ": [a-z ]+\n-{46}\n"));
    }
}

TEST_F(InterfaceLibrary, TheErrorCodeIsTheLevelOfAReportBeyondTheKnownOnes) {
    static int code;
    start();
    solver.during(Entry::request).run([](void* handle, TScicosAccessAPI2& access) {
        access.MessageHandler(handle, "lost", 5);
        code = static_cast<TScicosAccessFnc2&>(access).getErrorCode();
    });
    EXPECT_EQ(step(0, 1), fmi2Error);
    EXPECT_EQ(code, 5);
    const std::string failure = "Problem in cosimulation, unable to request plant output at communication point=0.";
    EXPECT_THAT(events(), ElementsAre("deposit at 0: 0 0 0", "request at 1", "terminate at 0",
                                      message(fmi2Error, "logAll", failure)));
}

TEST_F(InterfaceLibrary, AMessageWithoutTextIsEmptyAndOneWithoutAnInstanceIsIgnored) {
    start();
    solver.during(Entry::deposit).run([](void* handle, TScicosAccessAPI2& access) {
        access.MessageHandler(handle, nullptr, warning);
        access.MessageHandler(nullptr, "without an instance", fatal);
    });
    EXPECT_EQ(step(0, 1), fmi2OK);
    EXPECT_THAT(events(), ElementsAre("deposit at 0: 0 0 0", message(fmi2Warning, "log", ""), "request at 1"));
}
