// A thin layer over the dynamic loader. File names are used as given: no search path, no added extension.
// Failures are printed on standard output (never sent to a master's logger) as a block of four lines: a rule, the name
// of the file or symbol, the loader's reason, a rule.
#pragma once

#include "util/internal/export.h"

/// Loads a library that prefers its own symbols to those of the process. `file`: full name; null is the process itself.
/// Returns a handle for `NuPLDyUnloadLibrary`; null on failure, after printing the block.
TESSARO_EXPORT void* NuPLDyLoadLibrary(const char* file);

/// The same, but the library's symbols become visible to libraries loaded later.
TESSARO_EXPORT void* NuPLDyLoadLibrary2(const char* file);

/// The same as `NuPLDyLoadLibrary` in every respect.
TESSARO_EXPORT void* NuPLDyLoadLibrary3(const char* file);

/// The address of a symbol; null when it is missing or `name` is null, after printing the block. A null handle searches
/// the libraries of the process.
TESSARO_EXPORT void* NuPLDyGetFunction(void* handle, const char* name);

/// Releases a handle; functions of the library must not be called any more. 0, or the loader's failure value; -1 for
/// null.
TESSARO_EXPORT int NuPLDyUnloadLibrary(void* handle);

/// The loader's message for the latest failure on this thread, null when there is none. Reading it clears it. The
/// functions above read it for the block they print, so what remains is that of `NuPLDyUnloadLibrary` or of a direct
/// call of the loader. Owned by the loader and valid until the thread's next call into it.
TESSARO_EXPORT const char* NuPLDyLoadError();

/// ".so", the extension of shared libraries, with its dot. One buffer for the whole process; do not release it.
TESSARO_EXPORT const char* GetDllExtension();
