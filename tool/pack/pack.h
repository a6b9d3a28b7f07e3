// `tessaro-fmu pack`: makes the archive of an FMU from its description.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tool/findings/report.h"

namespace tool {

struct PackOptions {
    std::filesystem::path description;  ///< the TOML file
    std::filesystem::path library;      ///< libtessaro_fmu.so
    std::filesystem::path output;       ///< the archive; empty: NAME.fmu in the working directory
    std::optional<std::string> version; ///< of the model, in place of the description's
    std::filesystem::path depfile;      ///< a list of all that the archive is made from, for make and ninja; or empty
    bool bundle = false;                ///< the library's own dependencies go into the archive
};

struct PackResult {
    std::filesystem::path archive;
    std::vector<std::filesystem::path> inputs; ///< absolute names of all files that it is made from
    std::vector<std::string> bundled;          ///< names of the libraries that were added
    std::uintmax_t bundledBytes = 0;           ///< their size when unpacked
};

/// Writes the archive, the same bytes for the same input. An existing archive is replaced once the new one is complete.
/// Reports what is wrong or doubtful in the description; nothing is written when there is an error. Prints nothing.
/// Throws UserError when a file cannot be read or written, or is not what it should be.
std::optional<PackResult> pack(const PackOptions& options, Report& report);

} // namespace tool
