// Parameter files as people and tools write them, against a reader that knows no bounds but has room to spill.
#include <cstring>
#include <random>
#include <utility>

#include <gtest/gtest.h>

#include "resources/parameter_files.h"
#include "tests/support.h"

namespace {

/// Reads into a record with much room behind it, then cuts texts at the record's end.
class ModelReader {
public:
    void read(const std::string& content) {
        rest_ = content;
        text(0), text(256);
        put(512, std::strtod(next(), nullptr));
        for (std::size_t offset = 520; offset < 544; offset += 4) put(offset, std::atoi(next()));
        text(544), text(1568), text(2592), text(3616);
        for (std::size_t offset = 3872; offset < 4000; offset += 32) integers(offset);
    }

    std::string bytes = std::string(9000, '\0');

private:
    /// Behind the end the last line again.
    const char* next() {
        const std::size_t size = std::min({rest_.find('\n'), rest_.size() - 1, std::size_t{1022}}) + 1;
        if (!rest_.empty()) line_ = rest_.substr(0, size);
        rest_.erase(0, size);
        return line_.c_str();
    }

    template <typename Number>
    void put(std::size_t offset, Number number) {
        std::memcpy(bytes.data() + offset, &number, sizeof number);
    }

    void text(std::size_t offset) {
        std::strcpy(bytes.data() + offset, next());
        if (offset + line_.size() > 3999) bytes[3999] = '\0';
        bytes[offset + std::min(line_.find('\n'), line_.size())] = '\0';
    }

    void integers(std::size_t offset) {
        next();
        for (std::size_t at = 0; at < line_.size() && line_[at] != '\t' && line_[at] != '\n'; offset += 4) {
            const std::size_t end = std::min(line_.find_first_of("\t\n", at), line_.size());
            put(offset, std::atoi(line_.substr(at, end - at).c_str()));
            at = end + 1;
        }
    }

    std::string rest_, line_;
};

} // namespace

TEST(ParameterFiles, IntegersAreSeparatedBySingleTabsAndATextEndsAtItsFirstLineFeed) {
    const std::pair<std::string, std::string> rows[] = {
        {"3\t2\t1\n", "3 2 1 "},
        {"3 2 1\n", "3 "}, // blanks do not separate
        {"\t3\n", ""},
        {"\n", ""},
        {"", ""},
        {"3\t\t1\n", "3 "},
        {"3\t2", "3 2 "},
        {" 4 x\t-5\t+6\r\n", "4 -5 6 "},
        {"x\t \t7", "0 0 7 "},
        {"1\t2\t3\t4\t5\t6\t7\t8\t9", "1 2 3 4 5 6 7 8 9 "},
    };
    for (const auto& [line, expected] : rows) {
        std::int32_t values[16];
        std::string list;
        const int count = get_int_vec_from_string(line.c_str(), values);
        for (int i = 0; i < count; ++i) list += std::to_string(values[i]) + " ";
        EXPECT_EQ(list, expected) << line;
    }
    char text[] = "##########";
    EXPECT_EQ(get_string_from_string(text, "ab\r\ncd"), 3);
    EXPECT_EQ(std::string(text, 11), std::string("ab\r\0cd\0###\0", 11));
    EXPECT_EQ(get_string_from_string(text, "\nx") + get_string_from_string(text, ""), 0);
    EXPECT_EQ(get_string_from_string(text, nullptr) + get_int_vec_from_string(nullptr, nullptr), -2);
}

TEST(ParameterFiles, WhateverAFileHoldsSpillsIntoTheNextFieldsAndStopsAtTheEndOfTheRecord) {
    const Folder folder;
    const std::string path = folder.path / "fmu2ts.par", canary(64, '#');
    std::mt19937 random(7);
    const auto below = [&random](std::size_t n) { return random() % n; };
    const auto line = [&] {
        constexpr std::size_t lengths[] = {0, 3, 255, 256, 300, 383, 384, 500, 1021, 1022, 1023, 1024, 2100};
        if (below(3) == 0) return std::string(lengths[below(std::size(lengths))], static_cast<char>('a' + below(26)));
        std::string numbers;
        for (std::size_t n = below(below(4) == 0 ? 60 : 9); n > 0; --n)
            numbers += std::to_string(below(1000)) + (below(12) == 0 ? " " : below(12) == 0 ? "\t\t" : "\t");
        return numbers.substr(0, numbers.size() - std::min(below(2), numbers.size()));
    };
    struct {
        FmuParRecord record{};
        char behind[64];
    } read;
    canary.copy(read.behind, sizeof read.behind);
    ModelReader model;
    for (int i = 0; i < 600; ++i) {
        std::string content;
        for (std::size_t k = below(4) == 0 ? 1 + below(17) : 17; k > 0; --k)
            content += line() + (below(9) == 0 ? "\r\n" : "\n");
        if (below(5) == 0) content.pop_back();
        if (content.empty()) continue;
        writeFile(path, content);
        EXPECT_GE(fread_par(path.c_str(), &read.record), 0);
        model.read(content);
        ASSERT_EQ(std::string(reinterpret_cast<char*>(&read), 4064), model.bytes.substr(0, 4000) + canary) << content;
    }
    EXPECT_EQ(fread_par("/nowhere", &read.record) + fread_par(nullptr, &read.record) + fread_par(path.c_str(), nullptr),
              -3);
    const auto& descriptors = fs::directory_iterator("/proc/self/fd");
    const auto isOpen = [&path](const auto& file) { return fs::exists(file) && fs::read_symlink(file) == path; };
    EXPECT_EQ(std::count_if(begin(descriptors), end(descriptors), isOpen), 64) << "streams stay open, but only so many";
}

TEST(ParameterFiles, FourListsOfNamesAreReadLineByLine) {
    const Folder folder;
    const std::string path = folder.path / "mv.par", longest(1023, 'n');
    // A file, and the names of the reals, integers, booleans, strings; or the failure.
    const std::pair<std::string, std::string> rows[] = {
        {"2\na\nb c\n0\n1\nx\r\n1\ns", "a,b c,||x\r,|s,|"},
        {"2 names\n\n" + longest + "y\n", "," + longest + ",||||"},
        {"1\n1", "1,|1,|1,|1,|"}, // the last line again and again
        {"none\n", "||||"},
        {"", "||||"},
        {"1\na\n-1\n", "-2"},
        {"1\na\n9999999\n", "-2"},
    };
    for (const auto& [content, expected] : rows) {
        writeFile(path, content);
        MvParRecord record{-5, 0, 0, 0, nullptr, nullptr, nullptr, nullptr};
        const int result = fread_mv_par(path.c_str(), &record);
        std::string lists = result == 0 ? "" : std::to_string(result);
        const auto add = [&lists](char** names, int count) {
            for (int i = 0; i < count; ++i) lists += names[i] + std::string(",");
            lists += "|";
        };
        if (result == 0) {
            add(record.realNames, record.nRealNames), add(record.integerNames, record.nIntegerNames);
            add(record.booleanNames, record.nBooleanNames), add(record.stringNames, record.nStringNames);
            releaseNames(record);
        } else {
            EXPECT_EQ(record.nRealNames, -5) << "left as it was";
        }
        EXPECT_EQ(lists, expected) << content;
    }
    EXPECT_EQ(fread_mv_par("/nowhere", nullptr) + fread_mv_par(nullptr, nullptr), -2);
}
