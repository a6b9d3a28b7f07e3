// Whether the place of the resources survives the forms in which masters tell it.
#pragma once

#include <filesystem>
#include <string>

#include "packaging/findings.h"

namespace packaging {

/// Tries the forms of the known masters on a resources folder, which needn't be there. False with findings when one of
/// them doesn't lead to it.
bool examineLocation(const std::filesystem::path& resources, Findings& findings);

/// Examines the folder into which masters unpack an archive. False when nothing can be unpacked there.
bool examineTemporaryFolder(Findings& findings);

/// The folder's location as a URI with three slashes, all but unreserved characters percent-encoded.
std::string encodedLocation(const std::filesystem::path& folder);

} // namespace packaging
