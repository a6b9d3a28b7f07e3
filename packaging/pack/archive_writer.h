// Writes ZIP archives that depend on nothing but what is put into them: no clock, no user, no order of a folder.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace packaging {

struct ArchiveEntry {
    std::string name; ///< relative, with forward slashes
    std::string content;
    bool isExecutable = false;
};

/// Writes the entries in their order, the same bytes each time. An existing file is replaced when the new one, which is
/// made beside it, is complete. Throws UserError when it can't be written.
void writeArchive(const std::filesystem::path& path, const std::vector<ArchiveEntry>& entries);

/// A text in the form of a GUID that depends on every byte of the entries.
std::string guidOf(const std::vector<ArchiveEntry>& entries);

} // namespace packaging
