// Replacing parts of texts. A pattern is a plain text; an empty one occurs nowhere.
#pragma once

#include "util/export.h"

/// The size of `text` in bytes, with its zero, after each occurrence of `oldText` has become `newText`. Overlapping
/// occurrences all count here, though `ReplaceSubstring` replaces only the first of them: for such a pattern the number
/// can be too big, or too small and even negative ("aa" in "aaa" by "b": 2, the result "ba" takes 3). -1 when there is
/// no occurrence, an argument is null, or the size does not fit in an int.
TESSARO_EXPORT int ReplaceSubstringNewLength(const char* text, const char* oldText, const char* newText);

/// Writes `text` to `out` with each occurrence of `oldText`, from left to right and without overlaps, replaced by
/// `newText`. `out` needs room for the result and may be `text` itself, but must not overlap it otherwise, nor the two
/// patterns. The number of replacements; -1 when an argument is null, and nothing is written. In place it throws
/// std::bad_alloc when memory is lacking.
TESSARO_EXPORT int ReplaceSubstring(const char* text, const char* oldText, const char* newText, char* out);
