// Reading values as XML schemas and the parameter files write them; nothing here depends on the locale.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace packaging::checking {

/// A text without blanks, tabs and line ends at both ends.
std::string_view trimmed(std::string_view text);

/// The words between white space.
std::vector<std::string_view> wordsOf(std::string_view text);

/// A decimal number, INF, -INF or NaN; white space may stand around it. Nothing for any other text.
std::optional<double> realOf(std::string_view text);

/// A whole number within the bounds; white space may stand around it.
std::optional<std::int64_t> wholeOf(std::string_view text, std::int64_t smallest, std::int64_t largest);

std::optional<std::int32_t> integerOf(std::string_view text);
std::optional<std::uint32_t> naturalOf(std::string_view text);

/// true, false, 1 or 0.
std::optional<bool> booleanOf(std::string_view text);

/// Whether it is a date and time such as 2024-05-31T12:00:00Z.
bool isDateAndTime(std::string_view text);

} // namespace packaging::checking
