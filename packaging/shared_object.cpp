#include "packaging/shared_object.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <sstream>
#include <system_error>

#include <fcntl.h>
#include <gelf.h>
#include <libelf.h>
#include <unistd.h>

#include "packaging/subprocess.h"
#include "packaging/user_error.h"

namespace packaging {

namespace {

namespace fs = std::filesystem;

using Elf_ = std::unique_ptr<Elf, decltype([](Elf* elf) { elf_end(elf); })>;

class OpenFile {
public:
    explicit OpenFile(const fs::path& file) : descriptor_(open(file.c_str(), O_RDONLY | O_CLOEXEC)) {
        if (descriptor_ < 0) fail("{} can't be read.", file.string());
    }
    ~OpenFile() { close(descriptor_); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    int descriptor() const { return descriptor_; }

private:
    int descriptor_;
};

/// A text of a string table; empty where a damaged file points beside it.
std::string textAt(Elf* elf, std::size_t table, std::size_t offset) {
    const char* text = elf_strptr(elf, table, offset);
    return text != nullptr ? text : "";
}

void checkKind(Elf* elf, const fs::path& file) {
    GElf_Ehdr header;
    if (elf == nullptr || elf_kind(elf) != ELF_K_ELF || gelf_getehdr(elf, &header) == nullptr)
        fail("{} is no shared library.", file.string());
    if (header.e_machine != EM_X86_64 || gelf_getclass(elf) != ELFCLASS64)
        fail("{} is a library for another kind of processor than 64-bit x86.", file.string());
    if (header.e_type != ET_DYN) fail("{} is a program or an object file, not a shared library.", file.string());
}

void readDynamicSection(Elf* elf, const GElf_Shdr& header, Elf_Data* data, SharedObject& object) {
    for (std::size_t i = 0; i < header.sh_size / std::max<std::size_t>(header.sh_entsize, 1); ++i) {
        GElf_Dyn entry;
        if (gelf_getdyn(data, static_cast<int>(i), &entry) == nullptr || entry.d_tag == DT_NULL) return;
        if (entry.d_tag == DT_NEEDED) object.needed.push_back(textAt(elf, header.sh_link, entry.d_un.d_val));
        if (entry.d_tag == DT_SONAME) object.name = textAt(elf, header.sh_link, entry.d_un.d_val);
        if (entry.d_tag == DT_RUNPATH || entry.d_tag == DT_RPATH)
            object.searchPath = textAt(elf, header.sh_link, entry.d_un.d_val);
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
        if (isDefined) object.exports.insert(name);
        if (isDefined && GELF_ST_TYPE(symbol.st_info) == STT_FUNC) object.functions.insert(name);
        if (!isDefined && binding != STB_WEAK) object.imports.insert(name);
    }
}

/// A place in a section as libelf takes it; one that it refuses when the place lies beside.
int placeIn(const Elf_Data* data, std::int64_t place) {
    return place < static_cast<std::int64_t>(data->d_size) && place <= std::numeric_limits<int>::max()
               ? static_cast<int>(place)
               : -1;
}

bool isNewer(const std::string& version, const std::string& other) {
    return strverscmp(version.c_str(), other.c_str()) > 0;
}

/// Each entry says where the next one is. A damaged file may lead in circles.
void readNeededVersions(Elf* elf, const GElf_Shdr& header, Elf_Data* data, SharedObject& object) {
    constexpr int most = 100'000;
    const std::string prefix = "GLIBC_";
    int count = 0;
    GElf_Verneed library;
    for (std::int64_t offset = 0; count < most && gelf_getverneed(data, placeIn(data, offset), &library) != nullptr;
         offset += library.vn_next) {
        ++count;
        GElf_Vernaux version;
        std::int64_t position = offset + library.vn_aux;
        for (; count < most && gelf_getvernaux(data, placeIn(data, position), &version) != nullptr;
             position += version.vna_next) {
            ++count;
            const std::string name = textAt(elf, header.sh_link, version.vna_name);
            const std::string number = name.starts_with(prefix) ? name.substr(prefix.size()) : "";
            const bool isNumber = !number.empty() && number[0] >= '0' && number[0] <= '9'; // GLIBC_PRIVATE isn't
            if (isNumber && isNewer(number, object.glibc)) object.glibc = number;
            if (version.vna_next == 0) break;
        }
        if (library.vn_next == 0) break;
    }
}

/// What the loader prints instead of running a program. Unlike its option --list, the
/// variable makes the loader go on where something is missing. The time is limited, since a library may name a pipe.
ProcessResult traceLoading(const fs::path& folder, const std::string& preload, const std::string& program) {
    return runProcess({"/usr/bin/timeout", "10", "/usr/bin/env", "-C", folder.string(), "LD_TRACE_LOADED_OBJECTS=1",
                       "LD_PRELOAD=" + preload, "/lib64/ld-linux-x86-64.so.2", program});
}

/// A line is "NAME => PATH (ADDRESS)" or "NAME => not found"; without an arrow it is no library with a file.
std::vector<Dependency> dependenciesIn(const ProcessResult& loader, const fs::path& file) {
    const auto says = [&loader](const char* words) { return loader.output.find(words) != std::string::npos; };
    constexpr int timedOut = 124;
    if (loader.exitCode == timedOut) fail("The loader waits for something that {} needs.", file.string());
    if (says("cannot be preloaded") || (loader.exitCode != 0 && !says(" => ")))
        fail("The loader doesn't take {}: {}", file.string(), loader.output);

    std::vector<Dependency> dependencies;
    std::istringstream lines(loader.output);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t arrow = line.find(" => ");
        if (arrow == std::string::npos) continue;
        const std::size_t start = line.find_first_not_of(" \t");
        std::string path = line.substr(arrow + 4);
        path = path == "not found" ? "" : path.substr(0, path.rfind(" ("));
        dependencies.push_back({line.substr(start, arrow - start), path});
    }
    return dependencies;
}

} // namespace

SharedObject readSharedObject(const fs::path& file) {
    std::error_code ignored;
    if (fs::exists(file, ignored) && !fs::is_regular_file(file, ignored)) fail("{} is no regular file.", file.string());
    const OpenFile opened(file);
    elf_version(EV_CURRENT);
    const Elf_ elf(elf_begin(opened.descriptor(), ELF_C_READ, nullptr));
    checkKind(elf.get(), file);

    SharedObject object;
    std::set<GElf_Word> seen;
    for (Elf_Scn* section = nullptr; (section = elf_nextscn(elf.get(), section)) != nullptr;) {
        GElf_Shdr header;
        if (gelf_getshdr(section, &header) == nullptr) continue;
        if (!seen.insert(header.sh_type).second) continue; // one of each of those that count, however many it claims
        const auto read = [&](GElf_Word type, auto reader) {
            Elf_Data* data = header.sh_type == type ? elf_getdata(section, nullptr) : nullptr;
            if (data != nullptr) reader(elf.get(), header, data, object);
        };
        read(SHT_DYNAMIC, readDynamicSection);
        read(SHT_DYNSYM, readSymbols);
        read(SHT_GNU_verneed, readNeededVersions);
    }
    object.hasSections = seen.contains(SHT_DYNSYM);
    return object;
}

std::vector<Dependency> findDependencies(const fs::path& file) {
    // A program may name an audit library, which the loader runs even now. What is preloaded to another program may
    // not.
    const std::string name = file.filename().string();
    if (name.find_first_of(" :$") != std::string::npos)
        fail("The loader can't be asked for {}: it has a blank, colon or dollar sign in its name.", file.string());
    return dependenciesIn(traceLoading(fs::absolute(file).parent_path(), "./" + name, "/usr/bin/env"), file);
}

std::vector<Dependency> findDependenciesOfProgram(const fs::path& file) {
    return dependenciesIn(traceLoading(".", "", fs::absolute(file).string()), file);
}

} // namespace packaging
