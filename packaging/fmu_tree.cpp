#include "packaging/fmu_tree.h"

#include <array>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <set>
#include <string>
#include <system_error>

#include <zip.h>

#include "packaging/user_error.h"

namespace packaging {

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
    if (!archive) {
        zip_error_t error;
        zip_error_init_with_code(&error, code);
        const std::string text = zip_error_strerror(&error);
        zip_error_fini(&error);
        fail("{} is no FMU: neither a folder nor a ZIP archive that can be read ({}).", path.string(), text);
    }
    return archive;
}

fs::path makeTemporaryFolder() {
    std::string name = (fs::temp_directory_path() / "tessaro-fmu-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr)
        fail("No temporary folder can be made in {}.", fs::temp_directory_path().string());
    return name;
}

/// Takes an archive apart entry by entry.
class Unpacking {
public:
    Unpacking(zip_t* archive, fs::path target, Findings& findings, const UnpackingLimits& limits)
        : archive_(archive), target_(std::move(target)), findings_(findings), limits_(limits) {}

    void unpack() {
        const zip_int64_t entries = zip_get_num_entries(archive_, 0);
        if (static_cast<std::uint64_t>(entries) > limits_.files)
            fail("The archive holds {} files; {} are unpacked at most.", entries, limits_.files);
        for (zip_int64_t i = 0; i < entries; ++i) unpack(static_cast<zip_uint64_t>(i));
    }

private:
    void unpack(zip_uint64_t index) {
        const char* raw = zip_get_name(archive_, index, ZIP_FL_ENC_GUESS);
        const std::string name = raw != nullptr ? raw : "";
        if (!isAcceptable(index, name)) return;

        const fs::path path = target_ / fs::path(name);
        std::error_code failure;
        if (name.ends_with('/')) {
            fs::create_directories(path, failure);
        } else {
            fs::create_directories(path.parent_path(), failure);
            if (!failure) write(index, name, path);
        }
        if (failure) fail("{} can't be unpacked: {}.", name, failure.message());
    }

    bool isAcceptable(zip_uint64_t index, const std::string& name) {
        const auto leaveOut = [&](std::string_view reason) {
            findings_.error("archive-entry", {}, fmt::format("The archive's entry \"{}\" {}.", name, reason),
                            "Masters refuse such an archive, or unpack it to places that nobody expects.",
                            "Pack the FMU again, with plain relative names and forward slashes.");
            return false;
        };
        if (name.empty()) return leaveOut("has no name");
        if (name.find('\\') != std::string::npos) return leaveOut("has a backslash in its name");
        const fs::path path(name);
        if (path.is_absolute()) return leaveOut("has an absolute path");
        for (const fs::path& part : path)
            if (part == "..") return leaveOut("leads out of the FMU's folder");
        if (!isFileOrFolder(index)) return leaveOut("is neither a file nor a folder");
        if (!names_.insert(path.lexically_normal().string()).second) return leaveOut("stands twice");
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
        if (!source) fail("{} can't be unpacked: {}.", name, zip_strerror(archive_));
        std::ofstream file(path, std::ios::binary);
        std::array<char, 1 << 16> block{};
        zip_int64_t size = 0;
        while ((size = zip_fread(source.get(), block.data(), block.size())) > 0) {
            bytes_ += static_cast<std::uint64_t>(size);
            if (bytes_ > limits_.bytes) fail("The archive unpacks to more than {} bytes.", limits_.bytes);
            file.write(block.data(), size);
        }
        if (size < 0) fail("{} is damaged in the archive.", name);
        if (!file.flush()) fail("{} can't be unpacked to {}.", name, path.string());
    }

    zip_t* archive_;
    fs::path target_;
    Findings& findings_;
    UnpackingLimits limits_;
    std::set<std::string> names_;
    std::uint64_t bytes_ = 0;
};

} // namespace

FmuTree::FmuTree(const fs::path& path, Findings& findings, const UnpackingLimits& limits) : root_(path) {
    std::error_code ignored;
    if (!fs::exists(path, ignored)) fail("There is no {}.", path.string());
    if (fs::is_directory(path)) return;

    const Archive archive = openArchive(path);
    temporary_ = makeTemporaryFolder();
    root_ = temporary_;
    try {
        Unpacking(archive.get(), root_, findings, limits).unpack();
    } catch (...) {
        fs::remove_all(temporary_, ignored);
        throw;
    }
}

FmuTree::~FmuTree() {
    std::error_code ignored;
    if (!temporary_.empty()) fs::remove_all(temporary_, ignored);
}

} // namespace packaging
