// Reading the environment of the process. Both functions return new texts, allocated with new[]; release them with
// delete[]. When memory is lacking they throw std::bad_alloc. Not safe while another thread changes the environment.
#pragma once

#include "util/export.h"

/// A copy of a variable's value with its backslashes turned into slashes; null when the variable is not set or `name`
/// is null. Release with delete[].
TESSARO_EXPORT char* NuGetEnv(const char* name);

/// A wide copy of a variable's value as it stands: its backslashes stay, unlike in the narrow form. Null when the
/// variable is not set, `name` is null, or name or value cannot be converted in the process's locale. Release with
/// delete[].
TESSARO_EXPORT wchar_t* NuGetEnvWC(const wchar_t* name);
