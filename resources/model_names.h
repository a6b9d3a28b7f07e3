// The model file's name, and what the shell makes of names in the translator's command.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

/// Greatest length of a model file name, extension included.
inline constexpr std::size_t longestModelFileName = 255;

/// The model file's name. Finds the first line containing "modelName", takes everything from 11 characters after that
/// word's start up to the line's last '"', and appends ".xml". Without such a quote: the rest of the line, unchanged.
/// Without such a line: empty. Reads lines of at most 1023 characters, from the stream's current position.
std::string modelFileName(std::FILE* description);

/// Whether a name makes the shell run or redirect something when it is not quoted in a command.
bool runsOrRedirects(std::string_view name);

/// Why a name that is not quoted does not reach the translator as one unchanged file name, as a clause for a message;
/// null if it does. Letters outside ASCII are safe.
const char* shellEffect(std::string_view name);

/// Whether a shell reads the unquoted file name as one word, unchanged, and the translator does not read it as an
/// option.
bool isPlainWord(std::string_view name);

/// Whether a shell reads the string unchanged in double quotes.
bool isPlainInQuotes(std::string_view text);
