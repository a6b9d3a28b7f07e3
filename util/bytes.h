// Texts of eight-bit characters carried over seven-bit channels, and the byte order of numbers in memory.
#pragma once

#include "util/export.h"

/// Writes every byte of 128 or more as two, 127 and the byte less 128; all others stay. `text` must come from malloc
/// and is released; the result comes from malloc with room for twice the length and a zero, release it with free. Null
/// when `text` is null; null when memory is lacking, `text` is then not released.
///
/// Two bytes do not come back from `str7to8`: 127, which is not doubled, and 128, whose pair holds a zero and thereby
/// ends the text.
TESSARO_EXPORT char* str8to7(char* text);

/// The inverse, in place: a byte above 126 and the byte b behind it become one byte, b + 128 (modulo 256). Such a byte
/// at the very end stays. Returns `text`, which may be null.
TESSARO_EXPORT char* str7to8(char* text);

/// Reverses the byte order within each of `count` consecutive elements of `size` bytes. Nothing happens when `data` is
/// null or a number is below 1.
TESSARO_EXPORT void ReverseByteMemory(void* data, int size, int count);
