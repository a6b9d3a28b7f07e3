#include "packaging/pack/archive_writer.h"

#include <cstdint>
#include <memory>
#include <string_view>

#include <sys/stat.h>
#include <zip.h>

#include "packaging/user_error.h"
#include "packaging/zip_error.h"

namespace packaging {

namespace {

using Archive = std::unique_ptr<zip_t, decltype([](zip_t* archive) { zip_discard(archive); })>;

/// The 128-bit FNV-1a hash of all that is added.
class Hash {
public:
    void add(std::string_view bytes) {
        constexpr Number prime = (Number{1} << 88) + 0x13b;
        for (const char byte : bytes) state_ = (state_ ^ static_cast<unsigned char>(byte)) * prime;
    }

    std::uint64_t high() const { return static_cast<std::uint64_t>(state_ >> 64); }
    std::uint64_t low() const { return static_cast<std::uint64_t>(state_); }

private:
    __extension__ using Number = unsigned __int128;

    Number state_ = (Number{0x6c62272e07bb0142} << 64) + 0x62b821756295c58d;
};

void add(zip_t* archive, const ArchiveEntry& entry) {
    const auto check = [&](bool succeeded) {
        if (!succeeded) fail("{} can't be put into the archive: {}.", entry.name, zip_strerror(archive));
    };
    zip_source_t* source = zip_source_buffer(archive, entry.content.data(), entry.content.size(), 0);
    check(source != nullptr);
    const zip_int64_t added = zip_file_add(archive, entry.name.c_str(), source, ZIP_FL_ENC_UTF_8);
    if (added < 0) zip_source_free(source);
    check(added >= 0);

    constexpr zip_uint16_t noon = 12 << 11;
    constexpr zip_uint16_t firstDay = (1 << 5) + 1; // 1 January 1980, the first that the format knows
    const zip_uint32_t mode = S_IFREG | (entry.isExecutable ? 0755U : 0644U);
    const auto index = static_cast<zip_uint64_t>(added);
    check(zip_file_set_dostime(archive, index, noon, firstDay, 0) == 0);
    check(zip_file_set_external_attributes(archive, index, 0, ZIP_OPSYS_UNIX, mode << 16) == 0);
    check(zip_set_file_compression(archive, index, ZIP_CM_DEFLATE, 0) == 0);
}

} // namespace

void writeArchive(const std::filesystem::path& path, const std::vector<ArchiveEntry>& entries) {
    int code = 0;
    Archive archive(zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &code));
    if (!archive) {
        fail("{} can't be written: {}.", path.string(), zipErrorText(code));
    }
    for (const ArchiveEntry& entry : entries) add(archive.get(), entry);

    // The library writes a temporary file in the same folder and renames it.
    if (zip_close(archive.get()) != 0) fail("{} can't be written: {}.", path.string(), zip_strerror(archive.get()));
    (void)archive.release();
}

std::string guidOf(const std::vector<ArchiveEntry>& entries) {
    Hash hash;
    for (const ArchiveEntry& entry : entries) {
        hash.add(fmt::format("{} {}\n", entry.name, entry.content.size()));
        hash.add(entry.content);
    }
    const std::uint64_t high = hash.high(), low = hash.low();
    return fmt::format("{{{:08x}-{:04x}-{:04x}-{:04x}-{:012x}}}", high >> 32, (high >> 16) & 0xffff, high & 0xffff,
                       low >> 48, low & 0xffffffffffff);
}

} // namespace packaging
