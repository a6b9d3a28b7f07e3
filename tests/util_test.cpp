// The utilities: numbers and texts against slow models over many random texts, the rest on the real system.
#include <chrono>
#include <cmath>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <regex>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "util/bytes.h"
#include "util/dynamic_library.h"
#include "util/environment.h"
#include "util/line_breaking.h"
#include "util/line_input.h"
#include "util/numbers.h"
#include "util/paths.h"
#include "util/processes.h"
#include "util/replacing.h"
#include "util/text.h"

namespace {

using Strings = std::vector<std::string>;

int loadedMode = 0;

std::string printedBy(const std::function<void()>& call) {
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

/// The content of a new text, which is released.
std::string taken(char* text) { return std::unique_ptr<char[]>(text).get(); }

std::string randomText(const std::string& alphabet, std::size_t maxLength) {
    static std::mt19937 generator(20);
    std::string text(generator() % (maxLength + 1), ' ');
    for (char& c : text) c = alphabet[generator() % alphabet.size()];
    return text;
}

/// Value, sign and length of the number that a text begins with, by the rule of nine digits and a clamped power.
std::tuple<double, bool, std::ptrdiff_t> modelNumber(const std::string& text) {
    static const std::regex form("[ \\t\\n\\v\\f\\r]*([-+]?)(\\d*)(?:\\.(\\d*))?(?:[Ee]([-+]?\\d*))?");
    std::smatch match;
    std::regex_search(text, match, form, std::regex_constants::match_continuous);
    const std::string kept = (match.str(2) + match.str(3)).substr(0, 9);
    const double scale = static_cast<double>(match.length(2)) - static_cast<double>(kept.size());
    const double power = std::clamp(std::strtod(match.str(4).c_str(), nullptr) + scale, -299.0, 299.0);
    const double factor = std::strtod(("1e" + std::to_string(std::lround(std::abs(power)))).c_str(), nullptr);
    const double mantissa = std::strtod((match.str(1) + "0" + kept).c_str(), nullptr);
    return {power < 0 ? mantissa / factor : mantissa * factor, match.str(1) == "-", match.length(0)};
}

void expectLikeModel(const std::string& text) {
    static const std::regex other("(?![Ee])[-+]?\\d*\\.?\\d*(?:[Ee][^]*)?");
    static const std::regex zero("(?![Ee]|[^Ee]*(\\+[^Ee]*\\+|-[^Ee]*-|\\.[^Ee]*\\.))[-+.0]*(?:[Ee][^]*)?");
    char* end = nullptr;
    const double value = fstrtod(text.c_str(), &end);
    EXPECT_EQ(std::tuple(value, std::signbit(value), end - text.c_str()), modelNumber(text)) << text;
    EXPECT_EQ(isnumber(text.c_str()), std::regex_match(text, value == 0.0 ? zero : other)) << text;
}

/// The broken text, each part with a line feed, from the quotes that are open at each position.
std::string modelLines(std::size_t width, const std::string& text) {
    Strings open{""};
    for (const char c : text) {
        const bool isQuote = c == '"' || c == '\'' || c == '`';
        open.push_back(open.back().empty() ? std::string(isQuote, c) : open.back()[0] == c ? "" : open.back());
    }
    std::string lines;
    for (std::size_t at = 0; at < text.size(); at += width)
        lines += open[at] + text.substr(at, width) + open[std::min(at + width, text.size())] + "\n";
    return lines;
}

} // namespace

// Stands before the C library's: remembers the flags, and takes away the one that AddressSanitizer refuses.
extern "C" void* dlopen(const char* file, int mode) noexcept {
    loadedMode = mode;
    const auto open = reinterpret_cast<void* (*)(const char*, int)>(dlsym(RTLD_NEXT, "dlopen"));
    return open(file, mode & ~RTLD_DEEPBIND);
}

TEST(Util, LibrariesAreLoadedWithTheirFlagsAndFailuresPrinted) {
    const auto block = [rule = std::string(46, '-')](const std::string& name, const std::string& reason) {
        return rule + "\nDynamic Library loading error: " + name + "\n    " + reason + "\n" + rule + "\n";
    };
    for (auto load : {NuPLDyLoadLibrary, NuPLDyLoadLibrary2, NuPLDyLoadLibrary3}) {
        void* library = load("libm.so.6");
        EXPECT_EQ(loadedMode, RTLD_LAZY | (load == NuPLDyLoadLibrary2 ? RTLD_GLOBAL : RTLD_DEEPBIND));
        EXPECT_EQ(NuPLDyGetFunction(library, "cos"), dlsym(library, "cos"));
        const std::string printed = printedBy([&] { EXPECT_EQ(NuPLDyGetFunction(library, "no_such"), nullptr); });
        EXPECT_EQ(dlsym(library, "no_such"), nullptr);
        EXPECT_EQ(printed, block("no_such", NuPLDyLoadError()));
        EXPECT_EQ(NuPLDyUnloadLibrary(library), 0);
        EXPECT_EQ(printedBy([&] { EXPECT_EQ(load("/no.so"), nullptr); }),
                  block("/no.so", "/no.so: cannot open shared object file: No such file or directory"));
    }
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "no_such"), nullptr);
    EXPECT_EQ(printedBy([] { NuPLDyGetFunction(nullptr, nullptr); }), block("(null)", "(null)"));
    EXPECT_TRUE(NuPLDyUnloadLibrary(nullptr) == -1 && GetDllExtension() == GetDllExtension());
    EXPECT_STREQ(GetDllExtension(), ".so");
}

