// Parameter files as people and tools write them, and as nobody should.
#include <algorithm>
#include <cstring>
#include <utility>

#include <gtest/gtest.h>

#include "resources/parameter_files.h"
#include "tests/support.h"

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
    const std::string path = folder.path / "fmu2ts.par";
    struct {
        FmuParRecord record{};
        std::string behind = "untouched";
    } read;
    const auto& record = read.record;
    const auto reading = [&](const std::string& content) {
        writeFile(path, content);
        const int result = fread_par(path.c_str(), &read.record);
        EXPECT_EQ(read.behind, "untouched");
        return result;
    };
    const std::string head = "one\r\ntwo\n 2.5 s\n1 port\n2\n30\n4\nx\n-6\n", names = "in.xml\nout\n\n";

    EXPECT_EQ(reading(head + names + "1.2.3.4\n2\n0\n3\t1\n5\t20\n"), 2);
    EXPECT_EQ(record.headerLine1 + std::string(record.headerLine2), "one\rtwo");
    EXPECT_TRUE(record.finalTime == 2.5 && record.nInputPorts == 1 && record.nOutputPorts == 2 && record.nReal == 30);
    EXPECT_TRUE(record.nInteger == 4 && record.nBoolean == 0 && record.nString == -6);
    EXPECT_EQ(std::string(record.inputName) + record.outputName + record.subdllName, "in.xmlout");
    EXPECT_EQ(record.outputPortWidth[1] * 100 + record.outputPortOffset[1], 120);

    // An overlong address runs on into the port fields, where empty lines leave it, and is cut at the end.
    EXPECT_EQ(reading(head + names + std::string(256, 'a') + "ABCDE" + std::string(700, 'z') + "\n\n\n\n\n"), 0);
    EXPECT_EQ(record.inputPortWidth[0], 0x44434241);
    EXPECT_EQ(parameterText(record, record.ipAddress).size(), 383U);

    // An overlong header is overwritten by the fields whose lines follow it.
    EXPECT_EQ(reading(std::string(1000, 'h') + "\n" + head.substr(5) + names + "a\n1\n2\n3\n4\n"), 1);
    EXPECT_EQ(std::string(record.headerLine1, 256) + record.headerLine2, std::string(256, 'h') + "two");
    EXPECT_EQ(record.inputName + std::string(record.headerLine2, 6), std::string("in.xmltwo\0\0h", 12));
    EXPECT_TRUE(record.finalTime == 2.5 && record.nInputPorts == 1 && record.nString == -6);

    // The 33rd number of the first vector would leave the record; the 9th to 32nd are in the next ones.
    std::string numbers;
    for (int i = 1; i <= 40; ++i) numbers += std::to_string(i) + "\t";
    EXPECT_EQ(reading(head + names + "\n" + numbers + "\n\n\n\n"), 0);
    EXPECT_EQ(record.inputPortOffset[0] * 100 + record.outputPortOffset[7], 932);
    EXPECT_EQ(reading(head + names + "\n" + numbers + "\n" + numbers + "\n" + numbers + "\n" + numbers), 8);

    EXPECT_EQ(reading("7\n"), 1) << "the last line again and again";
    EXPECT_TRUE(record.finalTime == 7.0 && record.nString == 7 && record.outputPortOffset[0] == 7);
    EXPECT_EQ(reading("") + fread_par("/nowhere", &read.record) + fread_par(nullptr, &read.record), -3);
    EXPECT_EQ(record.nString, 7) << "left as it was";

    for (int i = 0; i < 100; ++i) reading("7\n");
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
