#include "tool/fmu/dependencies.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <map>
#include <set>
#include <string_view>
#include <utility>

#include "tool/fmu/elf_file.h"
#include "tool/fmu/loader_cache.h"
#include "tool/fmu/shared_object.h"
#include "tool/os/files.h"
#include "tool/os/text.h"
#include "tool/os/user_error.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t mostLibraries = 500;
constexpr int mostPlaces = 100'000;
constexpr std::array defaultFolders{
    "/lib/x86_64-linux-gnu", "/usr/lib/x86_64-linux-gnu", "/lib64", "/usr/lib64", "/lib", "/usr/lib"};

/// A file that would be loaded, and which one made the loader load it.
struct Loaded {
    std::string name;
    fs::path path;
    const Loaded* loader;
    LoadingNeeds needs;
    std::vector<std::string> rpath, runpath; ///< folders; with a RUNPATH there is no RPATH
};

/// An empty folder is the working directory.
std::vector<std::string> foldersIn(std::string_view path, std::string_view separators) {
    std::vector<std::string> folders;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find_first_of(separators), path.size());
        folders.emplace_back(end > 0 ? path.substr(0, end) : ".");
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return folders;
}

void replaceAll(std::string& text, std::string_view old, std::string_view now) {
    for (std::size_t at = 0; text.size() <= PATH_MAX && (at = text.find(old, at)) != std::string::npos;
         at += now.size())
        text.replace(at, old.size(), now);
}

/// A path in a file as the loader takes it.
std::string expanded(std::string path, const fs::path& file) {
    if (path.find('$') == std::string::npos) return path;
    const std::string origin = fs::absolute(file).parent_path();
    const std::string library = isFolder("/lib/x86_64-linux-gnu") ? "lib/x86_64-linux-gnu" : "lib64";
    for (const auto& [name, value] :
         {std::pair<std::string, std::string>{"ORIGIN", origin}, {"LIB", library}, {"PLATFORM", "x86_64"}}) {
        replaceAll(path, "${" + name + "}", value);
        replaceAll(path, "$" + name, value);
    }
    return path;
}

std::vector<std::string> expandedFolders(const std::string& path, const fs::path& file) {
    std::vector<std::string> folders = foldersIn(path, ":");
    for (std::string& folder : folders) folder = expanded(folder, file);
    return folders;
}

Loaded load(const std::string& name, const fs::path& path, const Loaded* loader) {
    Loaded loaded{name, path, loader, readLoadingNeeds(ElfFile(path)), {}, {}};
    loaded.runpath = expandedFolders(loaded.needs.runpath, path);
    if (loaded.runpath.empty()) loaded.rpath = expandedFolders(loaded.needs.rpath, path);
    return loaded;
}

class Search {
public:
    explicit Search(const fs::path& file) {
        loaded_.reserve(mostLibraries + 1); // they refer to each other
        loaded_.push_back(load(file.filename(), file, nullptr));
    }

    std::vector<Dependency> run() {
        for (std::size_t i = 0; i < loaded_.size(); ++i) // grows meanwhile NOLINT(modernize-loop-convert)
            for (const std::string& name : loaded_[i].needs.needed) follow(name, loaded_[i]);
        follow("libc.so.6", loaded_.front()); // is in every process
        return std::move(found_);
    }

private:
    void follow(const std::string& name, const Loaded& loader) {
        if (known_.contains(name)) return;
        if (found_.size() >= mostLibraries) fail("More than {} libraries would be loaded with it.", mostLibraries);

        const fs::path path = find(name, loader);
        found_.push_back({name, path, loader.name});
        known_.insert(name);
        if (path.empty()) return;
        loaded_.push_back(load(name, path, &loader));
        known_.insert(loaded_.back().needs.name);
    }

    /// In the loader's order. An RPATH counts for what its owner's dependencies need as well, a RUNPATH for its owner
    /// alone; for what a file with a RUNPATH needs, no RPATH counts.
    fs::path find(const std::string& name, const Loaded& loader) {
        if (name.find('/') != std::string::npos) {
            const std::string path = expanded(name, loader.path);
            return isTaken(path, name) ? path : "";
        }
        fs::path path;
        for (const Loaded* owner = &loader; owner != nullptr && loader.runpath.empty(); owner = owner->loader)
            if (isIn(owner->rpath, name, path)) return path;
        const char* variable = std::getenv("LD_LIBRARY_PATH");
        if (variable != nullptr && isIn(foldersIn(variable, ":;"), name, path)) return path;
        if (isIn(loader.runpath, name, path) || loader.needs.skipsDefaults) return path;
        const auto cached = cache_.find(name);
        if (cached != cache_.end() && isTaken(cached->second, name)) return cached->second;
        isIn({defaultFolders.begin(), defaultFolders.end()}, name, path);
        return path;
    }

    bool isIn(const std::vector<std::string>& folders, const std::string& name, fs::path& path) {
        for (const std::string& folder : folders) {
            if (!isTaken(fs::path(folder) / name, name)) continue;
            path = fs::path(folder) / name;
            return true;
        }
        return false;
    }

    /// The loader goes on after a library for another kind of machine, but stops at what is not a library at all.
    bool isTaken(const fs::path& path, const std::string& name) {
        if (++places_ > mostPlaces) fail("The loader would look for libraries in more than {} places.", mostPlaces);
        std::error_code failure;
        if (!fs::exists(path, failure)) return false;
        if (!isRegularFile(path) || (isReadable(path) && binaryKindOf(path) == BinaryKind::none))
            fail("The loader takes {} for {} and stops, since it is not a shared library.", path.string(),
                 inQuotes(name));
        return isReadable(path) && binaryKindOf(path) == BinaryKind::native;
    }

    std::map<std::string, std::string> cache_ = readLoaderCache();
    std::vector<Loaded> loaded_;
    std::vector<Dependency> found_;
    std::set<std::string> known_; ///< names of what is loaded or missing
    int places_ = 0;
};

} // namespace

std::vector<Dependency> findDependencies(const fs::path& file) { return Search(file).run(); }

std::vector<std::string> missingDependencies(const fs::path& file) {
    std::vector<std::string> names;
    try {
        for (const Dependency& dependency : findDependencies(file))
            if (dependency.path.empty()) names.push_back(dependency.name);
    } catch (const UserError&) {
    }
    return names;
}

} // namespace tool
