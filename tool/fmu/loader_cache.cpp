#include "tool/fmu/loader_cache.h"

#include <cstdint>
#include <cstring>
#include <string_view>

#include "tool/os/files.h"

namespace tool {

namespace {

constexpr std::string_view magic = "glibc-ld.so.cache1.1";
constexpr std::int32_t libraryForX86In64Bit = 0x0303;

struct Header {
    char magic[20];
    std::uint32_t count;
    std::uint32_t rest[6];
};
static_assert(sizeof(Header) == 48);

struct Entry {
    std::int32_t flags;
    std::uint32_t name, path; ///< places in the file
    std::uint32_t unused;
    std::uint64_t variant; ///< not 0 for one that only some processors can run
};
static_assert(sizeof(Entry) == 24);

/// A text in the file that ends in it; otherwise empty.
std::string textAt(const std::string& content, std::size_t place) {
    const std::size_t end = place < content.size() ? content.find('\0', place) : std::string::npos;
    return end != std::string::npos ? content.substr(place, end - place) : "";
}

} // namespace

std::map<std::string, std::string> parseLoaderCache(const std::string& content) {
    std::map<std::string, std::string> paths;
    Header header;
    if (content.size() < sizeof header || !content.starts_with(magic)) return paths;
    std::memcpy(&header, content.data(), sizeof header);
    for (std::uint32_t i = 0; i < header.count; ++i) {
        const std::size_t place = sizeof header + i * sizeof(Entry);
        Entry entry;
        if (place + sizeof entry > content.size()) break;
        std::memcpy(&entry, content.data() + place, sizeof entry);
        const std::string path = textAt(content, entry.path);
        if (entry.flags == libraryForX86In64Bit && entry.variant == 0 && !path.empty())
            paths.emplace(textAt(content, entry.name), path);
    }
    return paths;
}

std::map<std::string, std::string> readLoaderCache() {
    return parseLoaderCache(readFile("/etc/ld.so.cache").value_or(""));
}

} // namespace tool
