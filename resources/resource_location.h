// Conversion of the master's resource location, a URI, to a path.
#pragma once

#include <array>

#include "fmi/instance/fmu_instance.h"
#include "resources/location_prefix.h"

/// The master's resource location, as given to the last instantiation; shared by all instances of the process. Only to
/// be used under the process lock.
extern char g_fmu_resource_location[pathBufferSize];

/// A copy of `g_fmu_resource_location`. Takes the process lock.
std::array<char, pathBufferSize> currentResourceLocation();

/// The path component of a URI, percent-decoded; a copy of the string if it is not a URI. Null when the location has no
/// path, is null, or memory runs out. Allocated with malloc; release with free.
char* convert_URI_to_path(const char* location);
