// fmi2Instantiate: its arguments, the parameter files, the record, memory that fails.
#include <dlfcn.h>

#include "tests/tools/fmu_test.h"

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Instantiate : public FmuTest {
protected:
    /// The events of an instantiation that must be refused.
    std::vector<std::string> refused(fmi2String name, fmi2String guid, fmi2String location) {
        EXPECT_EQ(fmi2Instantiate(name, type, guid, location, &master.callbacks, 0, loggingOn), nullptr);
        return events();
    }

    /// The events of an instantiation, which must fail, with these lines in fmu2ts.par.
    std::vector<std::string> refusedWith(const ParameterLines& lines) {
        files.parameters = lines;
        files.make();
        EXPECT_EQ(tryToInstantiate(), nullptr);
        return events();
    }
};

} // namespace

TEST_F(Instantiate, ArgumentsAreCheckedInTheirOrderWithoutAskingForMemory) {
    loggingOn = fmi2False; // such failures are reported all the same
    root.unset();
    const fmi2CallbackFunctions whole = master.callbacks;
    master.callbacks.freeMemory = nullptr;
    EXPECT_THAT(refused(nullptr, nullptr, nullptr),
                ElementsAre(setUpError("fmi2Instantiate: Missing callback function. for (null)")));
    master.callbacks = {whole.logger, nullptr, whole.freeMemory, nullptr, nullptr};
    EXPECT_THAT(refused("unit", "", nullptr),
                ElementsAre(setUpError("fmi2Instantiate: Missing callback function. elsewhere")));
    master.callbacks = whole;
    for (const char* name : {"", static_cast<const char*>(nullptr)})
        EXPECT_THAT(refused(name, nullptr, nullptr),
                    ElementsAre(setUpError("fmi2Instantiate: Missing instance name. for ?")));
    for (const char* guid : {"", static_cast<const char*>(nullptr)})
        EXPECT_THAT(refused("n", guid, nullptr), ElementsAre(setUpError("fmi2Instantiate: Missing GUID. for n")));
    EXPECT_THAT(refused("unit", "g", nullptr), ElementsAre(setUpError("fmi2Instantiate: Missing resource location.")));
    EXPECT_THAT(refused("unit", "g", std::string(1024, 'x').c_str()),
                ElementsAre(setUpError("fmi2Instantiate: Resource location is too long.")));
    EXPECT_EQ(master.nAllocations(), 0U);
    EXPECT_EQ(fmi2Instantiate("unit", type, "g", "x", nullptr, 0, 1), nullptr);
    master.callbacks.logger = nullptr;
    EXPECT_THAT(refused("unit", "g", "x"), IsEmpty());
}

TEST_F(Instantiate, CountsThatNoInstanceCanHaveAreReported) {
    using Lines = ParameterLines;
    const std::string path = files.resources / "fmu2ts.par";
    const struct {
        std::string Lines::*line;
        int value;
        std::string what;
    } rows[] = {{&Lines::nInputPorts, -1, "input ports"},    {&Lines::nInputPorts, 9, "input ports"},
                {&Lines::nOutputPorts, 9, "output ports"},   {&Lines::nReal, -2, "real variables"},
                {&Lines::nInteger, -2, "integer variables"}, {&Lines::nBoolean, -2, "boolean variables"},
                {&Lines::nString, -3, "string variables"}};
    for (const auto& row : rows) {
        const std::string number = std::to_string(row.value);
        Lines lines;
        lines.*row.line = number + " of them";
        EXPECT_THAT(refusedWith(lines), ElementsAre(setUpError("fmi2Instantiate: Illegal number of " + row.what +
                                                               " in parameter file [" + path + "]: " + number + ".")));
    }
    loggingOn = fmi2False;
    EXPECT_THAT(refusedWith(files.parameters), IsEmpty());
}

TEST_F(Instantiate, MissingParametersOrAPathAreReported) {
    EXPECT_EQ(tryToInstantiate(), nullptr);
    files.location = "file://host";
    EXPECT_EQ(tryToInstantiate(), nullptr);
    EXPECT_THAT(events(), ElementsAre(setUpError("fmi2Instantiate: Unable to read parameter file [" +
                                                 (files.resources / "fmu2ts.par").string() + "]."),
                                      setUpError("fmi2Instantiate: Resource location [file://host] has no path.")));
}

