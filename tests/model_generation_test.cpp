// The model file: fmu_generate_xml, as fmi2EnterInitializationMode calls it.
#include <sys/resource.h>
#include <unistd.h>

#include "resources/model_generation.h"
#include "tests/tools/fmu_test.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class ModelGeneration : public FmuTest {
protected:
    fmi2Status generate() { return fmu_generate_xml(files.location.c_str(), &record()) == 0 ? fmi2OK : fmi2Error; }

    /// So many more files can be opened.
    static void limitDescriptors(rlim_t count) {
        const int lowest = dup(STDIN_FILENO);
        close(lowest);
        const rlimit limit{static_cast<rlim_t>(lowest) + count, 1024};
        setrlimit(RLIMIT_NOFILE, &limit);
    }

    std::string inResources(const char* name) const { return contentOf(files.resources / name); }
    std::string callOf(const fs::path& translator) const {
        return translator.string() + "|Model.mdl|Model.csv|" + files.resources.string() + "\n";
    }
};

} // namespace

TEST_F(ModelGeneration, OnlyWhatWasSetIsInTheValueFileWithDecimalPointsInEveryLocale) {
    const CommaLocale comma;
    const std::string longest(1023, 'n');
    files.make();
    writeFile(files.resources / "mv.par", "6\na\nb\nc\n" + longest + "more\nd\n2\ni 0\ni1\n2\nb0\nb1\n2\nresult\ns1\n");
    ASSERT_NE(tryToInstantiate(), nullptr);
    EXPECT_EQ(record().endTime, 7.5) << "numbers are read with a point as well";
    setReals({0, 1, 2, 3, 4, 5, 6}, {0, -99999, 1e10, -4, 9, -99999.5, 5});
    setIntegers({0, 1}, {-7, -99999});
    setBooleans({0, 1}, {7, 0});
    setStrings({0, 1, 2}, {"r", "t,t", "s"});
    EXPECT_EQ(generate(), fmi2OK);
    EXPECT_EQ(inResources("Model.csv"), "a, 0.000000\nc, 10000000000.000000\n" + longest +
                                            ", -4.000000\nmore, 9.000000\nd, -99999.500000\ni 0, -7\nb0, 7\nb1, 0\n"
                                            "s1, t,t\n");
    const auto unnamed = [](const std::string& variable) {
        return message(fmi2Warning, "warning",
                       "fmi2EnterInitializationMode: " + variable +
                           " was set, but mv.par has no name for it: the model keeps its own value.");
    };
    EXPECT_THAT(events(), ElementsAre(unnamed("Real variable 6"), unnamed("String variable 2")));
}

TEST_F(ModelGeneration, AModelFileThatExistsIsUsedAsItIsWithAWarningIfOtherValuesWereSet) {
    const auto saidBeside = [this](const std::string& valueFile) {
        writeFile(files.resources / "Model.csv", valueFile);
        EXPECT_EQ(generate(), fmi2OK);
        EXPECT_EQ(inResources("Model.xml"), "by hand");
        EXPECT_EQ(inResources("Model.csv"), valueFile);
        return events();
    };
    const std::string haveNoEffect =
        message(fmi2Warning, "warning",
                "fmi2EnterInitializationMode: model file [Model.xml] was there already and is used as it is: the "
                "values that were set have no effect.");
    instantiate();
    writeFile(files.resources / "Model.xml", "by hand");
    EXPECT_THAT(saidBeside("r0, 1.000000\n"), IsEmpty()) << "nothing was set";
    setReals({0}, {1});
    EXPECT_THAT(saidBeside("r0, 1.000000\n"), IsEmpty()) << "the same values as before";
    EXPECT_THAT(saidBeside(""), ElementsAre(haveNoEffect));
    EXPECT_THAT(saidBeside("r0, 1.000000\nr1, 1.000000\n"), ElementsAre(haveNoEffect));
    fs::remove(files.resources / "Model.csv");
    EXPECT_EQ(generate(), fmi2OK);
    EXPECT_THAT(events(), ElementsAre(haveNoEffect)) << "without a value file";
    EXPECT_THAT(files.added(), ElementsAre("Model.xml"));
    record().loggingOn = fmi2False;
    EXPECT_THAT(saidBeside(""), IsEmpty());
}

