// Null-terminated strings: cutting, trimming, upper and lower case, counting, copies. Functions that work in place
// return their argument, so calls can be nested; null or empty is returned unchanged. New strings are allocated with
// new[]; release them with delete[]. When out of memory, std::bad_alloc is thrown.
#pragma once

#include "util/internal/export.h"

/// Copies `count` characters of `text` from index `start` to `out` and terminates them; returns `out`. Indices outside
/// the string give spaces; null counts as empty. `out` needs room for count + 1 characters; null: does nothing. A
/// negative count counts as 0.
TESSARO_EXPORT char* strmid(char* out, const char* text, int start, int count);

/// Removes spaces, tabs, line feeds and carriage returns at the end, in place.
TESSARO_EXPORT char* rtrim(char* text);

/// Removes the same characters at the start, by moving the rest forward.
TESSARO_EXPORT char* ltrim(char* text);

/// Removes the same characters at both ends.
TESSARO_EXPORT char* lrtrim(char* text);

/// Converts the letters a to z to upper case, in place. Other characters are not changed, whatever the locale.
TESSARO_EXPORT char* ucase(char* text);

/// Converts the letters A to Z to lower case, in place. Other characters are not changed, whatever the locale.
TESSARO_EXPORT char* lcase(char* text);

/// As `lcase`, but only outside double quotes. Every double quote opens or closes; there are no escapes.
TESSARO_EXPORT char* lcaseq(char* text);

/// How often `c` occurs in `text`; the terminating zero is not counted. 0 for null.
TESSARO_EXPORT int chrcnt(const char* text, char c);

/// The first `n` characters of `text` (fewer if it is shorter) in a new buffer of n + 1 bytes, padded with zeros; a
/// negative n counts as 0. Null when `text` is null. Release with delete[], unlike the C library's function of the same
/// name. That one takes a size_t: pass an int.
TESSARO_EXPORT char* strndup(const char* text, int n);

/// A copy of `text`, null when it is null. Release with delete[].
TESSARO_EXPORT char* newstrdup(const char* text);

/// A copy of `text`, null when it is null: on this platform no carriage returns are removed. Release with delete[].
TESSARO_EXPORT char* RemoveCrLf(const char* text);

/// A copy of `text`, null when it is null: on this platform no carriage returns are added. `added` receives their
/// number, 0; it may be null. Release with delete[].
TESSARO_EXPORT char* AddCrLf(const char* text, int* added);

/// 1 when `name` is a letter followed by letters, digits and underscores, otherwise 0, also for null and for an empty
/// name. Letters are those of the process's locale.
TESSARO_EXPORT int IsValidVariableName(const char* name);