TEST_F(Instantiate, TheRecordHoldsWhatTheParameterFilesSay) {
    type = fmi2ModelExchange;
    instantiate();
    EXPECT_STREQ(record().instanceName, "unit");
    EXPECT_STREQ(record().guid, "{guid}");
    EXPECT_STREQ(record().modelFilePath, (files.location + "/Model.xml").c_str());
    EXPECT_STREQ(record().subdllFilePath, (files.location + "/sub.so").c_str());
    EXPECT_STREQ(record().ipAddress, "1.2.3.4");
    EXPECT_EQ(record().functions, &master.callbacks);
    EXPECT_EQ(record().componentEnvironment, &master);
    EXPECT_EQ(record().fmuType, fmi2ModelExchange);
    EXPECT_EQ(record().loggingOn, fmi2True);
    EXPECT_EQ(record().plant, nullptr);
    EXPECT_THAT(record().logCategories, Each(0));
}

TEST_F(Instantiate, AllMemoryIsTheMastersInTheOrderAndSizeItKnows) {
    instantiate();
    const std::string model = std::to_string(files.location.size() + 50 + 9) + " x 1",
                      library = std::to_string(files.location.size() + 50 + 6) + " x 1";
    EXPECT_THAT(master.takeMemoryCalls(),
                ElementsAre("allocate 1 x 280", "allocate 5 x 1", "allocate 2 x 4", "allocate 2 x 8", "allocate 2 x 8",
                            "allocate 2 x 8", "allocate 2 x 8", "allocate 2 x 4", "allocate 19 x 8", "allocate 2 x 4",
                            "allocate 2 x 4", "allocate 3 x 8", "allocate 1024 x 1", "allocate 7 x 1",
                            "allocate " + model, "allocate " + library, "allocate 8 x 1"));
}

TEST_F(Instantiate, AnFmuOfNothingNeedsNoArraysAndHasEmptyNames) {
    files.parameters = {"", "", "", "0", "0", "0", "0", "0", "0", "", "", "", "", "", "", "", ""};
    instantiate();
    EXPECT_THAT(master.takeMemoryCalls(),
                ElementsAre("allocate 1 x 280", "allocate 5 x 1", "allocate 1024 x 1", "allocate 7 x 1",
                            "allocate 1 x 1", "allocate 1 x 1", "allocate 1 x 1"));
    for (const char* name : {record().modelFilePath, record().subdllFilePath, record().ipAddress})
        EXPECT_STREQ(name, "");
}

TEST_F(Instantiate, AFailingAllocationIsReported) {
    files.make();
    for (std::size_t n = 1; n <= 17; ++n) {
        const bool needed = n != 13 && n != 14; // the names of the result file and the GUID are not needed here
        master.failAllocation(n);
        EXPECT_EQ(tryToInstantiate() == nullptr, needed) << n;
        EXPECT_EQ(events(), std::vector(needed, setUpError("fmi2Instantiate: Unable allocating memory."))) << n;
        if (!needed) release();
    }
}

TEST_F(Instantiate, CopiesOfTheLibraryKeepTheirOwnParametersWhenTheirSymbolsAreGlobal) {
    std::vector<std::pair<void*, fmi2Component>> copies;
    for (const std::string name : {"first", "second"}) {
        fs::copy(TESSARO_LIBRARY, files.folder.path / name);
        void* library = dlopen((files.folder.path / name).c_str(), RTLD_NOW | RTLD_GLOBAL);
        files.parameters.outputName = name;
        files.make();
        const auto create = reinterpret_cast<decltype(&fmi2Instantiate)>(dlsym(library, "fmi2Instantiate"));
        copies.emplace_back(library, create("unit", type, "g", files.location.c_str(), &master.callbacks, 0, 1));
    }
    const auto& [library, first] = copies[0];
    const auto enter = reinterpret_cast<decltype(&fmi2Reset)>(dlsym(library, "fmi2EnterInitializationMode"));
    EXPECT_EQ(enter(first), fmi2OK);
    EXPECT_STREQ(static_cast<FmuInstance*>(first)->resultFileName, (files.location + "/first").c_str());
    for (const auto& copy : copies) {
        fmi2FreeInstance(copy.second);
        dlclose(copy.first);
    }
}
