#include "tool/fmu/guid.h"

#include <array>

#include <fmt/format.h>
#include <uuid/uuid.h>

namespace tool {

namespace {

struct Uuid {
    uuid_t bytes;
};

/// A UUID made of another one and a text, by SHA-1.
Uuid hashed(const Uuid& space, const std::string& text) {
    Uuid hash;
    uuid_generate_sha1(hash.bytes, space.bytes, text.data(), text.size());
    return hash;
}

} // namespace

std::string guidOf(const std::vector<ArchiveEntry>& entries) {
    Uuid guid{};
    for (const ArchiveEntry& entry : entries) guid = hashed(hashed(guid, entry.name), entry.content);
    std::array<char, UUID_STR_LEN> text{};
    uuid_unparse_lower(guid.bytes, text.data());
    return fmt::format("{{{}}}", text.data());
}

} // namespace tool
