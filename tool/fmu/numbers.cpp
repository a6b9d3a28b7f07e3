#include "tool/fmu/numbers.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <regex>
#include <string>

#include "resources/value_text.h"

namespace tool {

namespace {

constexpr std::string_view whiteSpace = " \t\r\n";

/// A plus sign is allowed by XML schemas and unknown to from_chars.
std::string_view withoutPlus(std::string_view text) {
    return text.size() > 1 && text[0] == '+' && text[1] != '-' ? text.substr(1) : text;
}

template <typename Value>
std::optional<Value> parsed(std::string_view text) {
    text = withoutPlus(text);
    Value value{};
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (failure != std::errc() || end != text.data() + text.size()) return {};
    return value;
}

} // namespace

std::string_view trimmed(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(whiteSpace);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(whiteSpace) + 1 - begin);
}

std::vector<std::string_view> wordsOf(std::string_view text) {
    std::vector<std::string_view> words;
    for (text = trimmed(text); !text.empty();) {
        const std::size_t length = std::min(text.find_first_of(whiteSpace), text.size());
        words.push_back(text.substr(0, length));
        text = trimmed(text.substr(length));
    }
    return words;
}

std::optional<double> realOf(std::string_view text) {
    text = trimmed(text);
    if (text == "INF") return std::numeric_limits<double>::infinity();
    if (text == "-INF") return -std::numeric_limits<double>::infinity();
    if (text == "NaN") return std::numeric_limits<double>::quiet_NaN();
    if (text.find_first_not_of("+-.0123456789eE") != std::string_view::npos) return {};
    return parsed<double>(text);
}

std::optional<std::int64_t> wholeOf(std::string_view text, std::int64_t smallest, std::int64_t largest) {
    const auto value = parsed<std::int64_t>(trimmed(text));
    return value && *value >= smallest && *value <= largest ? value : std::nullopt;
}

std::optional<std::int32_t> integerOf(std::string_view text) {
    using Limits = std::numeric_limits<std::int32_t>;
    const auto value = wholeOf(text, Limits::min(), Limits::max());
    return value ? std::optional(static_cast<std::int32_t>(*value)) : std::nullopt;
}

std::optional<std::uint32_t> naturalOf(std::string_view text) {
    const auto value = wholeOf(text, 0, std::numeric_limits<std::uint32_t>::max());
    return value ? std::optional(static_cast<std::uint32_t>(*value)) : std::nullopt;
}

std::optional<bool> booleanOf(std::string_view text) {
    text = trimmed(text);
    if (text == "true" || text == "1") return true;
    if (text == "false" || text == "0") return false;
    return {};
}

bool isDateAndTime(std::string_view text) {
    constexpr std::size_t longest = 64;
    static const std::regex form(R"(-?\d{4,}-(0[1-9]|1[0-2])-(0[1-9]|[12]\d|3[01]))"
                                 R"(T([01]\d|2[0-3]):[0-5]\d:[0-5]\d(\.\d+)?(Z|[+-]\d\d:\d\d)?)");
    text = trimmed(text);
    return text.size() <= longest && std::regex_match(text.begin(), text.end(), form);
}

std::string shortest(double value) {
    std::array<char, 32> text{};
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

double throughValueFile(double value) {
    ValueText room;
    const std::string_view text = writeValue(value, room);
    double passed = value;
    std::from_chars(text.data(), text.data() + text.size(), passed);
    return passed;
}

bool losesDigits(double value) {
    constexpr double tolerable = 1e-9;
    return std::abs(throughValueFile(value) - value) > tolerable * std::abs(value);
}

} // namespace tool
