// Text of foreign origin as it can be shown on a terminal, and how near two words are.
#pragma once

#include <string>
#include <string_view>

namespace tool {

/// Whether a text holds control characters, line ends among them, or what XML cannot hold.
bool hasControlCharacters(std::string_view text);

/// The text as a terminal shows it without harm, all of it: control characters (\r, \x1b), bytes that are not UTF-8
/// (\xff), and characters that are invisible or change the direction of writing (\u202e) are escaped.
std::string printable(std::string_view text);

/// The text printable, and cut when it is longer than a person reads, at some hundred bytes.
std::string readable(std::string_view text);

/// The text in double quotes, printable, and cut when it is long.
std::string inQuotes(std::string_view text);

/// How many letters have to be replaced, added, removed, or swapped with the next, to get from one word to the other.
std::size_t editDistance(std::string_view from, std::string_view to);

} // namespace tool
