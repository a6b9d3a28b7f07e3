// Numbers and words as XML schemas, the parameter files and the value file write them; nothing here depends on the
// locale.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// A text without spaces, tabs and line ends at both ends.
std::string_view trimmed(std::string_view text);

/// The words between white space.
std::vector<std::string_view> wordsOf(std::string_view text);

/// A decimal number, INF, -INF or NaN, perhaps with white space around it. Nothing for any other text.
std::optional<double> realOf(std::string_view text);

/// A whole number within the bounds, perhaps with white space around it.
std::optional<std::int64_t> wholeOf(std::string_view text, std::int64_t smallest, std::int64_t largest);

std::optional<std::int32_t> integerOf(std::string_view text);
std::optional<std::uint32_t> naturalOf(std::string_view text);

/// true, false, 1 or 0.
std::optional<bool> booleanOf(std::string_view text);

/// Whether it is a date and time such as 2024-05-31T12:00:00Z.
bool isDateAndTime(std::string_view text);

/// The shortest text that reads back as the same number, with a decimal point.
std::string shortest(double value);

/// A finite value as the solver receives it, after the six decimals of the value file.
double throughValueFile(double value);

/// Whether the value file changes a finite value by more than 1e-9 of itself.
bool losesDigits(double value);

} // namespace tool
