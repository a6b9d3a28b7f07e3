// Reading files of foreign origin: regular ones only, so that a pipe or device in a folder can't hold the program up.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace packaging::checking {

/// The content; nothing when there is no regular file that can be read, or it is larger than 64 MiB.
std::optional<std::string> readRegularFile(const std::filesystem::path& path);

/// Whether there is a regular file that can be read, of any size.
bool isReadable(const std::filesystem::path& path);

bool isRegularFile(const std::filesystem::path& path);
bool isFolder(const std::filesystem::path& path);

} // namespace packaging::checking
