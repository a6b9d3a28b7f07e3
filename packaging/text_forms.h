// The forms that names and numbers take in the files of an FMU.
#pragma once

#include <string>
#include <string_view>

namespace packaging {

/// The shortest text that reads back as the same number, with a full stop whatever the locale.
std::string shortest(double value);

/// Whether a name follows FMI 2.0's structured naming convention, without `der(...)`: `axis[2].'spring force'`.
bool isStructuredName(std::string_view name);

/// Whether a name can be that of a model: letters, digits, `_`, `.` and `-`, beginning with none of the last two,
/// without ".xml" inside. The FMU hands file names made of it to a shell, unquoted.
bool isModelName(std::string_view name);

/// File names made of a model's name, such as NAME.xml, must stay below 256 bytes; room is left for a temporary one.
inline constexpr std::size_t longestModelName = 240;

bool isIdentifier(std::string_view name);

/// A C identifier that resembles the name of a model.
std::string identifierFrom(std::string_view modelName);

/// Whether a text holds control characters, line ends among them, or what XML cannot hold.
bool hasControlCharacters(std::string_view text);

/// A foreign text as it can be shown: without control characters.
std::string printable(std::string_view text);

} // namespace packaging