TEST(Util, BackslashesBecomeSlashesExceptInWideEnvironmentValues) {
    char path[] = "\\a\\b", same[] = "\\a\\b";
    wchar_t wide[] = L"\\a\\b";
    FixPath(path), fixPathUnmangled(same), FixPathWC(wide);
    FixPath(nullptr), fixPathUnmangled(nullptr), FixPathWC(nullptr), WcsLC(nullptr);
    EXPECT_EQ(std::string(path) + same, "/a/b/a/b");
    EXPECT_STREQ(wide, L"/a/b");
    EXPECT_TRUE(IsFileExist("\\proc\\self\\comm") && IsFileExist("/proc"));
    EXPECT_TRUE(!IsFileExist("/proc/no_such") && !IsFileExist(nullptr));

    setenv("UTIL_TEST", "C:\\dir\\x", 1);
    EXPECT_EQ(taken(NuGetEnv("UTIL_TEST")), "C:/dir/x");
    EXPECT_STREQ(std::unique_ptr<wchar_t[]>(NuGetEnvWC(L"UTIL_TEST")).get(), L"C:\\dir\\x");
    unsetenv("UTIL_TEST");
    EXPECT_TRUE(!NuGetEnv("UTIL_TEST") && !NuGetEnv(nullptr) && !NuGetEnvWC(nullptr) && !NuGetEnvWC(L"\u4e2d"));
}

TEST(Util, ExtensionsChangeOnlyWhenTheyAreTheOldOne) {
    const auto orNull = [](const auto& text) { return text[0] == '-' ? nullptr : text.c_str(); };
    const auto wide = [](const std::string& text) { return std::wstring(text.begin(), text.end()); };
    // path, old extension, new extension ("-" stands for null), result
    std::istringstream rows("model.XML xml mdl model.mdl model.XML csv mdl model.XML model - mdl model "
                            "v1.2/model - long v1.long m.a.b - longer m.a.longer m.xml xml - m.xml m." +
                            std::string(100, 'A') + " " + std::string(100, 'a') + " b m.b");
    for (std::string path, from, to, result; rows >> path >> from >> to >> result;) {
        EXPECT_EQ(taken(ChangeExtension(path.c_str(), orNull(from), orNull(to))), result);
        const std::wstring widePath = wide(path), wideFrom = wide(from), wideTo = wide(to);
        const auto* changed = ChangeExtensionWC(widePath.c_str(), orNull(wideFrom), orNull(wideTo));
        EXPECT_EQ(std::unique_ptr<const wchar_t[]>(changed).get(), wide(result));
    }
    EXPECT_EQ(ChangeExtension(nullptr, "a", "b"), nullptr);
}

TEST(Util, ProcessesAreFoundAndCommandsRunByTheirMode) {
    std::string name;
    std::getline(std::ifstream("/proc/self/comm"), name);
    EXPECT_TRUE(IsProcessRunning(name.c_str()) && !IsProcessRunning("no_such_name") && !IsProcessRunning(nullptr));
    EXPECT_FALSE(IsFileExist(("_" + name + "_.chk").c_str()));
    const std::unique_ptr<char, decltype(&std::free)> former(getcwd(nullptr, 0), std::free);
    EXPECT_EQ(chdir("/proc"), 0);
    EXPECT_FALSE(IsProcessRunning(name.c_str())) << "without a check file";
    EXPECT_EQ(chdir(former.get()), 0);
    const pid_t child = fork();
    if (child == 0) _exit(0);
    waitpid(child, nullptr, 0);
    EXPECT_TRUE(IsProcessRunning(getpid()) && !IsProcessRunning(child));

    for (const int mode : {-1, 0, 1, 2, 3, 4, 5})
        for (const int length : {22, 1000, 0, -1000}) {
            int result = 0;
            const auto call = [&] { result = C_unixcall(mode, "{ echo seen; exit 3; }", length); };
            EXPECT_EQ(printedBy(call), mode >= 1 && mode <= 4 ? "seen\n" : "") << mode;
            EXPECT_EQ(result, mode >= 0 && mode <= 4 ? 3 << 8 : -1) << mode;
        }
    EXPECT_EQ(C_unixcall(0, nullptr, 5), -1);
    EXPECT_EQ(printedBy([] { C_unixcall(0, "echo a; echo b", 14); }), "a\n");
    testing::internal::CaptureStderr();
    C_unixcall(0, "ls /no_such", 11);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(Util, SleepingTakesItsTimeAndWrapsAroundAtThirtyTwoBits) {
    const auto start = std::chrono::steady_clock::now();
    SLEEP(250);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(250));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    SLEEP(4294968);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
}

