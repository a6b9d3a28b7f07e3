// Faults that a script cannot bring about: names of every kind in all paths, other rights, a master's small buffer.
#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstring>

#include <unistd.h>

#include "tests/recording_master.h"

using FileFaults = Master;
using Masters = Master;

namespace {

/// A path for a resource location, every letter percent-encoded.
std::string encoded(const fs::path& path) {
    std::ostringstream text;
    for (const char letter : path.string()) {
        const int code = static_cast<unsigned char>(letter);
        letter == '/' ? text << '/' : text << '%' << std::hex << code / 16 << code % 16;
    }
    return text.str();
}

std::string logged;

void logBriefly(void* /*environment*/, fmi2String /*name*/, fmi2Status /*status*/, fmi2String /*category*/,
                fmi2String format, ...) {
    char text[16];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    logged += std::string(text) + "|";
}

} // namespace

TEST_F(FileFaults, AModelsNameReachesTheTranslatorAsItStandsOrNothingIsRun) {
    std::vector<std::string> names{"$(touch evil)", "`touch evil`", "a;touch evil", "a&&touch evil", "-rf",
                                   "a\tb",          "a[2]b",        "a{b}c",        "a{b,c}d",       "a{1..3}d"};
    for (int code = 1; code < 256; ++code)
        if (const std::string letter(1, static_cast<char>(code)); letter != "\n" && letter != "/")
            if (std::isalnum(code) == 0) names.insert(names.end(), {"a" + letter + "b", letter + "b"});
    for (const std::string& name : names) {
        run("make");
        writeFile(resources / "../modelDescription.xml", "modelName=\"" + name + "\"");
        writeFile(resources / (name + ".mdl"), "template");
        const bool entered = run("fmi2EnterInitializationMode").starts_with("ok");
        const bool harmless = std::all_of(name.begin(), name.end(), [](unsigned char letter) {
            return letter >= 0x80 || std::isalnum(letter) != 0 || std::strchr("_.,:+@%=", letter) != nullptr;
        });
        EXPECT_TRUE(entered || !harmless) << name;
        EXPECT_EQ(contentOf(resources / "called"),
                  entered ? translator.string() + "|" + name + ".mdl|" + name + ".csv|" + resources.string() + "\n"
                          : "")
            << name;
        EXPECT_FALSE(fs::exists(resources / "evil")) << name;
    }
    expect("make ; model a b ; fmi2EnterInitializationMode ; files",
           "error, a b.csv a b.mdl | 3 error fmi2EnterInitializationMode: modelName in modelDescription.xml cannot be "
           "given to fmu_batch, since it contains a blank or a character that the shell interprets, or begins with "
           "'-': [a b.xml].");
}

TEST_F(FileFaults, FoldersOfAnyNameWorkUnlessTheShellWouldReadAnother) {
    for (const std::string name : {"a b", "it's", "100%", "%s%n", "\xc3\xa4", "(a)&;|<>*?", "~", "#", "-a", "!", "a\"b",
                                   "a$", "$HOME", "$(touch evil)", "`touch evil`", "a\\b", "a\\\\b", "a\nb"}) {
        SCOPED_TRACE(name);
        const bool refused = name != "a$" && (name.find_first_of("\"$`\n") != std::string::npos ||
                                              name.find("\\\\") != std::string::npos);
        setenv("NUSOL_DLL_DIR", SCRIPTED_SOLVERS "/all", 1);
        run("new");
        const fs::path installation = folder.path / ("root " + name), fmu = folder.path / ("fmu " + name);
        fs::remove_all(installation), fs::remove_all(fmu);
        fs::rename(root, installation), fs::rename(resources.parent_path(), fmu);
        setenv("KORVAN_FMU_ROOT", installation.c_str(), 1);
        run("fmi2Instantiate unit g file://" + encoded(fmu / "resources") + " 1");
        const std::string result = run("fmi2EnterInitializationMode");
        EXPECT_EQ(fs::exists(fmu / "resources/Model.xml"), !refused) << result;
        EXPECT_EQ(result.starts_with("ok ->4 +plant"), !refused) << result;
        EXPECT_EQ(result.starts_with("error | 3 error fmi2EnterInitializationMode: Environment variable "
                                     "KORVAN_FMU_ROOT must not contain a double quote, dollar sign, backquote, "
                                     "double backslash or line feed: ["),
                  refused)
            << result;
        EXPECT_FALSE(fs::exists(fmu / "resources/evil"));
    }
    setenv("KORVAN_FMU_ROOT", root.c_str(), 1);
}

TEST_F(FileFaults, ReadOnlyResourcesServeAModelFileThatIsThereAndAreToldOtherwise) {
    const uid_t self = geteuid(), nobody = self == 0 ? 65534 : self; // for the superuser nothing is read-only
    fs::permissions(folder.path, fs::perms::all);
    for (const bool there : {false, true}) {
        run(there ? "make ; write Model.xml by hand" : "make");
        fs::permissions(resources, fs::perms(0555));
        ASSERT_EQ(seteuid(nobody), 0);
        expect("fmi2EnterInitializationMode",
               there ? "ok ->4 +plant | start ..."
                     : "error | 3 error fmi2EnterInitializationMode: Unable to write value file [Model.csv]: "
                       "Permission denied.");
        ASSERT_EQ(seteuid(self), 0);
        fs::permissions(resources, fs::perms(0755));
    }
}

TEST_F(Masters, ALoggerWithASmallBufferSeesTheBeginningOfEachMessage) {
    callbacks.logger = logBriefly;
    run("make ; setString 1 " + std::string(3000, 'x') + " ; env KORVAN_FMU_ROOT - ; fmi2SetReal 99 1 1");
    run("make");
    EXPECT_EQ(logged, "fmi2SetReal: Il|fmi2Instantiate|");
}
