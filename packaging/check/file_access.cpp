#include "packaging/check/file_access.h"

#include <fstream>
#include <system_error>

namespace packaging::checking {

namespace fs = std::filesystem;

std::optional<std::string> readRegularFile(const fs::path& path) {
    constexpr std::uintmax_t largest = 64U << 20U;
    std::error_code failure;
    if (!isRegularFile(path)) return {};
    const std::uintmax_t size = fs::file_size(path, failure);
    if (failure || size > largest) return {};

    std::ifstream file(path, std::ios::binary);
    std::string content(size, '\0');
    file.read(content.data(), static_cast<std::streamsize>(size));
    if (!file.is_open() || file.bad()) return {};
    content.resize(static_cast<std::size_t>(file.gcount()));
    return content;
}

bool isReadable(const fs::path& path) { return isRegularFile(path) && std::ifstream(path).is_open(); }

bool isRegularFile(const fs::path& path) {
    std::error_code ignored;
    return fs::is_regular_file(path, ignored);
}

bool isFolder(const fs::path& path) {
    std::error_code ignored;
    return fs::is_directory(path, ignored);
}

} // namespace packaging::checking
