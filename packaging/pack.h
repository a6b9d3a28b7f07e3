// `tessaro-fmu pack`: makes the archive of an FMU from its description.
#pragma once

#include <filesystem>

namespace packaging {

struct PackOptions {
    std::filesystem::path description; ///< the TOML file
    std::filesystem::path library;     ///< libtessaro_fmu.so
    std::filesystem::path output;      ///< the archive; empty: NAME.fmu in the working directory
    bool bundle = false;               ///< the library's own dependencies go into the archive, too
};

/// Writes the archive, the same bytes for the same input, and gives its path. An existing archive is replaced once the
/// new one is complete. Throws UserError, which names file and line of a mistake in the description.
std::filesystem::path pack(const PackOptions& options);

} // namespace packaging
