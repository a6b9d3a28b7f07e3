#include "tool/fmu/guid.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fmt/format.h>
#include <uuid/uuid.h>

#include "tool/os/interruption.h"
#include "tool/os/user_error.h"
#include "util/internal/owners.h"

namespace tool {

namespace {

using Uuid = std::array<unsigned char, 16>;

/// A file is hashed block by block.
constexpr std::size_t blockSize = 1 << 20;

/// A UUID made of another one and a text, by SHA-1.
Uuid hashed(const Uuid& space, std::string_view text) {
    throwIfInterrupted();
    Uuid hash;
    uuid_generate_sha1(hash.data(), space.data(), text.data(), text.size());
    return hash;
}

} // namespace

std::string_view thisTool() { return "tessaro-fmu " TESSARO_VERSION; }

std::string guidAttribute(std::string_view guid) { return fmt::format("guid=\"{}\"", guid); }

void ContentHash::add(const std::string& name, std::string_view content) {
    Uuid& hash = files_[name] = hashed({}, name);
    for (; !content.empty(); content.remove_prefix(std::min(blockSize, content.size())))
        hash = hashed(hash, content.substr(0, blockSize));
}

void ContentHash::addFile(const std::string& name, const std::filesystem::path& file) {
    const Stream stream(std::fopen(file.c_str(), "rb"));
    if (!stream) fail("{} cannot be read: {}.", name, std::strerror(errno));
    Uuid& hash = files_[name] = hashed({}, name);
    std::string block(blockSize, '\0');
    std::size_t size = 0;
    while ((size = std::fread(block.data(), 1, blockSize, stream.get())) > 0) hash = hashed(hash, {block.data(), size});
    if (std::ferror(stream.get()) != 0) fail("{} cannot be read: {}.", name, std::strerror(errno));
}

std::string ContentHash::guid() const {
    Uuid all{};
    for (const auto& [name, hash] : files_)
        all = hashed(all, {reinterpret_cast<const char*>(hash.data()), hash.size()});
    std::array<char, UUID_STR_LEN> text{};
    uuid_unparse_lower(all.data(), text.data());
    return fmt::format("{{{}}}", text.data());
}

} // namespace tool
