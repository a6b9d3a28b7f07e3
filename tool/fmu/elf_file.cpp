#include "tool/fmu/elf_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include "tool/os/files.h"
#include "tool/os/user_error.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t mostNeeded = 500;
constexpr std::size_t longestName = 1024;
constexpr std::size_t longestPath = 1 << 16; ///< of a list of folders

Elf_Data* chunkOf(const ElfFile& file, std::uint64_t offset, std::uint64_t size, Elf_Type type) {
    constexpr std::uint64_t end = std::uint64_t{1} << 62U;
    if (offset > end || size > end) return nullptr;
    return elf_getdata_rawchunk(file.get(), static_cast<std::int64_t>(offset), size, type);
}

/// The texts of the dynamic segment.
class Texts {
public:
    /// The table is where the loader would map `address`; without one all texts are empty.
    Texts(const ElfFile& file, std::uint64_t address, std::uint64_t size) {
        for (const GElf_Phdr& segment : file.segments()) {
            const std::uint64_t distance = address - segment.p_vaddr;
            if (segment.p_type != PT_LOAD || address < segment.p_vaddr || distance >= segment.p_filesz) continue;
            data_ = chunkOf(file, segment.p_offset + distance, std::min(size, segment.p_filesz - distance), ELF_T_BYTE);
            return;
        }
    }

    std::string at(std::uint64_t offset, std::size_t longest) const {
        if (data_ == nullptr || offset >= data_->d_size) return "";
        const char* start = static_cast<const char*>(data_->d_buf) + offset;
        const std::size_t length = strnlen(start, data_->d_size - offset);
        if (length > longest) fail("A shared library has a name or search path above {} characters.", longest);
        return {start, length};
    }

private:
    const Elf_Data* data_ = nullptr;
};

/// The entries up to the closing one.
std::vector<GElf_Dyn> entriesOf(const ElfFile& file) {
    constexpr int most = 1'000'000;
    std::vector<GElf_Dyn> entries;
    for (const GElf_Phdr& segment : file.segments()) {
        if (segment.p_type != PT_DYNAMIC) continue;
        Elf_Data* data = chunkOf(file, segment.p_offset, segment.p_filesz, ELF_T_DYN);
        GElf_Dyn entry;
        for (int i = 0; data != nullptr && i < most && gelf_getdyn(data, i, &entry) != nullptr; ++i) {
            if (entry.d_tag == DT_NULL) break;
            entries.push_back(entry);
        }
        break;
    }
    return entries;
}

} // namespace

ElfFile::ElfFile(const fs::path& file) {
    if (fs::exists(fs::symlink_status(file)) && !isRegularFile(file)) fail("{} is not a regular file.", file.string());
    descriptor_ = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor_ < 0) fail("{} cannot be read: {}.", file.string(), std::strerror(errno));
    elf_version(EV_CURRENT);
    elf_ = elf_begin(descriptor_, ELF_C_READ, nullptr);
}

ElfFile::~ElfFile() {
    elf_end(elf_);
    close(descriptor_);
}

std::optional<GElf_Ehdr> ElfFile::header() const {
    GElf_Ehdr header;
    if (get() == nullptr || elf_kind(get()) != ELF_K_ELF || gelf_getehdr(get(), &header) == nullptr)
        return std::nullopt;
    return header;
}

bool ElfFile::beginsAsElf() const {
    std::size_t size = 0;
    const char* start = elf_rawfile(get(), &size);
    return start != nullptr && size >= SELFMAG && std::memcmp(start, ELFMAG, SELFMAG) == 0;
}

std::vector<GElf_Phdr> ElfFile::segments() const {
    std::vector<GElf_Phdr> segments;
    std::size_t count = 0;
    if (!header() || elf_getphdrnum(get(), &count) != 0) return segments;
    GElf_Phdr segment;
    for (std::size_t i = 0; i < count && gelf_getphdr(get(), static_cast<int>(i), &segment) != nullptr; ++i)
        segments.push_back(segment);
    return segments;
}

LoadingNeeds readLoadingNeeds(const ElfFile& file) {
    const std::vector<GElf_Dyn> entries = entriesOf(file);
    std::uint64_t address = 0, size = 0;
    for (const GElf_Dyn& entry : entries) {
        if (entry.d_tag == DT_STRTAB) address = entry.d_un.d_ptr;
        if (entry.d_tag == DT_STRSZ) size = entry.d_un.d_val;
    }

    const Texts texts(file, address, size);
    LoadingNeeds needs;
    for (const GElf_Dyn& entry : entries) {
        const std::uint64_t value = entry.d_un.d_val;
        if (entry.d_tag == DT_NEEDED) needs.needed.push_back(texts.at(value, longestName));
        if (entry.d_tag == DT_SONAME) needs.name = texts.at(value, longestName);
        if (entry.d_tag == DT_RPATH) needs.rpath = texts.at(value, longestPath);
        if (entry.d_tag == DT_RUNPATH) needs.runpath = texts.at(value, longestPath);
        if (entry.d_tag == DT_FLAGS_1) needs.skipsDefaults = (value & DF_1_NODEFLIB) != 0;
        if (needs.needed.size() > mostNeeded) fail("A shared library names more than {} others.", mostNeeded);
    }
    return needs;
}

} // namespace tool
