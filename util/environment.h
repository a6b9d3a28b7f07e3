// Reading the environment of the process. Both functions return new strings, allocated with new[]; release them with
// delete[]. They throw std::bad_alloc when out of memory. Not safe while another thread changes the environment.
#pragma once

#include "util/internal/export.h"

/// A copy of a variable's value with backslashes replaced by slashes; null when the variable is not set or `name` is
/// null. Release with delete[].
TESSARO_EXPORT char* NuGetEnv(const char* name);

/// A wide copy of a variable's value. Unlike in the narrow form, backslashes are kept. Null when the variable is not
/// set, `name` is null, or name or value cannot be converted in the process's locale. Release with delete[].
TESSARO_EXPORT wchar_t* NuGetEnvWC(const wchar_t* name);
