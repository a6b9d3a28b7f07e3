#include "tool/os/files.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

#include "tool/os/interruption.h"
#include "tool/os/user_error.h"
#include "util/internal/owners.h"

namespace tool {

namespace fs = std::filesystem;

bool isRegularFile(const fs::path& path) {
    std::error_code ignored;
    return fs::is_regular_file(path, ignored);
}

bool isFolder(const fs::path& path) {
    std::error_code ignored;
    return fs::is_directory(path, ignored);
}

bool isReadable(const fs::path& path) { return isRegularFile(path) && std::ifstream(path).is_open(); }

bool isWritable(const fs::path& path) {
    const int mode = isFolder(path) ? W_OK | X_OK : W_OK;
    return faccessat(AT_FDCWD, path.c_str(), mode, AT_EACCESS) == 0;
}

std::optional<std::string> readFile(const fs::path& path) {
    try {
        return readUserFile(path, largestFile);
    } catch (const UserError&) {
        return std::nullopt;
    }
}

std::string readUserFile(const fs::path& path, std::uintmax_t largest) {
    throwIfInterrupted();
    std::error_code failure;
    if (!fs::exists(path, failure)) fail("{} does not exist.", path.empty() ? "A file without a name" : path.string());
    if (isFolder(path)) fail("{} is a folder: name a file in it.", path.string());
    if (!isRegularFile(path)) fail("{} is not a regular file.", path.string());
    const std::uintmax_t size = fs::file_size(path, failure);
    if (size > largest) fail("{} is larger than {} MiB.", path.string(), largest >> 20U);

    const Stream stream(std::fopen(path.c_str(), "rb"));
    if (!stream) fail("{} cannot be read: {}.", path.string(), std::strerror(errno));
    std::string content(size, '\0');
    content.resize(std::fread(content.data(), 1, size, stream.get()));
    if (std::ferror(stream.get()) != 0) fail("{} cannot be read: {}.", path.string(), std::strerror(errno));
    return content;
}

void writeNewFile(const fs::path& path, const std::string& content) {
    Stream stream(std::fopen(path.c_str(), "wx"));
    if (!stream) fail("{} cannot be written: {}.", path.string(), std::strerror(errno));
    const bool written = std::fwrite(content.data(), 1, content.size(), stream.get()) == content.size();
    if (std::fclose(stream.release()) == 0 && written) return;
    const std::string reason = std::strerror(errno);
    fs::remove(path);
    fail("{} cannot be written: {}.", path.string(), reason);
}

} // namespace tool