TEST_F(ModelGeneration, TheNamesAreReadAgainWhenAnEarlierGenerationHasUsedThem) {
    instantiate();
    setReals({0}, {1});
    const auto lines = [this] {
        fs::remove(files.resources / "Model.xml");
        return generate() == fmi2OK ? inResources("Model.csv") : "failed";
    };
    EXPECT_EQ(lines(), "r0, 1.000000\n");
    setStrings({1}, {"x"});
    EXPECT_EQ(lines(), "r0, 1.000000\ns1, x\n");
    EXPECT_THAT(events(), IsEmpty());
    fs::remove(files.resources / "mv.par");
    EXPECT_EQ(lines(), "");
    EXPECT_EQ(events().size(), 2U) << "a warning for each variable without a name";
    writeFile(files.resources / "mv.par", "-1\n");
    EXPECT_EQ(lines(), "failed");
    EXPECT_THAT(events(), ElementsAre(startError("Unable to read parameter file [mv.par]: illegal number of names.")));
}

TEST_F(ModelGeneration, NamesStayWhereNoneAreReadOrNoModelIsDescribed) {
    instantiate();
    release();
    fs::remove(files.resources / "mv.par");
    ASSERT_NE(tryToInstantiate(), nullptr);
    setReals({0}, {1});
    fs::remove(files.fmu / "modelDescription.xml");
    EXPECT_EQ(enterInitialization(), fmi2Error);
    EXPECT_THAT(files.added(), IsEmpty());
    writeFile(files.resources / "modelDescription.xml", "modelName=\"Model\"");
    EXPECT_EQ(enterInitialization(), fmi2OK) << "a copy in the resources serves";
    EXPECT_EQ(inResources("Model.csv"), "r0, 1.000000\n");
}

TEST_F(ModelGeneration, FailsWithoutAUsableNameOrATemplateAndMayBeRepeated) {
    const struct {
        const char* name;
        std::vector<std::string> added, said;
    } rows[] = {{"No", {"No.csv"}, {}}, {"Model.xml.2", {"Model.csv", "Model.xml", "called"}, {notGenerated}}};
    for (const auto& row : rows) {
        instantiate();
        files.describe(row.name);
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(enterInitialization(), fmi2Error) << row.name;
            EXPECT_EQ(events(), row.said);
            EXPECT_EQ(files.added(), row.added);
        }
        release();
    }
    instantiate();
    writeFile(files.fmu / "modelDescription.xml", "modelName='Model'>\n");
    EXPECT_EQ(enterInitialization(), fmi2Error);
    EXPECT_THAT(files.added(), IsEmpty());
}

TEST_F(ModelGeneration, ATranslatorMakesTheModelFileTheSecondWhenTheFirstMakesNone) {
    instantiate();
    writeFile(files.resources / "modelDescription.xml", "modelName=\"Inner\""); // the one above comes first
    const fs::path second = files.root / "pldesktop/io/translators/bin/linux64/fmu_batch";
    fs::create_directories(second.parent_path());
    fs::copy(files.translator, second);
    EXPECT_EQ(generate(), fmi2OK);
    EXPECT_EQ(inResources("called"), callOf(files.translator)) << "both are there";
    EXPECT_THAT(files.added(), ElementsAre("Model.csv", "Model.xml", "called", "modelDescription.xml"));
    for (const char* file : {"Model.xml", "called"}) fs::remove(files.resources / file);
    fs::remove_all(files.root / "io");
    EXPECT_EQ(generate(), fmi2OK);
    EXPECT_EQ(inResources("called"), callOf(second));
    fs::remove(files.resources / "Model.xml");
    fs::remove_all(files.root / "pldesktop");
    EXPECT_EQ(generate(), fmi2Error);
    root.unset();
    EXPECT_EQ(generate(), fmi2Error);
    EXPECT_THAT(events(), ElementsAre(notGenerated)) << "without a root nothing is run";
}