TEST(Util, LinesEndAtEitherCharacterOrAfterNCharacters) {
    for (const auto& [n, lines] : {std::pair(9, "ab..cd.."), {3, "ab..cd.."}, {2, "ab...cd."}, {-5, "........"}}) {
        std::string content("ab\r\ncd\n"), read;
        std::FILE* stream = fmemopen(content.data(), content.size(), "r");
        while (read.size() < 8) {
            std::vector<char> buffer(static_cast<std::size_t>(std::max(n, 0)) + 1, 'x');
            fgets_modified(buffer.data(), n, stream);
            read += buffer.data() + std::string(".");
        }
        std::fclose(stream);
        EXPECT_EQ(read, lines);
    }
}

TEST(Util, NumbersKeepNineDigitsAndAClampedPower) {
    const auto read = [](const std::string& text) { return fstrtod(text.c_str(), nullptr); };
    const std::string zeros(5000, '0'), nines(5000, '9');
    EXPECT_EQ(read("1234567891234"), 1234567890000.0);
    EXPECT_EQ(read("0.000000000123") + read("0." + zeros + "1e" + nines) + fstrtod(nullptr, nullptr), 0.0);
    EXPECT_TRUE(read("1e400") == 1e299 && read("-1e-" + nines) == -1e-299 && read("1" + zeros + "e-5000") == 1.0);
    for (const char* text : {"", "1.5e3", "-.1ex", "+", "0-0.", "-e5"}) EXPECT_EQ(isnumber(text), 1) << text;
    for (const char* text : {"1+2", "e5", " 1", "1 ", "0.0000000001", "0+0+"}) EXPECT_EQ(isnumber(text), 0) << text;
    EXPECT_EQ(isnumber(nullptr), 0);

    for (int power = -310; power <= 310; ++power) expectLikeModel("-7.25e" + std::to_string(power));
    for (int i = 0; i < 10000; ++i) {
        expectLikeModel(randomText("0015.+-eE", 7));
        expectLikeModel(randomText("09.+-eE \t\nx\xff", 9));
        expectLikeModel(randomText("0123456789.", 24) + "e" + randomText("-123", 4));
    }
}

TEST(Util, BrokenLinesCloseAndReopenQuotes) {
    char** parts = nullptr;
    for (int i = 0; i < 20000; ++i) {
        const std::string text = randomText("\"'`ab ", 40);
        const int width = i % 9 + 1;
        std::string lines;
        for (int k = 0, nParts = BreakLongString(width, text.c_str(), &parts); k < nParts; ++k) {
            parts[k][width + 2] = '\0';
            lines += taken(parts[k]) + "\n";
        }
        delete[] parts;
        ASSERT_EQ(lines, modelLines(static_cast<std::size_t>(width), text));
        ASSERT_EQ(taken(InsertReturnCharacters(width, text.c_str())), lines.substr(0, lines.rfind('\n')));
    }
    EXPECT_EQ(BreakLongString(0, "text", &parts) + BreakLongString(-4, "text", &parts), 0);
    EXPECT_EQ(BreakLongString(4, nullptr, &parts) + BreakLongString(4, "text", nullptr), 0);
}

