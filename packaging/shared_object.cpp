#include "packaging/shared_object.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <sstream>

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

void readSymbols(Elf* elf, const GElf_Shdr& header, Elf_Data* data, SharedObject& object) {
    for (std::size_t i = 0; i < header.sh_size / std::max<std::size_t>(header.sh_entsize, 1); ++i) {
        GElf_Sym symbol;
        if (gelf_getsym(data, static_cast<int>(i), &symbol) == nullptr) return;
        const bool isExported = GELF_ST_BIND(symbol.st_info) == STB_GLOBAL || GELF_ST_BIND(symbol.st_info) == STB_WEAK;
        const bool isFunction = GELF_ST_TYPE(symbol.st_info) == STT_FUNC;
        if (isExported && isFunction && symbol.st_shndx != SHN_UNDEF)
            object.functions.insert(textAt(elf, header.sh_link, symbol.st_name));
        if (isExported && symbol.st_shndx == SHN_UNDEF)
            object.imports.insert(textAt(elf, header.sh_link, symbol.st_name));
    }
}

bool isNewer(const std::string& version, const std::string& other) {
    return strverscmp(version.c_str(), other.c_str()) > 0;
}

void readNeededVersions(Elf* elf, const GElf_Shdr& header, Elf_Data* data, SharedObject& object) {
    const std::string prefix = "GLIBC_";
    GElf_Verneed library;
    for (int offset = 0; gelf_getverneed(data, offset, &library) != nullptr;
         offset += static_cast<int>(library.vn_next)) {
        GElf_Vernaux version;
        int position = offset + static_cast<int>(library.vn_aux);
        for (; gelf_getvernaux(data, position, &version) != nullptr; position += static_cast<int>(version.vna_next)) {
            const std::string name = textAt(elf, header.sh_link, version.vna_name);
            if (name.starts_with(prefix) && isNewer(name.substr(prefix.size()), object.glibc))
                object.glibc = name.substr(prefix.size());
            if (version.vna_next == 0) break;
        }
        if (library.vn_next == 0) break;
    }
}

} // namespace

SharedObject readSharedObject(const fs::path& file) {
    const OpenFile opened(file);
    elf_version(EV_CURRENT);
    const Elf_ elf(elf_begin(opened.descriptor(), ELF_C_READ, nullptr));
    checkKind(elf.get(), file);

    SharedObject object;
    for (Elf_Scn* section = nullptr; (section = elf_nextscn(elf.get(), section)) != nullptr;) {
        GElf_Shdr header;
        Elf_Data* data = elf_getdata(section, nullptr);
        if (gelf_getshdr(section, &header) == nullptr || data == nullptr) continue;
        if (header.sh_type == SHT_DYNAMIC) readDynamicSection(elf.get(), header, data, object);
        if (header.sh_type == SHT_DYNSYM) readSymbols(elf.get(), header, data, object);
        if (header.sh_type == SHT_GNU_verneed) readNeededVersions(elf.get(), header, data, object);
    }
    return object;
}

std::vector<Dependency> findDependencies(const fs::path& file) {
    // Unlike its option --list, the variable makes the loader go on where something is missing.
    const ProcessResult loader = runProcess(
        {"/usr/bin/env", "LD_TRACE_LOADED_OBJECTS=1", "/lib64/ld-linux-x86-64.so.2", fs::absolute(file).string()});
    if (loader.exitCode != 0 && loader.output.find(" => ") == std::string::npos)
        fail("The loader doesn't take {}: {}", file.string(), loader.output);

    // A line is "NAME => PATH (ADDRESS)" or "NAME => not found"; without an arrow it is no library with a file.
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

} // namespace packaging
