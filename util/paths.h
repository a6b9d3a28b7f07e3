// Paths as strings: separators, extensions, existence of files. Paths use forward slashes; backslashes are accepted in
// input. New strings are allocated with new[]; release them with delete[]. When out of memory, std::bad_alloc is
// thrown.
#pragma once

#include "util/internal/export.h"

/// Replaces every backslash of `path` by a slash, in place. Null or empty: does nothing.
TESSARO_EXPORT void FixPath(char* path);

/// The same function under the unmangled symbol name "FixPath". It has a C++ name of its own because one file cannot
/// declare a signature with both linkages.
extern "C" TESSARO_EXPORT void fixPathUnmangled(char* path) __asm__("FixPath");

/// Replaces every backslash of a wide string by a slash, in place. Null or empty: does nothing.
TESSARO_EXPORT void FixPathWC(wchar_t* path);

/// Whether the file can be opened for reading, with backslashes read as slashes (`path` itself is not changed). Also
/// true for a folder that can be read. False for null.
TESSARO_EXPORT bool IsFileExist(const char* path);

/// A copy of `path` with the extension `newExt` if its extension was `oldExt` (ignoring case) or `oldExt` is null. An
/// unchanged copy otherwise, and when `newExt` is null or the path has no dot. Extensions are given without their dot.
/// The last dot of the path is used, even one in the name of a folder. Release with delete[]; null when `path` is null.
TESSARO_EXPORT char* ChangeExtension(const char* path, const char* oldExt, const char* newExt);

/// The same for wide strings; extensions may have any length. Throws std::bad_array_new_length when the size of the
/// result cannot be represented.
TESSARO_EXPORT wchar_t* ChangeExtensionWC(const wchar_t* path, const wchar_t* oldExt, const wchar_t* newExt);

/// Converts a wide string to lower case in place, by the process's locale. Null: does nothing.
TESSARO_EXPORT void WcsLC(wchar_t* text);
