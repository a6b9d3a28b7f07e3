// Texts terminated by zero: cutting, trimming, upper and lower case, counting, copies. What is changed in place is
// returned, so that calls nest. New texts are allocated with new[]; release them with delete[]; when memory is lacking,
// std::bad_alloc is thrown.
#pragma once

#include "util/export.h"

/// Copies `count` characters of `text` from index `start` to `out` and terminates them; returns `out`. Indices outside
/// the text (a null text has none) give blanks. `out`: room for count + 1 characters; null: nothing happens. A negative
/// count counts as 0.
TESSARO_EXPORT char* strmid(char* out, const char* text, int start, int count);

/// Removes blanks, tabs, line feeds and carriage returns at the end, in place. Null or empty is returned as it is, as
/// in all functions here that work in place.
TESSARO_EXPORT char* rtrim(char* text);

/// Removes the same characters at the start by moving the rest forward.
TESSARO_EXPORT char* ltrim(char* text);

/// Removes the same characters at both ends.
TESSARO_EXPORT char* lrtrim(char* text);

/// Turns the letters a to z into capitals, in place; all other characters stay, whatever the locale.
TESSARO_EXPORT char* ucase(char* text);

/// Turns the capitals A to Z into small letters, in place; all other characters stay, whatever the locale.
TESSARO_EXPORT char* lcase(char* text);

/// As `lcase`, but only outside double quotes. Every double quote opens or closes; there are no escapes.
TESSARO_EXPORT char* lcaseq(char* text);

/// The number of times that `c` occurs in `text`, the terminating zero not counted. 0 for null.
TESSARO_EXPORT int chrcnt(const char* text, char c);

/// The first `n` characters of `text` (fewer when it ends before) in a new text of n + 1 bytes, filled up with zeros; a
/// negative n counts as 0. Null when `text` is null. Release with delete[], unlike the C library's function of the same
/// name, which takes a size_t: pass an int.
TESSARO_EXPORT char* strndup(const char* text, int n);

/// A copy of `text`, null when it is null. Release with delete[].
TESSARO_EXPORT char* newstrdup(const char* text);

/// A copy of `text`, null when it is null: on this platform no carriage returns are removed. Release with delete[].
TESSARO_EXPORT char* RemoveCrLf(const char* text);

/// A copy of `text`, null when it is null: on this platform no carriage returns are added. `added`, when not null,
/// receives their number, 0. Release with delete[].
TESSARO_EXPORT char* AddCrLf(const char* text, int* added);

/// 1 when `name` is a letter followed by letters, digits and underscores, else 0, as for null and for an empty name.
/// Letters are those of the process's locale.
TESSARO_EXPORT int IsValidVariableName(const char* name);
