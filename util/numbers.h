// Fast parsing of decimal numbers with nine significant digits, independent of the locale. For the full precision of a
// double use the C library.
#pragma once

#include "util/internal/export.h"

/// Parses a decimal number: white space, sign, digits with a decimal point, E or e with an exponent. Only the first
/// nine digits are used, leading zeros included: 1234567891234 gives 1234567890000, and 0.000000000123 gives 0. The
/// resulting power of ten is limited to -299 to 299, so 1e400 gives 1e299.
///
/// Unless `end` is null, it receives the position after the number. That is after an E and its sign even if no digits
/// follow. A string without a number gives 0 and the position after its white space, sign, decimal point and exponent.
/// Null gives 0 and a null position.
TESSARO_EXPORT double fstrtod(const char* text, char** end);

/// 1 when the string is a number, otherwise 0. An empty string is a number. A string with spaces is not, nor is null or
/// a string that starts with E or e. Characters after the first E or e are not checked.
///
/// The rule depends on the value that `fstrtod` gives. Other than 0: an optional sign at the start, then digits with at
/// most one decimal point. 0: zeros, with at most one '+', one '-' and one '.', in any order, so "+", "-." and "0-0"
/// are numbers, while 0.0000000001 (parsed as 0, but with a digit other than 0) is not.
TESSARO_EXPORT int isnumber(const char* text);
