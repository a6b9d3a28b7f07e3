// The names that the model file's generation takes from the FMU, and whether they survive the translator's command
// line.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

/// The longest name of a model file, extension included.
inline constexpr std::size_t longestModelFileName = 255;

/// The model file's name: what the first line with the word "modelName" has between the character behind the
/// attribute's equals sign and quote and the line's last double quote, and ".xml". Without such a quote the rest of the
/// line as it stands, without such a line empty. Reads lines of at most 1023 characters from the stream's position on.
std::string modelFileName(std::FILE* description);

/// Whether a shell takes the file name as one word and as it stands, and the translator does not take it for an option.
/// Letters outside of ASCII are safe.
bool isPlainWord(std::string_view name);

/// Whether a shell takes the text as it stands when it is in double quotes.
bool isPlainInQuotes(std::string_view text);
