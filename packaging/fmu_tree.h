// An FMU's files on disk, from a folder or an archive. An archive is unpacked into a temporary folder; whoever made it
// is not trusted.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "packaging/findings.h"
#include "packaging/temporary_folder.h"

namespace packaging {

/// What unpacking refuses to go beyond.
struct UnpackingLimits {
    std::uint64_t files = 100'000; ///< and folders
    std::uint64_t bytes = 4ULL << 30;
    std::uint64_t ratio = 200; ///< of what comes out, its first 64 MiB apart, to the archive's own size
};

/// The files of one FMU. A temporary folder is removed with the tree.
class FmuTree {
public:
    /// Opens a folder, or unpacks an archive: regular files and folders only, none outside the temporary folder.
    /// Entries that are left out (absolute paths, "..", backslashes, links, names that stand twice, folders nested too
    /// deeply) are reported.
    /// Throws UserError when there is nothing that can be read, when the archive is damaged or a limit is met.
    FmuTree(const std::filesystem::path& path, Findings& findings, const UnpackingLimits& limits = {});

    /// The folder that holds modelDescription.xml.
    const std::filesystem::path& root() const { return root_; }
    bool isArchive() const { return temporary_.has_value(); }

private:
    std::filesystem::path root_;
    std::optional<TemporaryFolder> temporary_; ///< none for a folder
};

} // namespace packaging
