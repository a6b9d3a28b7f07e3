#include "tool/os/files.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "tool/os/interruption.h"
#include "tool/os/temporary_folder.h"
#include "tool/os/user_error.h"
#include "util/internal/owners.h"

namespace tool {

namespace fs = std::filesystem;

namespace {

/// Why not all could be written; empty when it could.
std::string write(Stream stream, const std::string& content) {
    if (!stream) return std::strerror(errno);
    const bool written = std::fwrite(content.data(), 1, content.size(), stream.get()) == content.size();
    return std::fclose(stream.release()) == 0 && written ? "" : std::strerror(errno);
}

} // namespace

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
    const std::string reason = write(std::move(stream), content);
    if (reason.empty()) return;
    std::error_code ignored;
    fs::remove(path, ignored);
    fail("{} cannot be written: {}.", path.string(), reason);
}

void replaceFile(const fs::path& path, const std::string& content) {
    std::error_code failure;
    std::string reason;
    if (fs::exists(path, failure) && !isRegularFile(path)) {
        reason = write(Stream(std::fopen(path.c_str(), "wb")), content);
    } else {
        const TemporaryFolder folder(path);
        const fs::path file = folder.path() / "file";
        reason = write(Stream(std::fopen(file.c_str(), "wb")), content);
        if (reason.empty()) fs::rename(file, path, failure);
        if (failure) reason = failure.message();
    }
    if (!reason.empty()) fail("{} cannot be written: {}.", path.string(), reason);
}

} // namespace tool
