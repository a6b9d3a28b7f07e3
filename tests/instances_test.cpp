// What scripts alone cannot say: several instances or libraries, other callbacks, the record's bytes, failing memory.
#include <sys/mman.h>

#include "tests/recording_master.h"

using Instantiation = Master;
using Initialization = Master;
using Stepping = Master;
using Variables = Master;
using Faults = Master;

TEST_F(Instantiation, ArgumentsAreCheckedInTheirOrderWhateverTheLogging) {
    const auto refused = [this](const std::string& arguments, const std::string& result) {
        for (const int on : {0, 1}) {
            logging = on;
            EXPECT_EQ(run("env KORVAN_FMU_ROOT - ; fmi2Instantiate " + arguments), "null" + result);
        }
    };
    const fmi2CallbackFunctions whole = callbacks;
    callbacks.freeMemory = nullptr;
    refused("- - -", " | 3 error fmi2Instantiate: Missing callback function. for null");
    callbacks = {whole.logger, nullptr, whole.freeMemory, nullptr, nullptr};
    refused("'' '' -", " | 3 error elsewhere: fmi2Instantiate: Missing callback function. for ");
    callbacks = whole;
    for (const char* name : {"-", "''"})
        refused(name + std::string(" - -"), " | 3 error fmi2Instantiate: Missing instance name. for ?");
    for (const char* guid : {"-", "''"})
        refused(std::string("n ") + guid + " -", " | 3 error fmi2Instantiate: Missing GUID. for n");
    refused("unit g -", " | 3 error fmi2Instantiate: Missing resource location.");
    refused("unit g " + std::string(1024, 'x'), " | 3 error fmi2Instantiate: Resource location is too long.");
    EXPECT_EQ(nAllocations, 0U);
    callbacks.logger = nullptr;
    refused("unit g x", "");
}

TEST_F(Instantiation, TheRecordHoldsWhatTheParameterFilesSayInMemoryOfTheMasterOnly) {
    const std::string length = std::to_string(location.size() + 50 + 9), shorter = std::to_string(location.size() + 56);
    check("make 0 ; blocks => 1x280 5x1 2x4 2x8 2x8 2x8 2x8 2x4 19x8 2x4 2x4 3x8 1024x1 7x1 " + length + "x1 " +
          shorter + R"(x1 8x1
        text 8 ; text 16 ; text 88 ; text 104 ; text 112 ; text 96 => unit, {guid}, $L/Model.xml, $L/sub.so, 1.2.3.4
        real 120 ; real 192 ; real 200 ; int 188 ; int 216 ; int 220 ; int 224 => 7.500000, 0.000000, 0.000000, 0, 0, 1, 0
        int 232 ; int 236 ; int 264 ; int 268 ; int 272 ; int 276 ; int 184 => 0, 0, 0, 0, 0, 0, 2
        state 32 ; fmi2GetInteger 0,1 2 0,0 ; fmi2GetBoolean 0,1 2 0,0 => ok -99999 -99999, ok -99999 -99999
        fmi2GetString 0,1,2 3 x,x,x ; fmi2GetReal 0,18 2 0,0 => ok null null null, ok -99999 -99999
    )");
    EXPECT_EQ(field<void*>(208), this);
    shape = {"", "", "", "0", "0", "0", "0", "0", "0", "", "", "", "", "", "", "", ""};
    check(R"(
        make ; blocks => 1x280 5x1 1024x1 7x1 1x1 1x1 1x1
        text 88 ; text 104 ; text 112 ; real 120 => 0.000000
        state 2048 ; fmi2GetReal - 9 - ; fmi2GetInteger - 9 - ; fmi2GetBoolean - 9 - ; fmi2GetString - 9 -
    )");
}

TEST_F(Instantiation, TwoCopiesKeepTheirOwnRecordsWhenTheirSymbolsAreGlobal) {
    void* const own = library;
    std::vector<std::pair<void*, fmi2Component>> copies;
    for (const char* name : {"first", "second"}) {
        fs::copy(TESSARO_LIBRARY, folder.path / name);
        library = dlopen((folder.path / name).c_str(), RTLD_NOW | RTLD_GLOBAL);
        shape[10] = name, c = nullptr;
        expect("make", "");
        copies.emplace_back(library, c);
    }
    for (const auto& copy : copies) {
        std::tie(library, c) = copy, handle = c;
        run("fmi2EnterInitializationMode");
        expect("text 96 ; fmi2FreeInstance",
               copy == copies[0] ? "$L/first, released |..." : "$L/second, released |...");
    }
    library = own;
}

TEST_F(Initialization, TheValueFileHoldsWhatWasSetWithAFullStopAndTheTranslatorRunsInTheResources) {
    const CommaLocale comma;
    const std::string longest(1023, 'n');
    check("new ; write mv.par 5\\na\\nb\\nc\\n" + longest + R"(more\n2\ni 0\ni1\n2\nb0\nb1\n2\nresult\ns1
        fmi2Instantiate unit g $L 1 ; fmi2SetInteger 0,1 2 -7,-99999 ; fmi2SetBoolean 0,1 2 7,0 ; fmi2SetString 0,1,2 3 r,-,s
        state 2 ; real 120 ; fmi2SetReal 0,1,2,3,4,5 6 0,-99999,1e10,-4,9,5 => 7,500000, ok
        fmi2SetString 1 1 t,t ; fmi2EnterInitializationMode => ok, ok ->4 +plant | 1 warning fmi2EnterInitializationMode: Real variable 5 was set, but mv.par has no name for it: the model keeps its own value. | 1 warning fmi2EnterInitializationMode: String variable 2 was set, but mv.par has no name for it: the model keeps its own value. | start ...
        show called => $ROOT/io/translators/bin/linux64/fmu_batch|Model.mdl|Model.csv|$R\n
        show Model.csv => a, 0.000000\nc, 10000000000.000000\n)" +
          longest + R"(, -4.000000\nmore, 9.000000\ni 0, -7\nb0, 7\nb1, 0\ns1, t\n
    )");
}

