// Eight-bit strings encoded in seven bits, and the byte order of numbers in memory.
#pragma once

#include "util/internal/export.h"

/// Encodes every byte of 128 or more as two bytes, 127 and the byte minus 128; all others are copied. `text` must be
/// allocated with malloc and is freed. The result is allocated with malloc (twice the length plus one); release it with
/// free. Null when `text` is null. Also null when out of memory; `text` is then not freed.
///
/// Two bytes do not survive a round trip through `str7to8`: 127, which is not escaped, and 128, whose pair contains a
/// zero and so ends the string.
TESSARO_EXPORT char* str8to7(char* text);

/// The inverse, in place: a byte above 126 and the byte b after it become one byte, b + 128 (modulo 256). Such a byte
/// at the very end is kept. Returns `text`, which may be null.
TESSARO_EXPORT char* str7to8(char* text);

/// Reverses the byte order within each of `count` consecutive elements of `size` bytes. Does nothing when `data` is
/// null or a number is below 1.
TESSARO_EXPORT void ReverseByteMemory(void* data, int size, int count);
