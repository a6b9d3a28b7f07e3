// The master tells where the FMU's resources lie as a URI; files are opened by path.
#pragma once

#include "fmi/fmu_instance.h"
#include "util/export.h"

/// The resource location as the master gave it to the last instantiation; shared by all instances of the process.
extern char g_fmu_resource_location[pathBufferSize];

/// The path component of a URI, percent-decoded; a text that is no URI comes back unchanged. Null when the location has
/// no path, is null, or memory is lacking. Allocated with malloc; release with free.
char* convert_URI_to_path(const char* location);

/// The number of characters to skip to turn a `file:` URI into a path: 7 for a text of more than 7 characters that
/// begins with "file://" in upper or lower case, otherwise 0.
TESSARO_EXPORT int isURIFile(const char* location);

/// Gives a copy of the location without its `file://`, not percent-decoded, in `*result`: allocated with new[], release
/// with delete[]; null when the location is null.
TESSARO_EXPORT void ConvertFmuLocationToPath(const char* location, char** result);
