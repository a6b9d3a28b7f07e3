// Breaks long strings into lines of a given width and keeps quotes balanced: a quoted run that continues on the next
// line is closed at the end of its line and reopened on the next one. Quotes are ", ' and `; inside a run the other two
// are ordinary characters. When out of memory, std::bad_alloc is thrown and nothing is leaked.
#pragma once

#include "util/internal/export.h"

/// Splits `text` into parts of `width` characters; the last one has the rest. A part that ends inside a quoted run gets
/// its quote appended (also the last part), and the next part starts with that quote, so a part has at most `width` + 2
/// characters.
///
/// Returns the number of parts and stores them in `*parts`: an array of buffers of `width` + 3 bytes each. Release each
/// buffer, then the array, with delete[]. Returns 0 and stores null for an empty or null text, a width below 1, and
/// when there would be more parts than an int can count; 0 when `parts` is null.
TESSARO_EXPORT int BreakLongString(int width, const char* text, char*** parts);

/// The parts of `BreakLongString` in one string, separated by line feeds; an empty string when there are no parts.
/// Release with delete[].
TESSARO_EXPORT char* InsertReturnCharacters(int width, const char* text);