TEST(Util, ReplacingCountsOverlapsButReplacesWithoutThem) {
    for (int i = 0; i < 6000; ++i) {
        const std::string text = randomText("ab", 12), from = "a" + randomText("ab", 2), to = randomText("abc", 4);
        const auto count = [&text](const std::regex& form) {
            return static_cast<int>(std::distance(std::sregex_iterator(text.begin(), text.end(), form), {}));
        };
        const std::string result = std::regex_replace(text, std::regex(from), to);
        const int nFound = count(std::regex("(?=" + from + ")")), change = static_cast<int>(to.size() - from.size());
        ASSERT_EQ(ReplaceSubstringNewLength(text.c_str(), from.c_str(), to.c_str()),
                  nFound == 0 ? -1 : static_cast<int>(text.size()) + 1 + nFound * change);
        std::vector<char> out(result.size() + 1, 'x'), same(text.c_str(), text.c_str() + text.size() + 1);
        same.resize(std::max(same.size(), out.size()));
        ASSERT_EQ(ReplaceSubstring(text.c_str(), from.c_str(), to.c_str(), out.data()), count(std::regex(from)));
        ASSERT_EQ(ReplaceSubstring(same.data(), from.c_str(), to.c_str(), same.data()), count(std::regex(from)));
        ASSERT_EQ((Strings{out.data(), same.data()}), (Strings{result, result})) << text << " " << from << " " << to;
    }
    char out[] = "out";
    EXPECT_EQ(ReplaceSubstring(nullptr, "a", "a", out) + ReplaceSubstring("a", nullptr, "a", out), -2);
    EXPECT_EQ(ReplaceSubstring("a", "a", nullptr, out) + ReplaceSubstring("a", "a", "a", nullptr), -2);
    EXPECT_EQ(ReplaceSubstringNewLength(nullptr, "a", "") + ReplaceSubstringNewLength("a", nullptr, ""), -2);
    EXPECT_EQ(ReplaceSubstringNewLength("a", "a", nullptr) + ReplaceSubstringNewLength("a", "", "b"), -2);
    EXPECT_EQ(ReplaceSubstring("a", "", "b", out), 0);
}

TEST(Util, BytesSurviveSevenBitsExceptTwoAndElementsAreReversed) {
    for (int byte = 1; byte < 256; ++byte) {
        const std::string text = {'a', static_cast<char>(byte), 'b', static_cast<char>(byte)};
        char* seven = str8to7(strdup(text.c_str()));
        EXPECT_FALSE(std::regex_search(seven, std::regex("[^\x01-\x7f]"))) << byte;
        EXPECT_EQ(std::string(str7to8(seven)), byte == 127 ? "a\xe2\x7f" : byte == 128 ? "a\x7f" : text);
        std::free(seven);
    }
    char unpaired[] = "\xc8"
                      "a\x7f";
    EXPECT_EQ(std::string(str7to8(unpaired)), "\xe1\x7f");
    EXPECT_TRUE(!str8to7(nullptr) && !str7to8(nullptr));
    char data[] = "abcdefgh";
    for (const auto& [size, count] : {std::pair{3, 2}, {0, 2}, {-3, 2}, {3, 0}, {3, -2}}) {
        ReverseByteMemory(data, size, count), ReverseByteMemory(nullptr, size, count);
        EXPECT_STREQ(data, "cbafedgh");
    }
}

TEST(Util, TextsAreTrimmedCutCopiedAndJudged) {
    const auto all = [](char* (*change)(char*), const Strings& texts) {
        std::string changed;
        for (std::string text : texts) changed += change(text.data()) + std::string("|");
        return change(nullptr) == nullptr ? changed : "not null";
    };
    EXPECT_EQ(all(rtrim, {" a\v\t\r\n ", " \n", ""}), " a\v|||");
    EXPECT_EQ(all(ltrim, {"\r\n\t a b ", " \n"}) + all(lrtrim, {" \ta b\n ", ""}), "a b ||a b||");
    EXPECT_EQ(all(ucase, {"az{`AZ\xe4"}) + all(lcase, {"AZ[@az\xc4"}), "AZ{`AZ\xe4|az[@az\xc4|");
    EXPECT_EQ(all(lcaseq, {"AB\"CD\"EF\"GH"}), "ab\"CD\"ef\"GH|");
    const auto cut = [](const char* text, int start, int count) {
        std::vector<char> out(static_cast<std::size_t>(std::max(count, 0)) + 1, 'x');
        return strmid(out.data(), text, start, count) + std::string("|");
    };
    EXPECT_EQ(cut("abcdef", 2, 3) + cut("abc", 2, 3) + cut("abc", INT_MAX, 2), "cde|c  |  |");
    EXPECT_EQ(cut("abc", -1, 3) + cut("abc", 1, -7) + cut(nullptr, 0, 2), " ab||  |");
    EXPECT_EQ(taken(strndup("abc", 2)) + taken(strndup("abc", 9)) + taken(strndup("abc", -1)), "ababc");
    int added = 7;
    EXPECT_EQ(taken(AddCrLf("a\n\r", &added)) + taken(RemoveCrLf("b\r\n")), "a\n\rb\r\n");
    EXPECT_TRUE(added == 0 && !strndup(nullptr, 1) && !AddCrLf(nullptr, nullptr) && !RemoveCrLf(nullptr));
    EXPECT_EQ(chrcnt("abcab", 'b') + chrcnt("b", '\0') + chrcnt(nullptr, 'b'), 2);
    EXPECT_TRUE(IsValidVariableName("a") && IsValidVariableName("Z9_") && !IsValidVariableName(nullptr));
    for (const char* name : {"", "_a", "9a", "a b", "\xe4"}) EXPECT_EQ(IsValidVariableName(name), 0) << name;
}
