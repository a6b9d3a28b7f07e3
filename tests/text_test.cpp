// The utilities for strings: util/text.h, line_breaking.h, line_input.h, replacing.h, bytes.h.
#include "util/text.h"

#include <climits>
#include <cstdlib>
#include <regex>
#include <vector>

#include <gtest/gtest.h>

#include "tests/tools/utilities.h"
#include "util/bytes.h"
#include "util/line_breaking.h"
#include "util/line_input.h"
#include "util/replacing.h"

namespace {

/// The broken string, each part with a line feed, from the quotes that are open at each position.
std::string modelLines(std::size_t width, const std::string& text) {
    std::vector<std::string> open{""};
    for (const char c : text) {
        const bool isQuote = c == '"' || c == '\'' || c == '`';
        open.push_back(open.back().empty() ? std::string(isQuote, c) : open.back()[0] == c ? "" : open.back());
    }
    std::string lines;
    for (std::size_t at = 0; at < text.size(); at += width)
        lines += open[at] + text.substr(at, width) + open[std::min(at + width, text.size())] + "\n";
    return lines;
}

std::string cut(const char* text, int start, int count) {
    std::vector<char> out(static_cast<std::size_t>(std::max(count, 0)) + 1, 'x');
    return strmid(out.data(), text, start, count);
}

} // namespace

TEST(Text, IsTrimmedAndChangedInPlace) {
    const struct {
        char* (*change)(char*);
        std::string text, result;
    } rows[] = {{rtrim, " a\v\t\r\n ", " a\v"},      {rtrim, " \n", ""},
                {ltrim, "\r\n\t a b ", "a b "},      {ltrim, " \n", ""},
                {lrtrim, " \ta b\n ", "a b"},        {ucase, "az{`AZ\xe4", "AZ{`AZ\xe4"},
                {lcase, "AZ[@az\xc4", "az[@az\xc4"}, {lcaseq, "AB\"CD\"EF\"GH", "ab\"CD\"ef\"GH"}};
    for (const auto& row : rows) {
        std::string text = row.text, empty;
        EXPECT_EQ(row.change(text.data()), row.result);
        EXPECT_STREQ(row.change(empty.data()), "");
        EXPECT_EQ(row.change(nullptr), nullptr);
    }
}

TEST(Text, IsCutWithSpacesOutsideOfIt) {
    EXPECT_EQ(cut("abcdef", 2, 3), "cde");
    EXPECT_EQ(cut("abc", 2, 3), "c  ");
    EXPECT_EQ(cut("abc", INT_MAX, 2), "  ");
    EXPECT_EQ(cut("abc", -1, 3), " ab");
    EXPECT_EQ(cut("abc", 1, -7), "");
    EXPECT_EQ(cut(nullptr, 0, 2), "  ");
}

TEST(Text, IsCopied) {
    EXPECT_EQ(taken(strndup("abc", 2)), "ab");
    EXPECT_EQ(taken(strndup("abc", 9)), "abc");
    EXPECT_EQ(taken(strndup("abc", -1)), "");
    EXPECT_EQ(strndup(nullptr, 1), nullptr);
    EXPECT_EQ(taken(RemoveCrLf("b\r\n")), "b\r\n");
    EXPECT_EQ(RemoveCrLf(nullptr), nullptr);
    int added = 7;
    EXPECT_EQ(taken(AddCrLf("a\n\r", &added)), "a\n\r");
    EXPECT_EQ(added, 0);
    EXPECT_EQ(AddCrLf(nullptr, nullptr), nullptr);
}

TEST(Text, IsCountedAndJudged) {
    EXPECT_EQ(chrcnt("abcab", 'b'), 2);
    EXPECT_EQ(chrcnt("b", '\0'), 0);
    EXPECT_EQ(chrcnt(nullptr, 'b'), 0);
    for (const char* name : {"a", "Z9_"}) EXPECT_EQ(IsValidVariableName(name), 1) << name;
    for (const char* name : {"", "_a", "9a", "a b", "\xe4"}) EXPECT_EQ(IsValidVariableName(name), 0) << name;
    EXPECT_EQ(IsValidVariableName(nullptr), 0);
}

TEST(LineInput, EndsALineAtEitherCharacterOrAfterNCharacters) {
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

TEST(LineBreaking, ClosesAndReopensQuotes) {
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
    EXPECT_EQ(BreakLongString(0, "text", &parts), 0);
    EXPECT_EQ(BreakLongString(-4, "text", &parts), 0);
    EXPECT_EQ(BreakLongString(4, nullptr, &parts), 0);
    EXPECT_EQ(BreakLongString(4, "text", nullptr), 0);
}

TEST(Replacing, CountsOverlapsButReplacesWithoutThem) {
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
        ASSERT_EQ(out.data(), result) << text << " " << from << " " << to;
        ASSERT_EQ(same.data(), result) << text << " " << from << " " << to;
    }
}

TEST(Replacing, RefusesNullAndFindsNoEmptyPattern) {
    char out[] = "out";
    const char* const rows[][3] = {{nullptr, "a", "a"}, {"a", nullptr, "a"}, {"a", "a", nullptr}};
    for (const auto& [text, from, to] : rows) {
        EXPECT_EQ(ReplaceSubstring(text, from, to, out), -1);
        EXPECT_EQ(ReplaceSubstringNewLength(text, from, to), -1);
    }
    EXPECT_EQ(ReplaceSubstring("a", "a", "a", nullptr), -1);
    EXPECT_EQ(ReplaceSubstring("a", "", "b", out), 0);
    EXPECT_EQ(ReplaceSubstringNewLength("a", "", "b"), -1);
}

TEST(Bytes, SurviveSevenBitsExceptTwo) {
    for (int byte = 1; byte < 256; ++byte) {
        const std::string text = {'a', static_cast<char>(byte), 'b', static_cast<char>(byte)};
        char* seven = str8to7(strdup(text.c_str()));
        EXPECT_FALSE(std::regex_search(seven, std::regex("[^\x01-\x7f]"))) << byte;
        EXPECT_EQ(std::string(str7to8(seven)), byte == 127 ? "a\xe2\x7f" : byte == 128 ? "a\x7f" : text);
        std::free(seven);
    }
    char unpaired[] = {'\xc8', 'a', '\x7f', '\0'};
    EXPECT_STREQ(str7to8(unpaired), "\xe1\x7f");
    EXPECT_EQ(str8to7(nullptr), nullptr);
    EXPECT_EQ(str7to8(nullptr), nullptr);
}

TEST(Bytes, AreReversedElementByElement) {
    char data[] = "abcdefgh";
    for (const auto& [size, count] : {std::pair{3, 2}, {0, 2}, {-3, 2}, {3, 0}, {3, -2}}) {
        ReverseByteMemory(data, size, count);
        EXPECT_STREQ(data, "cbafedgh");
    }
    ReverseByteMemory(nullptr, 3, 2);
}
