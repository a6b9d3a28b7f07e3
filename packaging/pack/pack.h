// `tessaro-fmu pack`: makes the archive of an FMU from its description.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace packaging {

struct PackOptions {
    std::filesystem::path description; ///< the TOML file
    std::filesystem::path library;     ///< libtessaro_fmu.so
    std::filesystem::path output;      ///< the archive; empty: NAME.fmu in the working directory
    bool bundle = false;               ///< the library's own dependencies go into the archive, too
};

struct PackResult {
    std::filesystem::path archive;
    std::vector<std::string> warnings; ///< lines "FILE:LINE: warning: sentence"
    std::vector<std::string> bundled;  ///< names of the libraries that were added
    std::uintmax_t bundledBytes = 0;   ///< their size when unpacked
};

/// Writes the archive, the same bytes for the same input. An existing archive is replaced once the new one is complete.
/// Prints nothing. Throws UserError, which names file and line of a mistake in the description.
PackResult pack(const PackOptions& options);

} // namespace packaging