TEST_F(Initialization, TheSecondTranslatorIsTriedAndTheLatestLocationHolds) {
    run("make ; fmi2SetReal 0 1 1");
    fs::create_directory(root / "pldesktop");
    fs::rename(root / "io", root / "pldesktop/io");
    const fmi2Component made = c;
    expect("fmi2Instantiate unit '' file:///nowhere", "null | 3 error fmi2Instantiate: Missing GUID.");
    c = handle = made;
    expect("fmi2EnterInitializationMode", "error | 3 error fmi2EnterInitializationMode: Unable to change...");
    expect("fmi2Instantiate unit '' $L", "null | 3 error fmi2Instantiate: Missing GUID.");
    c = handle = made;
    expect("fmi2EnterInitializationMode ; show called",
           "ok ->4 +plant, $ROOT/pldesktop/io/translators/bin/linux64/fmu_batch|...");
}

TEST_F(Stepping, AResetLeavesTheRunningPlantAloneAndNoRunKnowsOfAnother) {
    run("make ; fmi2EnterInitializationMode ; fmi2ExitInitializationMode ; fmi2SetReal 2 1 7");
    const fmi2Component first = std::exchange(c, nullptr);
    run("make ; fmi2EnterInitializationMode ; fmi2ExitInitializationMode ; fmi2SetReal 2 1 0.5");
    void* plant = field<void*>(32);
    expect("state 1024 ; fmi2Reset ; int 220", "ok ->2, 1");
    EXPECT_EQ(field<void*>(32), plant);
    expect("fmi2EnterInitializationMode ; fmi2ExitInitializationMode ; fmi2DoStep 0 1 1",
           "ok ->4 +plant, ok ->32, ok | start ... 10 | deposit 1 0: 0 0 0 | request 1");
    std::swap(field<void*>(32), plant);
    expect("fmi2DoStep 1 1 1", "ok | deposit 1 1: 0 0 0 | request 2"); // the former run goes on
    expect("solver 1 14 0 ; fmi2DoStep 1 1 1 ; solver 1 0 0",
           "error -plant | deposit 1 1: 0 0 0 | terminate 2 | 3 logAll ...");
    field<void*>(32) = plant;
    expect("fmi2FreeInstance", "released | terminate 2");
    c = handle = first;
    expect("fmi2DoStep 0 0.5 1 ; fmi2FreeInstance", "ok, released | deposit 1 0: 0 0 7 | request 0.5 | terminate 0.5");
}

TEST_F(Variables, AStringThatCannotBeStoredIsGone) {
    run("make ; setString 2 kept ; setString 1 old");
    failFrom = nAllocations + 1, failTo = failFrom + 1;
    expect("fmi2SetString 2,1,0 3 same,longer,x ; fmi2GetString 0,1,2 3 x,x,x",
           "error ->1024, ok null null same | 3 logError fmi2SetString: Out of memory.");
}

TEST_F(Variables, AReferenceFromTwoToTheThirtyOnePassesAndIsUsedAsGiven) {
    run("make ; state 32");
    constexpr std::size_t offset = std::size_t{8} << 31U, size = offset + 4096;
    void* space = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(space, MAP_FAILED);
    double* const own = std::exchange(field<double*>(40), static_cast<double*>(space));
    EXPECT_EQ(run("fmi2SetReal 2147483649 1 2.5 ; fmi2GetReal 2147483649 1"), "ok, ok 2.5");
    EXPECT_EQ(field<double*>(40)[(std::size_t{1} << 31U) + 1], 2.5);
    field<double*>(40) = own;
    munmap(space, size);
}

TEST_F(Faults, AFailingAllocationIsReportedLosesNothingAndDoesNotHinderTheNextInstance) {
    for (const std::size_t nFailing : {1U, 100U})
        for (const int on : {1, 0})
            for (std::size_t n = 1; n <= 20; ++n) {
                SCOPED_TRACE(testing::Message() << nFailing << " allocations fail from number " << n << " on");
                const std::string failed = ": Unable allocating memory.", bar = on != 0 ? " | 3 error fmi2" : "";
                logging = on, nAllocations = 0, failFrom = n, failTo = n + nFailing;
                // The first seventeen are the instance's own. The GUID's (14) is needed by nobody, that of the result
                // file's name (13) not before initialization.
                const bool made = n > 17 || (nFailing == 1 && (n == 13 || n == 14));
                EXPECT_EQ(run("make"), made ? "" : "null" + (on != 0 ? bar + "Instantiate" + failed : ""));
                if (made) {
                    EXPECT_EQ(run("fmi2SetString 0,1 2 result,text"),
                              n < 18 || n > 19 ? "ok" : "error ->1024 | 3 logError fmi2SetString: Out of memory.");
                    const std::string entered = run("state 2 ; fmi2EnterInitializationMode");
                    EXPECT_EQ(entered.substr(0, entered.find(" | start")),
                              n != 13 ? "ok ->4 +plant"
                                      : "error" + (on != 0 ? bar + "EnterInitializationMode" + failed : ""));
                }
                failTo = 0;
                run("make ; fmi2EnterInitializationMode");
                EXPECT_EQ(live.size(), 17U);
            }
}
