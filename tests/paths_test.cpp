// util/paths.h and util/environment.h.
#include "util/paths.h"

#include <clocale>
#include <cstdlib>

#include <gtest/gtest.h>

#include "tests/tools/environment.h"
#include "tests/tools/utilities.h"
#include "util/environment.h"

TEST(Paths, BackslashesBecomeSlashes) {
    char path[] = "\\a\\b", same[] = "\\a\\b";
    wchar_t wide[] = L"\\a\\b";
    FixPath(path);
    EXPECT_STREQ(path, "/a/b");
    fixPathUnmangled(same);
    EXPECT_STREQ(same, "/a/b");
    FixPathWC(wide);
    EXPECT_STREQ(wide, L"/a/b");
    FixPath(nullptr);
    fixPathUnmangled(nullptr);
    FixPathWC(nullptr);
}

TEST(Paths, AFileExistsWhenItCanBeReadAndSoDoesAFolder) {
    EXPECT_TRUE(IsFileExist("\\proc\\self\\comm"));
    EXPECT_TRUE(IsFileExist("/proc"));
    EXPECT_FALSE(IsFileExist("/proc/no_such"));
    EXPECT_FALSE(IsFileExist(nullptr));
}

TEST(Paths, AnExtensionChangesOnlyWhenItIsTheOldOne) {
    const std::string longest(100, 'a'), capitals(100, 'A');
    const struct {
        std::string path;
        const char *from, *to;
        std::string result;
    } rows[] = {{"model.XML", "xml", "mdl", "model.mdl"},
                {"model.XML", "csv", "mdl", "model.XML"},
                {"model", nullptr, "mdl", "model"},
                {"v1.2/model", nullptr, "long", "v1.long"},
                {"m.a.b", nullptr, "longer", "m.a.longer"},
                {"m.xml", "xml", nullptr, "m.xml"},
                {"m." + capitals, longest.c_str(), "b", "m.b"}};
    const auto wide = [](const std::string& text) { return std::wstring(text.begin(), text.end()); };
    for (const auto& row : rows) {
        EXPECT_EQ(taken(ChangeExtension(row.path.c_str(), row.from, row.to)), row.result);
        const std::wstring path = wide(row.path), from = wide(row.from ? row.from : ""),
                           to = wide(row.to ? row.to : "");
        const std::unique_ptr<wchar_t[]> changed(
            ChangeExtensionWC(path.c_str(), row.from ? from.c_str() : nullptr, row.to ? to.c_str() : nullptr));
        EXPECT_EQ(changed.get(), wide(row.result));
    }
    EXPECT_EQ(ChangeExtension(nullptr, "a", "b"), nullptr);
}

TEST(Paths, WideLettersBecomeSmallByTheLocale) {
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    wchar_t text[] = L"A\u00c4b\u0416";
    WcsLC(text);
    EXPECT_STREQ(text, L"a\u00e4b\u0436");
    WcsLC(nullptr);
    std::setlocale(LC_CTYPE, "C");
}

TEST(EnvironmentValues, HaveSlashesUnlessTheyAreWide) {
    const EnvironmentVariable variable("UTIL_TEST", "C:\\dir\\x");
    EXPECT_EQ(taken(NuGetEnv("UTIL_TEST")), "C:/dir/x");
    EXPECT_STREQ(std::unique_ptr<wchar_t[]>(NuGetEnvWC(L"UTIL_TEST")).get(), L"C:\\dir\\x");
    variable.unset();
    EXPECT_EQ(NuGetEnv("UTIL_TEST"), nullptr);
    EXPECT_EQ(NuGetEnv(nullptr), nullptr);
    EXPECT_EQ(NuGetEnvWC(nullptr), nullptr);
    EXPECT_EQ(NuGetEnvWC(L"\u4e2d"), nullptr) << "not a name in this locale";
}
