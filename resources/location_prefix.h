// A simple conversion of a resource location to a path: its prefix is removed, nothing is decoded. The library itself
// uses the URI parser instead. Part of the installed package: C++11 and later.
#pragma once

#include "util/internal/export.h"

/// The number of characters to skip to turn a `file:` URI into a path: 7 for a string of more than 7 characters that
/// starts with "file://", ignoring case; otherwise 0, also for null.
TESSARO_EXPORT int isURIFile(const char* location);

/// Stores in `*result` a copy of the location without `file://`, not percent-decoded; null when the location is null.
/// Allocated with new[]; release with delete[]. Throws std::bad_alloc when out of memory.
TESSARO_EXPORT void ConvertFmuLocationToPath(const char* location, char** result);
