// ZIP archives of FMUs. What is written depends on nothing but what is put into it: no clock, no user, no order of a
// folder.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace tool {

/// What unpacking refuses to go beyond, and what is written keeps to.
struct UnpackingLimits {
    std::uint64_t files = 100'000; ///< and folders
    std::uint64_t bytes = 4ULL << 30;
    std::uint64_t ratio = 200; ///< of what comes out, its first 64 MiB apart, to the archive's own size

    /// What may come out of an archive.
    std::uint64_t bytesFrom(const std::filesystem::path& archive) const;
};

struct ArchiveEntry {
    std::string name; ///< relative, with forward slashes
    std::string content;
    bool isExecutable = false;
};

/// Writes the entries in their order, the same bytes each time; uncompressed if the archive would be smaller than the
/// limits allow. An existing file is replaced when the new one, which is made beside it, is complete. Throws UserError
/// when it cannot be written.
void writeArchive(const std::filesystem::path& path, const std::vector<ArchiveEntry>& entries);

/// What libzip says of an error code that `zip_open` gave.
std::string zipErrorText(int code);

} // namespace tool
