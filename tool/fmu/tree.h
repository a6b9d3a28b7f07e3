// An FMU's files on disk, from a folder or an archive. An archive is unpacked into a temporary folder; whoever made it
// is not trusted.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tool/fmu/archive.h"
#include "tool/os/temporary_folder.h"

namespace tool {

/// An entry of an archive that was not unpacked: an absolute path, "..", a backslash, a link, a name that appears
/// twice, folders nested too deeply.
struct LeftOutEntry {
    std::string name;
    std::string_view reason; ///< the rest of a sentence that begins with the name
};

/// The files of one FMU. A temporary folder is removed with the tree.
class FmuTree {
public:
    /// Opens a folder, or unpacks an archive: regular files and folders only, none outside the temporary folder.
    /// Throws UserError when there is nothing that can be read, when the archive is damaged or a limit is met.
    explicit FmuTree(const std::filesystem::path& path, const UnpackingLimits& limits = {});

    /// The folder that holds modelDescription.xml.
    const std::filesystem::path& root() const { return root_; }
    bool isArchive() const { return temporary_.has_value(); }
    const std::vector<LeftOutEntry>& leftOut() const { return leftOut_; }

private:
    std::filesystem::path root_;
    std::optional<TemporaryFolder> temporary_; ///< none for a folder
    std::vector<LeftOutEntry> leftOut_;
};

} // namespace tool
