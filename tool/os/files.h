// Whole files. Only regular ones are opened, so that a pipe or a device in a folder cannot hold the program up.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace tool {

bool isRegularFile(const std::filesystem::path& path);
bool isFolder(const std::filesystem::path& path);

/// Whether it is a regular file that can be opened for reading, of any size.
bool isReadable(const std::filesystem::path& path);

/// Whether files can be made in a folder, or a file be written, with the rights that this process has now.
bool isWritable(const std::filesystem::path& path);

/// The largest file that is read from an FMU.
inline constexpr std::uintmax_t largestFile = 64U << 20U;

/// The content of a file of foreign origin; nothing when it is not a regular file, cannot be read or is larger than
/// `largestFile`.
std::optional<std::string> readFile(const std::filesystem::path& path);

/// The content of a file that the user named. Throws UserError with the reason when it cannot be read, or is larger
/// than `largest` bytes.
std::string readUserFile(const std::filesystem::path& path, std::uintmax_t largest = std::uintmax_t{4} << 30U);

/// Writes a file that does not exist yet. Throws UserError when it does, or cannot be written; nothing is left then.
void writeNewFile(const std::filesystem::path& path, const std::string& content);

/// Writes a file, or replaces it when the new one, which is made beside it, is complete. A pipe or a device is written
/// to. Throws UserError when it cannot be written.
void replaceFile(const std::filesystem::path& path, const std::string& content);

} // namespace tool
