// util/numbers.h, against a slow model over many random strings.
#include "util/numbers.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <regex>
#include <tuple>

#include <gtest/gtest.h>

#include "tests/tools/utilities.h"

namespace {

/// Value, sign and length of the number that a string begins with, by the rule of nine digits and a clamped power.
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

} // namespace

TEST(Numbers, KeepNineDigitsAndAClampedPower) {
    const std::string zeros(5000, '0'), nines(5000, '9');
    const std::pair<std::string, double> rows[] = {{"1234567891234", 1234567890000.0}, {"0.000000000123", 0},
                                                   {"0." + zeros + "1e" + nines, 0},   {"1e400", 1e299},
                                                   {"-1e-" + nines, -1e-299},          {"1" + zeros + "e-5000", 1}};
    for (const auto& [text, value] : rows) EXPECT_EQ(fstrtod(text.c_str(), nullptr), value) << text.substr(0, 20);
    EXPECT_EQ(fstrtod(nullptr, nullptr), 0);
}

TEST(Numbers, AreThoseOfTheModel) {
    EXPECT_EQ(isnumber(nullptr), 0);
    for (int power = -310; power <= 310; ++power) expectLikeModel("-7.25e" + std::to_string(power));
    for (int i = 0; i < 10000; ++i) {
        expectLikeModel(randomText("0015.+-eE", 7));
        expectLikeModel(randomText("09.+-eE \t\nx\xff", 9));
        expectLikeModel(randomText("0123456789.", 24) + "e" + randomText("-123", 4));
    }
}
