// ZIP archives of FMUs. What is written depends on nothing but what is put into it: no clock, no user, no order of a
// folder.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tool {

struct ArchiveEntry {
    std::string name; ///< relative, with forward slashes
    std::string content;
    bool isExecutable = false;
};

/// Writes the entries in their order, the same bytes each time. An existing file is replaced when the new one, which is
/// made beside it, is complete. Throws UserError when it cannot be written.
void writeArchive(const std::filesystem::path& path, const std::vector<ArchiveEntry>& entries);

/// What libzip says of an error code that `zip_open` gave.
std::string zipErrorText(int code);

} // namespace tool
