// Text of foreign origin as it can be shown on a terminal.
#pragma once

#include <string>
#include <string_view>

namespace tool {

/// Whether a text holds control characters, line ends among them, or what XML cannot hold.
bool hasControlCharacters(std::string_view text);

/// The text with its control characters escaped, such as \r and \x1b.
std::string printable(std::string_view text);

/// The text in double quotes, printable, and cut when it is long.
std::string inQuotes(std::string_view text);

} // namespace tool
