// Long texts in lines of a given width, quotes kept whole: a quoted run that goes on in the next line is closed at the
// end of the one and opened again at the start of the other. Quotes are ", ' and `; within a run the other two are
// ordinary characters. When memory is lacking, std::bad_alloc is thrown and nothing is left behind.
#pragma once

#include "util/export.h"

/// Splits `text` into parts of `width` characters, the last one with the rest. A part that ends inside a quoted run
/// gets its quote appended, also the last one; the part behind it begins with the quote. So a part holds up to
/// `width` + 2 characters.
///
/// The number of parts. `*parts` receives them: an array of buffers of `width` + 3 bytes, each released with delete[],
/// then the array with delete[]. No parts, 0 and null, for an empty or null text, a width below 1, and more parts than
/// an int can count; 0 when `parts` is null.
TESSARO_EXPORT int BreakLongString(int width, const char* text, char*** parts);

/// The parts of `BreakLongString` in one text, a line feed between two; an empty text when there are no parts. Release
/// with delete[].
TESSARO_EXPORT char* InsertReturnCharacters(int width, const char* text);
