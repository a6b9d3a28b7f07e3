#include "tool/pack/bundle.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <string_view>
#include <utility>

#include "tool/fmu/dependencies.h"
#include "tool/fmu/elf_file.h"
#include "tool/os/child_process.h"
#include "tool/os/files.h"
#include "tool/os/temporary_folder.h"
#include "tool/os/user_error.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

/// What belongs to the machine that the FMU runs on: two of these in one process would be wrong.
constexpr std::array<std::string_view, 12> systemLibraries{
    "libc.so.6",    "libm.so.6",      "libdl.so.2",  "libpthread.so.0", "librt.so.1",    "libutil.so.1",
    "libmvec.so.1", "libresolv.so.2", "libanl.so.1", "libstdc++.so.6",  "libgcc_s.so.1", "ld-linux-x86-64.so.2"};

bool looksBesideItself(const fs::path& library) {
    const std::string folders = readLoadingNeeds(ElfFile(library)).runpath;
    return folders == "$ORIGIN" || folders.starts_with("$ORIGIN:");
}

/// The file's content, changed so that the loader looks for what it needs beside it first.
std::string lookingBesideItself(const fs::path& library, const fs::path& copy) {
    if (looksBesideItself(library)) return readUserFile(library);
    fs::copy_file(library, copy, fs::copy_options::overwrite_existing);
    fs::permissions(copy, fs::perms::owner_all);
    const ChildResult patched = [&] {
        try {
            return runProgram({{"patchelf", "--set-rpath", "$ORIGIN", copy.string()}});
        } catch (const UserError& error) {
            fail("--bundle needs the program patchelf (Debian package patchelf): {}", error.what());
        }
    }();
    if (patched.exitCode != 0)
        fail("patchelf cannot change {}: {}", library.string(),
             patched.output.empty() ? "it says nothing." : patched.output);
    return readUserFile(copy);
}

/// The package that a file belongs to; empty when dpkg is missing or knows none. It knows files by the names that they
/// were installed under, /lib being a link to /usr/lib or not.
std::string packageOf(const fs::path& file) {
    const std::string real = fs::canonical(file);
    const std::string withoutUsr = real.starts_with("/usr/") ? real.substr(4) : real;
    std::istringstream found;
    try {
        found.str(runProgram({{"dpkg-query", "--search", real, withoutUsr}}).output);
    } catch (const UserError&) {
    }
    for (std::string line; std::getline(found, line);) // PACKAGE[:ARCHITECTURE]: FILE, or why there is none
        if (line.ends_with(": " + real) || line.ends_with(": " + withoutUsr))
            return line.substr(0, line.find_first_of(":,"));
    return "";
}

/// Debian's copyright file of the package. An installation that brings the library along has those of all that it
/// brings in one folder.
std::vector<License> licensesOf(const fs::path& file) {
    std::vector<License> licenses;
    const auto add = [&licenses](const std::string& name, const fs::path& path) {
        if (auto text = readFile(path)) licenses.push_back({name + ".txt", std::move(*text), path});
    };
    const fs::path brought = file.parent_path() / "../../share/doc/tessaro-fmu/licences";
    if (const std::string package = packageOf(file); !package.empty())
        add(package, fs::path("/usr/share/doc") / package / "copyright");
    else if (isFolder(brought))
        for (const auto& entry : fs::directory_iterator(brought)) add(entry.path().filename(), entry.path());
    std::ranges::sort(licenses, {}, &License::name);
    return licenses;
}

} // namespace

Bundle bundleLibraries(const fs::path& library, const std::string& fileName, Report& report) {
    const TemporaryFolder folder;
    const fs::path copy = folder.path() / "library";
    Bundle bundle{{{fileName, lookingBesideItself(library, copy), true}}, {}, {}};
    for (const Dependency& dependency : findDependencies(library)) {
        if (std::ranges::find(systemLibraries, dependency.name) != systemLibraries.end()) continue;
        if (dependency.path.empty())
            fail("{} needs {}, which is not installed here.", library.string(), dependency.name);
        bundle.libraries.push_back({dependency.name, lookingBesideItself(dependency.path, copy), true});
        bundle.files.push_back(dependency.path);
        const std::vector<License> licenses = licensesOf(dependency.path);
        if (licenses.empty())
            report.add("license-missing", {}, "No licence of {} was found.", inQuotes(dependency.path.string()));
        bundle.licenses.insert(bundle.licenses.end(), licenses.begin(), licenses.end());
    }
    return bundle;
}

} // namespace tool
