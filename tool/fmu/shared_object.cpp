#include "tool/fmu/shared_object.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>

#include "tool/fmu/elf_file.h"
#include "tool/os/user_error.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

bool isNative(const GElf_Ehdr& header) {
    return header.e_machine == EM_X86_64 && header.e_ident[EI_CLASS] == ELFCLASS64;
}

/// A text of a string table; empty where a damaged file points beside it.
std::string textAt(Elf* elf, std::size_t table, std::size_t offset) {
    const char* text = elf_strptr(elf, table, offset);
    return text != nullptr ? text : "";
}

void checkKind(const ElfFile& opened, const fs::path& file) {
    const std::optional<GElf_Ehdr> header = opened.header();
    if (!header) fail("{} is not a shared library.", file.string());
    if (!isNative(*header)) fail("{} is a library for another kind of processor than 64-bit x86.", file.string());
    if (header->e_type != ET_DYN) fail("{} is a program or an object file, not a shared library.", file.string());

    std::uint64_t end = 0;
    const std::uintmax_t size = fs::file_size(file);
    for (const GElf_Phdr& segment : opened.segments()) {
        if (segment.p_type != PT_LOAD) continue;
        if (segment.p_offset > size || segment.p_filesz > size - segment.p_offset)
            fail("{} is damaged: the end of the file is missing. Copy it again.", file.string());
        if (segment.p_vaddr < end || segment.p_memsz > UINT64_MAX - segment.p_vaddr)
            fail("{} has segments out of order: the loader would map them over other memory.", file.string());
        end = segment.p_vaddr + segment.p_memsz;
    }
}

/// A damaged file may name long texts over and over.
void readSymbols(Elf* elf, const GElf_Shdr& header, Elf_Data* data, SharedObject& object) {
    std::size_t room = 256U << 20U;
    for (std::size_t i = 0; i < header.sh_size / std::max<std::size_t>(header.sh_entsize, 1); ++i) {
        GElf_Sym symbol;
        if (gelf_getsym(data, static_cast<int>(i), &symbol) == nullptr) return;
        const auto binding = GELF_ST_BIND(symbol.st_info);
        if (binding == STB_LOCAL) continue;
        const std::string name = textAt(elf, header.sh_link, symbol.st_name);
        if (name.size() > room) fail("A shared library has more than 256 MiB of symbols.");
        room -= name.size();

        const bool isDefined = symbol.st_shndx != SHN_UNDEF;
        if (isDefined) object.exports[name] |= GELF_ST_TYPE(symbol.st_info) == STT_FUNC;
        if (!isDefined && binding != STB_WEAK) object.imports.insert(name);
    }
}

/// A place in a section as libelf takes it; one that it refuses when the place lies beside.
int placeIn(const Elf_Data* data, std::int64_t place) {
    return place < static_cast<std::int64_t>(data->d_size) && place <= std::numeric_limits<int>::max()
               ? static_cast<int>(place)
               : -1;
}

void noteGlibc(const std::string& version, SharedObject& object) {
    const std::string prefix = "GLIBC_";
    const std::string number = version.starts_with(prefix) ? version.substr(prefix.size()) : "";
    const bool isNumber = !number.empty() && number[0] >= '0' && number[0] <= '9'; // GLIBC_PRIVATE is not
    if (isNumber && strverscmp(number.c_str(), object.glibc.c_str()) > 0) object.glibc = number;
}

/// Entries that each say where the next one is. A damaged file may lead in circles.
constexpr int mostVersions = 100'000;

void readNeededVersions(Elf* elf, const GElf_Shdr& header, Elf_Data* data, SharedObject& object) {
    int count = 0;
    GElf_Verneed library;
    for (std::int64_t offset = 0;
         ++count < mostVersions && gelf_getverneed(data, placeIn(data, offset), &library) != nullptr;
         offset += library.vn_next) {
        GElf_Vernaux version;
        std::set<std::string>& versions = object.neededVersions[textAt(elf, header.sh_link, library.vn_file)];
        for (std::int64_t position = offset + library.vn_aux;
             ++count < mostVersions && gelf_getvernaux(data, placeIn(data, position), &version) != nullptr;
             position += version.vna_next) {
            const std::string name = textAt(elf, header.sh_link, version.vna_name);
            noteGlibc(name, object);
            if ((version.vna_flags & VER_FLG_WEAK) == 0) versions.insert(name);
            if (version.vna_next == 0) break;
        }
        if (library.vn_next == 0) break;
    }
}

/// The first text of each is its name; the others are those that it follows.
void readVersions(Elf* elf, const GElf_Shdr& header, Elf_Data* data, SharedObject& object) {
    GElf_Verdef version;
    std::int64_t offset = 0;
    for (int count = 0; count < mostVersions && gelf_getverdef(data, placeIn(data, offset), &version) != nullptr;
         ++count, offset += version.vd_next) {
        GElf_Verdaux name;
        if (gelf_getverdaux(data, placeIn(data, offset + version.vd_aux), &name) != nullptr)
            object.versions.insert(textAt(elf, header.sh_link, name.vda_name));
        if (version.vd_next == 0) break;
    }
}

} // namespace

SharedObject readSharedObject(const fs::path& file) {
    const ElfFile opened(file);
    checkKind(opened, file);

    SharedObject object;
    object.needed = readLoadingNeeds(opened).needed;
    std::set<GElf_Word> seen;
    for (Elf_Scn* section = nullptr; (section = elf_nextscn(opened.get(), section)) != nullptr;) {
        GElf_Shdr header;
        if (gelf_getshdr(section, &header) == nullptr) continue;
        if (!seen.insert(header.sh_type).second) continue; // one of each of those that count, however many it claims
        const auto read = [&](GElf_Word type, auto reader) {
            Elf_Data* data = header.sh_type == type ? elf_getdata(section, nullptr) : nullptr;
            if (data != nullptr) reader(opened.get(), header, data, object);
        };
        read(SHT_DYNSYM, readSymbols);
        read(SHT_GNU_verneed, readNeededVersions);
        read(SHT_GNU_verdef, readVersions);
    }
    object.hasSections = seen.contains(SHT_DYNSYM);
    return object;
}

/// The name of a class that only the runtime defines, in the form in which its type information holds it. Symbols that
/// refer to it have a prefix.
bool holdsCxxRuntime(const fs::path& file) {
    constexpr std::string_view name("\0N10__cxxabiv117__class_type_infoE\0", 35);
    const ElfFile opened(file);
    std::size_t size = 0;
    const char* start = elf_rawfile(opened.get(), &size);
    return start != nullptr && std::string_view(start, size).find(name) != std::string_view::npos;
}

BinaryKind binaryKindOf(const fs::path& file) {
    const ElfFile opened(file);
    const std::optional<GElf_Ehdr> header = opened.header();
    if (header && isNative(*header)) return BinaryKind::native;
    return opened.beginsAsElf() ? BinaryKind::foreign : BinaryKind::none;
}

} // namespace tool
