// The three environment variables, which every instantiation settles.
#include <cstring>

#include "tests/tools/fmu_test.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

namespace {

std::string keptFormat;

/// The logger of a master that cannot read further arguments.
void keepFormat(fmi2ComponentEnvironment, fmi2String, fmi2Status, fmi2String, fmi2String format, ...) {
    keptFormat = format;
}

class Installation : public FmuTest {
protected:
    /// Instantiates with these values of the variables; null is unset.
    fmi2Component instantiateWith(const char* rootValue, const char* solverValue, const char* commonValue) {
        const auto assign = [](const EnvironmentVariable& variable, const char* value) {
            value != nullptr ? variable.set(value) : variable.unset();
        };
        assign(root, rootValue);
        assign(solverDirectory, solverValue);
        assign(commonDirectory, commonValue);
        if (!isReleased()) release();
        files.make();
        return tryToInstantiate();
    }

    static std::string warningOf(const std::string& text) {
        return message(fmi2Warning, "warning", "fmi2Instantiate: Environment variable " + text);
    }

    const std::string overlong = std::string(1024, 'x');
};

} // namespace

TEST_F(Installation, WithoutTheRootThereIsNoInstanceAndNothingIsSet) {
    EXPECT_EQ(instantiateWith(nullptr, nullptr, "/k"), nullptr);
    EXPECT_EQ(solverDirectory.value(), std::nullopt);
    EXPECT_EQ(instantiateWith(nullptr, "/n", "/k"), nullptr);
    const std::string undefined = setUpError("fmi2Instantiate: Environment variable KORVAN_FMU_ROOT is not defined.");
    EXPECT_THAT(events(), ElementsAre(undefined, undefined));
}

TEST_F(Installation, TheDirectoriesAreDerivedFromTheRootWhereTheUserLeftThemEmpty) {
    ASSERT_NE(instantiateWith("\\r\\s", nullptr, ""), nullptr);
    EXPECT_THAT(solverDirectory.value(), Optional(std::string("/r/s/plsolvers/tessaro/bin/linux64")));
    EXPECT_THAT(commonDirectory.value(), Optional(std::string("/r/s/plsolvers/common/bin/linux64")));
    ASSERT_NE(instantiateWith("", "", nullptr), nullptr);
    EXPECT_THAT(solverDirectory.value(), Optional(std::string("/plsolvers/tessaro/bin/linux64")));
    EXPECT_THAT(commonDirectory.value(), Optional(std::string("/plsolvers/common/bin/linux64")));
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(Installation, AUsersDirectoriesAreKeptWithAWarningWhenTheyAreNotTheDerivedOnes) {
    ASSERT_NE(instantiateWith("/r", "\\100%s", "/k"), nullptr);
    EXPECT_THAT(solverDirectory.value(), Optional(std::string("\\100%s")));
    EXPECT_THAT(commonDirectory.value(), Optional(std::string("/k")));
    EXPECT_THAT(events(), ElementsAre(warningOf("NUSOL_DLL_DIR [/100%s] is set different from the derivation of "
                                                "KORVAN_FMU_ROOT [/r/plsolvers/tessaro/bin/linux64]."),
                                      warningOf("KELDEX_PATH [/k] is set different from the derivation of "
                                                "KORVAN_FMU_ROOT [/r/plsolvers/common/bin/linux64].")));

    const char* derived = "\\r\\plsolvers/tessaro/bin/linux64";
    ASSERT_NE(instantiateWith("/r", derived, "/r/plsolvers/common/bin/linux64"), nullptr);
    EXPECT_THAT(solverDirectory.value(), Optional(std::string(derived)));
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(Installation, TheWarningsAreFinishedForLoggersThatReadNoFurtherArguments) {
    const auto formatting = master.callbacks.logger;
    master.callbacks.logger = keepFormat;
    ASSERT_NE(instantiateWith("/r", "/100%s", nullptr), nullptr);
    EXPECT_EQ(keptFormat, "fmi2Instantiate: Environment variable NUSOL_DLL_DIR [/100%%s] is set different from the "
                          "derivation of KORVAN_FMU_ROOT [/r/plsolvers/tessaro/bin/linux64].");
    master.callbacks.logger = formatting;
    const std::string longRoot(990, 'r'), longest(1023, '%');
    ASSERT_NE(instantiateWith(longRoot.c_str(), longest.c_str(), nullptr), nullptr);
    const std::string cut =
        "NUSOL_DLL_DIR [" + longest + "] is set different from the derivation of KORVAN_FMU_ROOT [" + longRoot;
    EXPECT_THAT(events(), ElementsAre(warningOf(cut).substr(0, std::strlen("warning [warning] ") + 2047)));
}

TEST_F(Installation, AValueThatIsTooLongForAPathIsReportedAndNothingIsSet) {
    EXPECT_EQ(instantiateWith(overlong.c_str(), nullptr, nullptr), nullptr);
    EXPECT_EQ(solverDirectory.value(), std::nullopt);
    EXPECT_EQ(commonDirectory.value(), std::nullopt);
    EXPECT_EQ(instantiateWith("/r", overlong.c_str(), nullptr), nullptr);
    EXPECT_EQ(commonDirectory.value(), std::nullopt);
    EXPECT_THAT(events(), ElementsAre(setUpError("fmi2Instantiate: Environment variable KORVAN_FMU_ROOT is too long."),
                                      setUpError("fmi2Instantiate: Environment variable NUSOL_DLL_DIR is too long.")));
}

TEST_F(Installation, IsSettledEvenWhenTheInstantiationIsThenRefused) {
    root.set("/r");
    EXPECT_EQ(fmi2Instantiate("", type, "g", "file:///x", &master.callbacks, 0, loggingOn), nullptr);
    EXPECT_EQ(events().size(), 1U);
    EXPECT_THAT(solverDirectory.value(), Optional(std::string("/r/plsolvers/tessaro/bin/linux64")));
    EXPECT_THAT(commonDirectory.value(), Optional(std::string("/r/plsolvers/common/bin/linux64")));
}
