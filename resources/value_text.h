// Real values as the value file has them.
#pragma once

#include <array>
#include <charconv>
#include <string_view>

/// Room for every value: a sign, 309 digits, a full stop, six decimals.
using ValueText = std::array<char, 317>;

/// The value in fixed notation with six decimals, as "%f" writes it in the "C" locale, in whatever locale and rounding
/// mode the process is (rounded to nearest). The text stands in `room`, without a zero behind it.
inline std::string_view writeValue(double value, ValueText& room) {
    constexpr int decimals = 6;
    const auto end =
        std::to_chars(room.data(), room.data() + room.size(), value, std::chars_format::fixed, decimals).ptr;
    return {room.data(), static_cast<std::size_t>(end - room.data())};
}