TEST_F(ModelGeneration, ATranslatorIsWaitedForAndJudgedByTheModelFileAlone) {
    const std::string removeFolder = "rm -r '" + files.resources.string() + "'"; // whatever directory it is run in
    const std::string rows[] = {"exit 3",
                                "kill -9 $$",
                                "cd /",
                                removeFolder,
                                "sleep 0.2; cp $1 Model.xml",
                                "printf '<' >Model.xml; kill -9 $$",
                                "cp $1 Model.xml; exec 0<&- 1>&- 2>&-; false"};
    for (const std::string& commands : rows) {
        const bool succeeds = commands.find("Model.xml") != std::string::npos;
        SCOPED_TRACE(commands);
        instantiate();
        files.translateBy(commands);
        EXPECT_EQ(enterInitialization(), succeeds ? fmi2OK : fmi2Error);
        EXPECT_THAT(events(), ElementsAre(succeeds ? "start" : notGenerated));
        release();
        events();
    }
}

TEST_F(ModelGeneration, AValueFileThatCannotBeWrittenIsReportedAndNothingIsRun) {
    const fs::path valueFile = files.resources / "Model.csv";
    const std::pair<const char*, const char*> rows[] = {{"/dev/full", "No space left on device"},
                                                        {"/nowhere/Model.csv", "No such file or directory"},
                                                        {"Model.csv", "Too many levels of symbolic links"},
                                                        {"/", "Is a directory"}};
    for (const auto& [target, reason] : rows) {
        instantiate();
        setReals({0}, {1});
        fs::create_symlink(target, valueFile);
        EXPECT_EQ(enterInitialization(), fmi2Error);
        EXPECT_THAT(events(),
                    ElementsAre(startError("Unable to write value file [Model.csv]: " + std::string(reason) + ".")));
        EXPECT_THAT(files.added(), ElementsAre("Model.csv"));
        release();
    }
}

TEST_F(ModelGeneration, WhatCannotBeOpenedForLackOfDescriptorsIsNotTakenForMissing) {
    const std::string reasons[] = {"Unable to read [" + files.resources.string() + ": Too many open files].",
                                   "Unable to read [../modelDescription.xml: Too many open files]."};
    for (const rlim_t count : {0U, 1U}) {
        instantiate();
        writeFile(files.resources / "Model.xml", "by hand");
        limitDescriptors(count);
        EXPECT_EQ(enterInitialization(), fmi2Error);
        limitDescriptors(900);
        EXPECT_THAT(events(), ElementsAre(startError(reasons[count])));
        release();
    }
    files.make();
    limitDescriptors(1);
    EXPECT_EQ(tryToInstantiate(), nullptr);
    limitDescriptors(900);
    EXPECT_THAT(events(), ElementsAre(setUpError("fmi2Instantiate: Unable to read parameter file [" +
                                                 (files.resources / "mv.par").string() + "]: Too many open files.")));
}

TEST_F(ModelGeneration, TheLatestLocationHoldsForEveryInstance) {
    instantiate();
    EXPECT_EQ(fmi2Instantiate("unit", type, "", "file:///nowhere", &master.callbacks, 0, 1), nullptr);
    EXPECT_EQ(enterInitialization(), fmi2Error);
    EXPECT_THAT(events(), ElementsAre(setUpError("fmi2Instantiate: Missing GUID."),
                                      startError("Unable to read [/nowhere: No such file or directory].")));
}

