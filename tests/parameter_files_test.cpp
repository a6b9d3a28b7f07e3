// Parameter files as people and tools write them, and as nobody should.
#include "resources/parameter_records.h"

#include <algorithm>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support.h"

using testing::ElementsAre;
using testing::Optional;

namespace {

class ParameterFile : public testing::Test {
protected:
    int read(const std::string& content) {
        writeFile(path, content);
        const int result = fread_par(path.c_str(), &memory.record);
        EXPECT_EQ(memory.after, "untouched");
        return result;
    }

    const Folder folder;
    const std::string path = folder.path / "fmu2ts.par";
    const std::string head = "one\r\ntwo\n 2.5 s\n1 port\n2\n30\n4\nx\n-6\n", names = "in.xml\nout\n\n";
    struct {
        FmuParRecord record{};
        std::string after = "untouched";
    } memory;
    const FmuParRecord& record = memory.record;
};

using Names = std::vector<std::string>;

class NameFile : public testing::Test {
protected:
    /// The names of the reals, integers, booleans and strings, or nothing; `result` is that of the reading.
    std::optional<std::vector<Names>> read(const std::string& content) {
        const Folder folder;
        const std::string path = folder.path / "mv.par";
        writeFile(path, content);
        MvParRecord record{-5, 0, 0, 0, nullptr, nullptr, nullptr, nullptr};
        result = fread_mv_par(path.c_str(), &record);
        if (result != 0) {
            EXPECT_EQ(record.nRealNames, -5) << "left as it was";
            return std::nullopt;
        }
        std::vector<Names> all{{record.realNames, record.realNames + record.nRealNames},
                               {record.integerNames, record.integerNames + record.nIntegerNames},
                               {record.booleanNames, record.booleanNames + record.nBooleanNames},
                               {record.stringNames, record.stringNames + record.nStringNames}};
        releaseNames(record);
        return all;
    }

    int result = 0;
};

} // namespace

TEST(IntegersOfALine, AreSeparatedBySingleTabs) {
    const std::pair<const char*, std::vector<std::int32_t>> rows[] = {
        {"3\t2\t1\n", {3, 2, 1}},
        {"3 2 1\n", {3}}, // spaces do not separate
        {"\t3\n", {}},
        {"\n", {}},
        {"", {}},
        {"3\t\t1\n", {3}},
        {"3\t2", {3, 2}},
        {" 4 x\t-5\t+6\r\n", {4, -5, 6}},
        {"x\t \t7", {0, 0, 7}},
        {"010\t0x10", {10, 0}},
        {"1\t2\t3\t4\t5\t6\t7\t8\t9", {1, 2, 3, 4, 5, 6, 7, 8, 9}},
    };
    for (const auto& [line, expected] : rows) {
        std::int32_t values[16];
        const int count = get_int_vec_from_string(line, values);
        EXPECT_EQ(std::vector(values, values + count), expected) << line;
    }
    EXPECT_EQ(get_int_vec_from_string(nullptr, nullptr), -1);
}

TEST(StringOfALine, IsCopiedWholeAndEndsAtItsFirstLineFeed) {
    char text[] = "##########";
    EXPECT_EQ(get_string_from_string(text, "ab\r\ncd"), 3);
    EXPECT_EQ(std::string(text, 11), std::string("ab\r\0cd\0###\0", 11));
    EXPECT_EQ(get_string_from_string(text, "\nx"), 0);
    EXPECT_EQ(get_string_from_string(text, ""), 0);
    EXPECT_EQ(get_string_from_string(text, nullptr), -1);
}

TEST_F(ParameterFile, HoldsItsFieldsLineByLine) {
    EXPECT_EQ(read(head + names + "1.2.3.4\n2\n0\n3\t1\n5\t20\n"), 2);
    EXPECT_STREQ(record.headerLine1, "one\r");
    EXPECT_STREQ(record.headerLine2, "two");
    EXPECT_EQ(record.finalTime, 2.5);
    EXPECT_EQ(record.nInputPorts, 1);
    EXPECT_EQ(record.nOutputPorts, 2);
    EXPECT_EQ(record.nReal, 30);
    EXPECT_EQ(record.nInteger, 4);
    EXPECT_EQ(record.nBoolean, 0);
    EXPECT_EQ(record.nString, -6);
    EXPECT_STREQ(record.inputName, "in.xml");
    EXPECT_STREQ(record.outputName, "out");
    EXPECT_STREQ(record.subdllName, "");
    EXPECT_STREQ(record.ipAddress, "1.2.3.4");
    EXPECT_EQ(record.inputPortWidth[0], 2);
    EXPECT_EQ(record.outputPortWidth[1], 1);
    EXPECT_EQ(record.outputPortOffset[1], 20);
}

