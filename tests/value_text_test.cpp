// The value file's numbers against the C library's own.
#include "resources/value_text.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>

#include <gtest/gtest.h>

namespace {

void expectAsPrinted(double value) {
    char expected[512];
    std::snprintf(expected, sizeof expected, "%f", value);
    ValueText room;
    ASSERT_EQ(writeValue(value, room), expected);
    std::snprintf(expected, sizeof expected, "%f", -value);
    ASSERT_EQ(writeValue(-value, room), expected);
}

} // namespace

TEST(ValueText, IsWhatAFormattedPrintWritesForEveryKindOfValue) {
    using Limits = std::numeric_limits<double>;
    constexpr double usual[] = {0.0,  0.5e-6, 1.5e-6, 2.5e-6, 0.4999995, 0.9999995, 1.0,       -99999.0,
                                1e15, 1e16,   1e22,   1e300,  0.1,       1e-320,    2.0 / 3.0, 9007199254740993.0};
    for (const double value : usual) expectAsPrinted(value);
    for (const double value :
         {Limits::max(), Limits::min(), Limits::denorm_min(), Limits::infinity(), Limits::quiet_NaN()})
        expectAsPrinted(value);
    std::mt19937_64 random(20);
    for (int i = 0; i < 20'000; ++i) {
        const std::uint64_t bits = random();
        double any = 0.0;
        std::memcpy(&any, &bits, sizeof any);
        expectAsPrinted(any);
        expectAsPrinted(std::ldexp(static_cast<double>(bits >> 11), i % 90 - 60)); // about the size of a model's values
        expectAsPrinted((static_cast<double>(bits % 4'000'000) + 0.5) * 1e-6);     // near the middle of two strings
    }
}
