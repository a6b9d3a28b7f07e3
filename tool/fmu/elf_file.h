// An ELF file, read by libelf and never mapped as a program: what shared_object and dependencies have in common.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <gelf.h>
#include <libelf.h>

namespace tool {

/// A regular file as libelf sees it.
class ElfFile {
public:
    /// Throws UserError when it is not a regular file or cannot be read.
    explicit ElfFile(const std::filesystem::path& file);
    ~ElfFile();
    ElfFile(const ElfFile&) = delete;
    ElfFile& operator=(const ElfFile&) = delete;

    Elf* get() const { return elf_; }

    /// The file's header; nothing when it is not an ELF file.
    std::optional<GElf_Ehdr> header() const;

    bool beginsAsElf() const;

    /// The segments that can be read.
    std::vector<GElf_Phdr> segments() const;

private:
    int descriptor_ = -1;
    Elf* elf_ = nullptr;
};

/// What a shared library or program asks of the dynamic loader.
struct LoadingNeeds {
    std::string name;                ///< its soname, or empty
    std::vector<std::string> needed; ///< the libraries that it names, in order
    std::string rpath, runpath;      ///< folders to look in, with colons between; unchanged
    bool skipsDefaults = false;      ///< the loader's cache and the default folders are not looked at
};

/// Reads the dynamic segment, as the loader does; a file without one needs nothing. Throws UserError when it asks for
/// more than a sound file would.
LoadingNeeds readLoadingNeeds(const ElfFile& file);

} // namespace tool
