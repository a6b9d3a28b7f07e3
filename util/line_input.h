// Reads lines that end with a carriage return or a line feed.
#pragma once

#include <cstdio>

#include "util/internal/export.h"

/// Reads a line of at most `n` characters into `buffer` and terminates it. `buffer` needs room for n + 1 characters,
/// one more than for fgets, and for at least one.
///
/// A carriage return or line feed ends the line; it is consumed and not stored. A pair of both ends two lines, the
/// second one empty. A line of n characters or more is cut after the n-th; the rest, even if it is only the line end,
/// is left for the next call. At the end of the stream the line is empty and feof is true; a last line without a line
/// end also leaves feof true. A null stream or an n below 1 gives an empty line and reads nothing. A null buffer: does
/// nothing.
TESSARO_EXPORT void fgets_modified(char* buffer, int n, std::FILE* stream);
