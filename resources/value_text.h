// Formatting of real values for the value file.
#pragma once

#include <array>
#include <charconv>
#include <string_view>

/// Room for every value: a sign, 309 digits, a decimal point, six decimals.
using ValueText = std::array<char, 317>;

/// Formats the value with six decimals, as "%f" does in the "C" locale, rounded to nearest, whatever the locale and the
/// rounding mode of the process. The result is in `room`, without a terminator.
inline std::string_view writeValue(double value, ValueText& room) {
    constexpr int decimals = 6;
    const auto end =
        std::to_chars(room.data(), room.data() + room.size(), value, std::chars_format::fixed, decimals).ptr;
    return {room.data(), static_cast<std::size_t>(end - room.data())};
}
