// `pack --bundle`: the libraries that the FMU's library needs, to go with it into the archive.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tool/findings/report.h"
#include "tool/fmu/archive.h"

namespace tool {

/// The text of a licence, as the file of a Debian package has it.
struct License {
    std::string name; ///< of the file: the package's, with .txt
    std::string text;
    std::filesystem::path file; ///< where it was read
};

struct Bundle {
    std::vector<ArchiveEntry> libraries;      ///< the FMU's own first
    std::vector<License> licenses;            ///< of the others, one a package
    std::vector<std::filesystem::path> files; ///< where the other libraries were read
};

/// The FMU's library, under the name that it has in the archive, and all that it needs but the C library and the C++
/// runtime, each changed to find the others beside itself. The names of entries are without folders. Reports libraries
/// whose licence is not found. Throws UserError when one of them cannot be found or changed.
Bundle bundleLibraries(const std::filesystem::path& library, const std::string& fileName, Report& report);

} // namespace tool
