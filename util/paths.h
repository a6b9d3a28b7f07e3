// Paths as texts: separators, extensions, whether a file is there. Paths are written with slashes everywhere; what
// comes from outside may hold backslashes. New texts are allocated with new[]; release them with delete[]; when
// memory is lacking, std::bad_alloc is thrown.
#pragma once

#include "util/export.h"

/// Turns every backslash of `path` into a slash, in place. Null or empty: nothing happens.
TESSARO_EXPORT void FixPath(char* path);

/// The same function under the plain symbol name "FixPath". It needs a second name in C++, which cannot declare one
/// signature with both linkages in one file.
extern "C" TESSARO_EXPORT void fixPathUnmangled(char* path) __asm__("FixPath");

/// Turns every backslash of a wide text into a slash, in place. Null or empty: nothing happens.
TESSARO_EXPORT void FixPathWC(wchar_t* path);

/// Whether the file can be opened for reading, backslashes taken as slashes (`path` itself is left alone). A folder
/// that may be read counts as well. False for null.
TESSARO_EXPORT bool IsFileExist(const char* path);

/// A copy of `path` whose extension is `newExt`, when it was `oldExt` (upper and lower case alike) or `oldExt` is null;
/// otherwise, or when `newExt` is null or the path has no full stop, an unchanged copy. Extensions are given without
/// their full stop. The last full stop of the path counts, even one in the name of a folder. Release with delete[];
/// null when `path` is null.
TESSARO_EXPORT char* ChangeExtension(const char* path, const char* oldExt, const char* newExt);

/// The same for wide texts; extensions may have any length. Throws std::bad_array_new_length when the size of the
/// result cannot be represented.
TESSARO_EXPORT wchar_t* ChangeExtensionWC(const wchar_t* path, const wchar_t* oldExt, const wchar_t* newExt);

/// Lower-cases a wide text in place, as the process's locale has it. Null: nothing happens.
TESSARO_EXPORT void WcsLC(wchar_t* text);
