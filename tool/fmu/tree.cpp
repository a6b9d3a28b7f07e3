#include "tool/fmu/tree.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <system_error>

#include <zip.h>

#include "tool/os/interruption.h"
#include "tool/os/text.h"
#include "tool/os/user_error.h"

namespace tool {

namespace {

namespace fs = std::filesystem;
using Archive = std::unique_ptr<zip_t, decltype([](zip_t* archive) { zip_discard(archive); })>;
using ArchivedFile = std::unique_ptr<zip_file_t, decltype([](zip_file_t* file) { zip_fclose(file); })>;

/// The type bits of a Unix file mode, as an archive made on Unix keeps them in an entry's attributes.
constexpr std::uint32_t typeBits = 0170000;
constexpr std::uint32_t regularFile = 0100000;
constexpr std::uint32_t directory = 0040000;

Archive openArchive(const fs::path& path) {
    int code = 0;
    Archive archive(zip_open(path.c_str(), ZIP_RDONLY, &code));
    if (!archive)
        fail("{} is not an FMU: neither a folder nor a ZIP archive that can be read ({}).", path.string(),
             zipErrorText(code));
    return archive;
}

/// Parts of a name.
constexpr std::ptrdiff_t deepest = 32;

/// Takes an archive apart entry by entry.
class Unpacking {
public:
    Unpacking(zip_t* archive, fs::path target, std::uint64_t files, std::uint64_t bytes)
        : archive_(archive), target_(std::move(target)), files_(files), bytes_(bytes) {}

    /// The entries that were left out.
    std::vector<LeftOutEntry> unpack() {
        const auto entries = static_cast<std::uint64_t>(zip_get_num_entries(archive_, 0));
        std::uint64_t bytes = 0;
        for (std::uint64_t i = 0; i < entries; ++i) {
            const std::uint64_t size = statedSize(i);
            if (size > bytes_ - bytes)
                fail("The archive would unpack to more than {} bytes, the limit for its size.", bytes_);
            bytes += size;
        }
        for (std::uint64_t i = 0; i < entries; ++i) unpack(i);
        return std::move(leftOut_);
    }

private:
    std::uint64_t statedSize(zip_uint64_t index) const {
        zip_stat_t stated;
        return zip_stat_index(archive_, index, 0, &stated) == 0 && (stated.valid & ZIP_STAT_SIZE) != 0 ? stated.size
                                                                                                       : 0;
    }

    void unpack(zip_uint64_t index) {
        throwIfInterrupted();
        const char* raw = zip_get_name(archive_, index, ZIP_FL_ENC_GUESS);
        const std::string name = raw != nullptr ? raw : "";
        if (!isAcceptable(index, name)) return;

        const fs::path path = target_ / fs::path(name);
        std::error_code failure;
        if (name.ends_with('/')) {
            fs::create_directories(path, failure);
        } else {
            fs::create_directories(path.parent_path(), failure);
            if (!failure) write(index, inQuotes(name), path);
        }
        if (failure) fail("{} cannot be unpacked: {}.", inQuotes(name), failure.message());
    }

    bool isAcceptable(zip_uint64_t index, const std::string& name) {
        const auto leaveOut = [&](std::string_view reason) {
            leftOut_.push_back({name, reason});
            return false;
        };
        if (name.empty()) return leaveOut("has no name");
        if (name.find('\\') != std::string::npos) return leaveOut("has a backslash in its name");
        const fs::path path(name);
        if (path.is_absolute()) return leaveOut("has an absolute path");
        for (const fs::path& part : path)
            if (part == "..") return leaveOut("leads out of the FMU's folder");
        if (std::distance(path.begin(), path.end()) > deepest) return leaveOut("is in too many folders");
        if (!isFileOrFolder(index)) return leaveOut("is neither a file nor a folder");
        const fs::path plain = path.lexically_normal();
        if (!names_.insert(plain.string()).second) return leaveOut("appears twice");
        for (fs::path folder = plain.parent_path(); !folder.empty(); folder = folder.parent_path())
            folders_.insert(folder.string());
        if (names_.size() + folders_.size() > files_) fail("The archive holds more than {} files and folders.", files_);
        return true;
    }

    bool isFileOrFolder(zip_uint64_t index) const {
        zip_uint8_t system = 0;
        zip_uint32_t attributes = 0;
        if (zip_file_get_external_attributes(archive_, index, 0, &system, &attributes) != 0) return false;
        const std::uint32_t type = (attributes >> 16) & typeBits;
        return system != ZIP_OPSYS_UNIX || type == 0 || type == regularFile || type == directory;
    }

    /// The size that an archive states is not believed: what comes out is counted.
    void write(zip_uint64_t index, const std::string& name, const fs::path& path) {
        const ArchivedFile source(zip_fopen_index(archive_, index, 0));
        if (!source) fail("{} cannot be unpacked: {}.", name, zip_strerror(archive_));
        errno = 0;
        std::ofstream file(path, std::ios::binary);
        std::array<char, 65536> block{};
        std::uint64_t left = statedSize(index);
        zip_int64_t size = 0;
        while ((size = zip_fread(source.get(), block.data(), block.size())) > 0) {
            throwIfInterrupted();
            if (static_cast<std::uint64_t>(size) > left) fail("{} is larger than the archive says.", name);
            left -= static_cast<std::uint64_t>(size);
            if (!file.write(block.data(), size)) break;
        }
        if (size < 0) fail("{} is damaged in the archive.", name);
        if (!file.flush()) fail("{} cannot be written to {}: {}.", name, target_.string(), std::strerror(errno));
    }

    zip_t* archive_;
    fs::path target_;
    std::uint64_t files_;
    std::uint64_t bytes_;
    std::set<std::string> names_;
    std::set<std::string> folders_;
    std::vector<LeftOutEntry> leftOut_;
};

} // namespace

FmuTree::FmuTree(const fs::path& path, const UnpackingLimits& limits) : root_(path) {
    std::error_code ignored;
    if (!fs::exists(path, ignored)) fail("{} does not exist.", inQuotes(path.string()));
    if (fs::is_directory(path, ignored)) return;
    if (!fs::is_regular_file(path, ignored)) fail("{} is neither a folder nor a regular file.", path.string());

    const Archive archive = openArchive(path);
    if (static_cast<std::uint64_t>(zip_get_num_entries(archive.get(), 0)) > limits.files)
        fail("The archive holds {} entries; {} are unpacked at most.", zip_get_num_entries(archive.get(), 0),
             limits.files);
    root_ = temporary_.emplace().path();
    leftOut_ = Unpacking(archive.get(), root_, limits.files, limits.bytesFrom(path)).unpack();
}

} // namespace tool