TEST_F(ModelGeneration, AModelNameGoesToTheTranslatorAsTheShellReadsItUnlessItWouldRunSomething) {
    const std::string harmless = "_.,:+@%=", refused = ";|&<>`";
    const auto callWith = [this](const std::string& name) {
        files.describe(name);
        writeFile(files.resources / (name + ".mdl"), "template");
        fs::remove(files.resources / "called");
        const bool generated = generate() == fmi2OK;
        return std::pair(generated, inResources("called"));
    };
    instantiate();
    for (const char letter : std::string(" !\"#$%&'()*+,-.:;<=>?@[\\]^_`{|}~\t\x01\xe4")) {
        for (const std::string& name : {"a" + std::string(1, letter) + "b", std::string(1, letter) + "b"}) {
            SCOPED_TRACE(name);
            const auto& [generated, call] = callWith(name);
            EXPECT_TRUE(generated || harmless.find(letter) == std::string::npos);
            EXPECT_TRUE(call.empty() || refused.find(letter) == std::string::npos);
            const std::string unchanged = files.translator.string() + "|" + name + ".mdl|" + name + ".csv|";
            EXPECT_TRUE(!generated || call == unchanged + files.resources.string() + "\n") << call;
        }
    }
    events();
    const std::string runs =
        "modelName in modelDescription.xml cannot be given to fmu_batch, since the shell would run "
        "or redirect something: [";
    for (const char* name : {"$(touch evil)", "`touch evil`", "a;touch evil", "a>evil"}) {
        EXPECT_EQ(callWith(name), std::pair(false, std::string()));
        EXPECT_THAT(events(), ElementsAre(startError(runs + name + ".xml].")));
    }
    EXPECT_FALSE(fs::exists(files.resources / "evil"));
}

TEST_F(ModelGeneration, AFailedTranslationSaysWhatTheShellMakesOfTheModelName) {
    const struct {
        const char *name, *first, *second; ///< what the translator gets, up to the extensions
        const char* effect;
    } rows[] = {{"a b", "a|b", "a|b", "the shell splits it at its spaces"},
                {"A\" guid=\"B", "A guid=B", "A guid=B", "the shell splits it at its spaces"},
                {"'a\\\\'b", "a\\\\b", "a\\\\b", "the shell removes its quotes and backslashes"},
                {"a$NONE", "a", "a", "the shell replaces the variable after its dollar sign"}};
    for (const auto& [name, first, second, effect] : rows) {
        SCOPED_TRACE(name);
        instantiate();
        files.describe(name);
        writeFile(files.resources / (std::string(name) + ".mdl"), "template");
        EXPECT_EQ(generate(), fmi2Error);
        const std::string call = files.translator.string() + "|" + first + ".mdl|" + second + ".csv|";
        EXPECT_EQ(inResources("called"), call + files.resources.string() + "\n");
        EXPECT_THAT(events(),
                    ElementsAre(notGenerated, startError("modelName in modelDescription.xml is not quoted in the "
                                                         "translator's command, and " +
                                                         std::string(effect) + ": [" + name + ".xml].")));
        release();
    }
}

TEST_F(ModelGeneration, FoldersOfAnyNameWorkUnlessTheShellWouldReadAnother) {
    const std::string refused[] = {"a\"b", "$HOME", "$(touch evil)", "`touch evil`", "a\\\\b", "a\nb"};
    for (const std::string name : {"a b", "it's", "100%", "%s%n", "\xc3\xa4", "(a)&;|<>*?", "~", "#", "-a", "!", "a$",
                                   "a\\b", "a\"b", "$HOME", "$(touch evil)", "`touch evil`", "a\\\\b", "a\nb"}) {
        const bool works = std::find(std::begin(refused), std::end(refused), name) == std::end(refused);
        SCOPED_TRACE(name);
        root.set(files.root);
        instantiate();
        const fs::path moved = files.folder.path / ("root " + name);
        fs::rename(files.root, moved);
        root.set(moved);
        EXPECT_EQ(generate(), works ? fmi2OK : fmi2Error);
        EXPECT_EQ(files.added().size(), works ? 3U : 1U);
        const std::string message = startError("Environment variable KORVAN_FMU_ROOT must not contain a double quote, "
                                               "dollar sign, backquote, double backslash or line feed: [" +
                                               moved.string() + "].");
        EXPECT_EQ(events(), works ? std::vector<std::string>() : std::vector{message});
        release();
    }
}
