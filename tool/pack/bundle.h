// Makes the library in an FMU independent of what a machine has installed.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tool/fmu/archive.h"

namespace tool {

/// The shared libraries of an FMU for a folder: the FMU's own first, under the name `fileName`, then all that it needs,
/// but for the C library, its parts and the C++ runtime, which every master's machine has. Each looks for the others
/// beside itself. Throws UserError when one is missing here, or the program patchelf is.
std::vector<ArchiveEntry> bundleLibraries(const std::filesystem::path& library, const std::string& fileName);

} // namespace tool