TEST_F(ParameterFile, KeepsTheNumbersOfTheFormerReadingWhereALineIsEmpty) {
    read(head + names + "a\n2\n0\n3\t1\n5\t20\n");
    EXPECT_EQ(read(head + names + "a\n\n\n\n\n"), 0);
    EXPECT_EQ(record.outputPortWidth[1], 1);
    EXPECT_EQ(record.outputPortOffset[1], 20);
}

TEST_F(ParameterFile, RepeatsItsLastLineAfterItsEnd) {
    EXPECT_EQ(read("7\n"), 1);
    EXPECT_EQ(record.finalTime, 7);
    EXPECT_EQ(record.nString, 7);
    EXPECT_STREQ(record.ipAddress, "7");
    EXPECT_EQ(record.outputPortOffset[0], 7);
}

TEST_F(ParameterFile, WithALongAddressRunsOnIntoThePortsAndIsCutAtTheEndOfTheRecord) {
    EXPECT_EQ(read(head + names + std::string(256, 'a') + "ABCDE" + std::string(700, 'z') + "\n\n\n\n\n"), 0);
    EXPECT_EQ(record.inputPortWidth[0], 0x44434241);
    EXPECT_EQ(parameterText(record, record.ipAddress).size(), 383U);
}

TEST_F(ParameterFile, WithALongHeaderIsOverwrittenByTheFieldsAfterIt) {
    read(std::string(1000, 'h') + "\n" + head.substr(5) + names + "a\n1\n2\n3\n4\n");
    EXPECT_EQ(std::string(record.headerLine1, 256), std::string(256, 'h'));
    EXPECT_EQ(std::string(record.headerLine2, 6), std::string("two\0\0h", 6));
    EXPECT_EQ(record.finalTime, 2.5);
    EXPECT_EQ(record.nString, -6);
    EXPECT_STREQ(record.inputName, "in.xml");
}

TEST_F(ParameterFile, WithTooManyPortsFillsTheNextVectorsAndStopsAtTheEndOfTheRecord) {
    std::string numbers;
    for (int i = 1; i <= 40; ++i) numbers += std::to_string(i) + "\t";
    EXPECT_EQ(read(head + names + "\n" + numbers + "\n\n\n\n"), 0);
    EXPECT_EQ(record.inputPortOffset[0], 9);
    EXPECT_EQ(record.outputPortOffset[7], 32);
    EXPECT_EQ(read(head + names + "\n\n\n\n" + numbers), 8);
}

TEST_F(ParameterFile, ThatCannotBeReadLeavesTheRecord) {
    read("7\n");
    EXPECT_EQ(read(""), -1);
    EXPECT_EQ(fread_par("/nowhere", &memory.record), -1);
    EXPECT_EQ(fread_par(nullptr, &memory.record), -1);
    EXPECT_EQ(record.nString, 7);
}

TEST_F(ParameterFile, StaysOpenAndSoDoTheLastSixtyFour) {
    for (int i = 0; i < 100; ++i) read("7\n");
    const auto isOpen = [this](const auto& file) { return fs::exists(file) && fs::read_symlink(file) == path; };
    EXPECT_EQ(std::count_if(fs::directory_iterator("/proc/self/fd"), {}, isOpen), 64);
}

TEST_F(NameFile, HoldsFourListsWithOneNamePerLine) {
    const std::string longest(1023, 'n');
    EXPECT_THAT(read("2\na\nb c\n0\n1\nx\r\n1\ns"),
                Optional(ElementsAre(Names{"a", "b c"}, Names{}, Names{"x\r"}, Names{"s"})));
    EXPECT_THAT(read("2 names\n\n" + longest + "y\n"),
                Optional(ElementsAre(Names{"", longest}, Names{}, Names{}, Names{})));
    EXPECT_THAT(read("none\n"), Optional(ElementsAre(Names{}, Names{}, Names{}, Names{})));
    EXPECT_THAT(read(""), Optional(ElementsAre(Names{}, Names{}, Names{}, Names{})));
    const Names one{"1"};
    EXPECT_THAT(read("1\n1"), Optional(ElementsAre(one, one, one, one))) << "the last line again and again";
}

TEST_F(NameFile, WithAnImpossibleCountIsRefused) {
    EXPECT_EQ(read("1\na\n-1\n"), std::nullopt);
    EXPECT_EQ(result, -2);
    EXPECT_EQ(read("1\na\n9999999\n"), std::nullopt);
    EXPECT_EQ(result, -2);
    MvParRecord record{};
    EXPECT_EQ(fread_mv_par("/nowhere", &record), -1);
    EXPECT_EQ(fread_mv_par(nullptr, nullptr), -1);
}
