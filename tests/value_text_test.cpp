// The value file's numbers against the C library's own.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "resources/value_text.h"

TEST(ValueText, IsWhatAFormattedPrintWritesForEveryKindOfValue) {
    using Limits = std::numeric_limits<double>;
    std::vector<double> values{0.0,
                               0.5e-6,
                               1.5e-6,
                               2.5e-6,
                               0.0000005,
                               0.4999995,
                               0.9999995,
                               1.0,
                               -99999.0,
                               1e15,
                               1e16,
                               1e22,
                               1e300,
                               0.1,
                               123456.7891235,
                               2.0 / 3.0,
                               1e-320,
                               9007199254740993.0,
                               Limits::max(),
                               Limits::min(),
                               Limits::denorm_min(),
                               Limits::infinity(),
                               Limits::quiet_NaN()};
    std::mt19937_64 random(20);
    for (int i = 0; i < 20'000; ++i) {
        const std::uint64_t bits = random();
        double any = 0.0;
        std::memcpy(&any, &bits, sizeof any);
        values.push_back(any);
        values.push_back(
            std::ldexp(static_cast<double>(bits >> 11), i % 90 - 60));             // about the size of a model's values
        values.push_back((static_cast<double>(bits % 4'000'000) + 0.5) * 1e-6);    // near the middle of two texts
        values.push_back(static_cast<double>(bits % 4'000'000) / 1024.0 / 1024.0); // some of them exactly there
    }
    for (const double magnitude : values) {
        for (const double value : {magnitude, -magnitude}) {
            char expected[512];
            std::snprintf(expected, sizeof expected, "%f", value);
            ValueText room;
            ASSERT_EQ(writeValue(value, room), expected);
        }
    }
}
