#include "tool/fmu/archive.h"

#include <algorithm>
#include <memory>
#include <system_error>

#include <sys/stat.h>
#include <zip.h>

#include "tool/os/interruption.h"
#include "tool/os/temporary_folder.h"
#include "tool/os/user_error.h"

namespace tool {

namespace {

namespace fs = std::filesystem;
using NewArchive = std::unique_ptr<zip_t, decltype([](zip_t* archive) { zip_discard(archive); })>;

void add(zip_t* archive, const ArchiveEntry& entry, zip_int32_t method) {
    const auto check = [&](bool succeeded) {
        if (!succeeded) fail("{} cannot be put into the archive: {}.", entry.name, zip_strerror(archive));
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
    check(zip_set_file_compression(archive, index, method, 0) == 0);
}

/// Writes the file itself; `path` names it in messages.
void write(const fs::path& file, const std::vector<ArchiveEntry>& entries, zip_int32_t method, const fs::path& path) {
    int code = 0;
    NewArchive archive(zip_open(file.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &code));
    if (!archive) fail("{} cannot be written: {}.", path.string(), zipErrorText(code));
    for (const ArchiveEntry& entry : entries) add(archive.get(), entry, method);

    const auto isCancelled = [](zip_t*, void*) { return isInterrupted() ? 1 : 0; };
    zip_register_cancel_callback_with_state(archive.get(), isCancelled, nullptr, nullptr);
    const bool written = zip_close(archive.get()) == 0;
    if (written) (void)archive.release(); // it is freed, also when a signal came after the last look at isCancelled
    throwIfInterrupted();
    if (!written) fail("{} cannot be written: {}.", path.string(), zip_strerror(archive.get()));
}

} // namespace

std::uint64_t UnpackingLimits::bytesFrom(const fs::path& archive) const {
    constexpr std::uint64_t harmless = 64U << 20U; // from an archive of any size
    return std::min(bytes, harmless + ratio * fs::file_size(archive));
}

void writeArchive(const fs::path& path, const std::vector<ArchiveEntry>& entries) {
    std::error_code failure;
    if (fs::exists(path, failure) && !fs::is_regular_file(path, failure))
        fail("{} cannot be written: it is not a regular file.", path.string());
    const TemporaryFolder folder(path);
    const fs::path file = folder.path() / "archive";
    write(file, entries, ZIP_CM_DEFLATE, path);
    std::uint64_t bytes = 0;
    for (const ArchiveEntry& entry : entries) bytes += entry.content.size();
    if (bytes > UnpackingLimits().bytesFrom(file)) write(file, entries, ZIP_CM_STORE, path);
    throwIfInterrupted();
    fs::rename(file, path, failure);
    if (failure) fail("{} cannot be written: {}.", path.string(), failure.message());
}

std::string zipErrorText(int code) {
    zip_error_t error;
    zip_error_init_with_code(&error, code);
    std::string text = zip_error_strerror(&error);
    zip_error_fini(&error);
    return text;
}

} // namespace tool
