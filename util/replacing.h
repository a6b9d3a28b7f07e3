// Replacing substrings. A pattern is a literal string; an empty one never occurs.
#pragma once

#include "util/internal/export.h"

/// Bytes needed for `text`, terminator included, after every occurrence of `oldText` is replaced by `newText`.
/// Overlapping occurrences all count here, though `ReplaceSubstring` replaces only the first of them. For such a
/// pattern the result can be too large, too small or even negative ("aa" in "aaa" by "b": 2, but the result "ba" needs
/// 3). -1 when there is no occurrence, an argument is null, or the size does not fit in an int.
TESSARO_EXPORT int ReplaceSubstringNewLength(const char* text, const char* oldText, const char* newText);

/// Copies `text` to `out` and replaces every occurrence of `oldText`, from left to right and without overlaps, by
/// `newText`. `out` needs room for the result. It may be `text` itself, but must not overlap `text` otherwise, nor the
/// patterns. Returns the number of replacements; -1 when an argument is null, and nothing is written. In place it
/// throws std::bad_alloc when out of memory.
TESSARO_EXPORT int ReplaceSubstring(const char* text, const char* oldText, const char* newText, char* out);
