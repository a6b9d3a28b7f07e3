// Decimal numbers in texts, read fast and with nine digits, independent of the locale. For the full precision of a
// double use the C library.
#pragma once

#include "util/export.h"

/// Reads a decimal number: white space, sign, digits with a full stop, E or e with an exponent. Only the first nine
/// digits count, leading zeros among them: 1234567891234 is read as 1234567890000, and 0.000000000123 as 0. The power
/// of ten that remains is limited to -299 to 299, so that 1e400 is read as 1e299.
///
/// `end`, when not null, receives the position behind the number, which is behind an E and its sign even when no digits
/// follow; a text without a number gives 0 and a position behind its white space, sign, full stop and exponent. A null
/// text gives 0 and the position null.
TESSARO_EXPORT double fstrtod(const char* text, char** end);

/// 1 when the text is a number, else 0. An empty text is one; a text with blanks is none, nor is one that begins with E
/// or e, nor null. What follows the first E or e is not looked at.
///
/// What counts is how `fstrtod` reads the text. For a value other than 0: a sign at most at the start, digits, at most
/// one full stop. For 0: zeros and at most one of each sign and the full stop, in any order, so that "+", "-." and
/// "0-0" are numbers, while 0.0000000001 (read as 0, yet not all zeros) is none.
TESSARO_EXPORT int isnumber(const char* text);
