#include "packaging/pack/files.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

#include "packaging/user_error.h"
#include "util/owners.h"

namespace packaging {

std::string contentOf(const std::filesystem::path& file) {
    constexpr std::uintmax_t largest = 4ULL << 30;
    const std::uintmax_t size = std::filesystem::file_size(file);
    if (size > largest) fail("{} is larger than {} GiB.", file.string(), largest >> 30);
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream content;
    if (size > 0) content << stream.rdbuf();
    if (!stream || !content) fail("{} can't be read.", file.string());
    return std::move(content).str();
}

void writeNewFile(const std::filesystem::path& file, const std::string& content) {
    Stream stream(std::fopen(file.c_str(), "wx"));
    if (!stream) fail("{} can't be written: {}.", file.string(), std::strerror(errno));
    const bool written = std::fwrite(content.data(), 1, content.size(), stream.get()) == content.size();
    if (std::fclose(stream.release()) == 0 && written) return;
    std::filesystem::remove(file);
    fail("{} can't be written.", file.string());
}

} // namespace packaging
