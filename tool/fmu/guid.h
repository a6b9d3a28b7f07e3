// The GUID of an FMU: a hash of all that is in it.
#pragma once

#include <string>
#include <vector>

#include "tool/fmu/archive.h"

namespace tool {

/// A text in the form of a GUID that depends on the name and every byte of each entry, in their order.
std::string guidOf(const std::vector<ArchiveEntry>& entries);

} // namespace tool
