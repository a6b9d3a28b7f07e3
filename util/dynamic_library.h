// The platform's dynamic loader. File names are taken as they stand: nothing here searches a path or adds an extension.
// What fails is printed on standard output (never sent to a master's logger) as a block of four lines: a rule, the name
// of the file or symbol, the loader's reason, a rule.
#pragma once

#include "util/export.h"

/// Loads a library that prefers its own symbols to those of the process. `file`: full name; null means the process
/// itself. The handle, to be given to `NuPLDyUnloadLibrary`; null on failure, after the printed block.
TESSARO_EXPORT void* NuPLDyLoadLibrary(const char* file);

/// The same, but the library's symbols become visible to the libraries loaded after it.
TESSARO_EXPORT void* NuPLDyLoadLibrary2(const char* file);

/// The same as `NuPLDyLoadLibrary` in every respect.
TESSARO_EXPORT void* NuPLDyLoadLibrary3(const char* file);

/// The address of a symbol; null when it is missing or `name` is null, after the printed block. A null handle searches
/// the libraries of the process.
TESSARO_EXPORT void* NuPLDyGetFunction(void* handle, const char* name);

/// Gives a handle back; its functions must not be called any more. 0, or the loader's failure value; -1 for null.
TESSARO_EXPORT int NuPLDyUnloadLibrary(void* handle);

/// The loader's reason for the latest failure on this thread, null when there is none. Asking takes it away, as the
/// functions above do for the block that they print: left is that of `NuPLDyUnloadLibrary` or of a direct call of the
/// loader. Owned by the loader and valid until the thread's next call into it.
TESSARO_EXPORT const char* NuPLDyLoadError();

/// ".so", the extension of shared libraries, with its full stop. One buffer for the whole process; do not release it.
TESSARO_EXPORT const char* GetDllExtension();
