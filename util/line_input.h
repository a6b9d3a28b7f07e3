// Reading lines from streams of any origin, ended by a carriage return or a line feed.
#pragma once

#include <cstdio>

#include "util/export.h"

/// Reads a line of at most `n` characters into `buffer` and terminates it. `buffer` needs room for n + 1 characters,
/// one more than fgets asks for, and for one at least. A carriage return or line feed ends the line, is consumed and
/// not stored; a pair of both ends two lines, the second one empty. A line of n characters or more stops after the
/// n-th, and its rest, or its mere end, is left for the next call. The end of the stream is reached when the line is
/// empty and feof is true; a last line without an end comes with feof true already. A null stream or an n below 1 gives
/// an empty line and reads nothing; a null buffer: nothing happens.
TESSARO_EXPORT void fgets_modified(char* buffer, int n, std::FILE* stream);
