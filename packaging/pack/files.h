// Whole files.
#pragma once

#include <filesystem>
#include <string>

namespace packaging {

/// Throws UserError when the file can't be read.
std::string contentOf(const std::filesystem::path& file);

/// Writes a file that isn't there yet. Throws UserError when it is, or can't be written; nothing is left then.
void writeNewFile(const std::filesystem::path& file, const std::string& content);

} // namespace packaging
