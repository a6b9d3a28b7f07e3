// What the tests work on: files, folders that are removed with all they hold, a locale.
#pragma once

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace fs = std::filesystem;

inline std::string contentOf(const fs::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void writeFile(const fs::path& path, const std::string& content) {
    fs::create_directories(path.parent_path());
    std::ofstream(path) << content;
}

struct Folder {
    Folder() : path(mkdtemp((fs::temp_directory_path() / "tessaro_XXXXXX").string().data())) {}
    ~Folder() { fs::remove_all(path); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    const fs::path path;
};

/// The "C" locale, but with a comma in numbers, until the end of the scope. Throws when it cannot be made.
struct CommaLocale {
    CommaLocale() {
        const std::string source = folder.path / "source", locale = folder.path / "comma";
        writeFile(source, "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \"\"\ngrouping -1\nEND LC_NUMERIC\n");
        setenv("LOCPATH", folder.path.c_str(), 1);
        [[maybe_unused]] const int warned =
            std::system(("localedef -ci " + source + " " + locale + " 2>/dev/null").c_str());
        if (std::setlocale(LC_NUMERIC, "comma") == nullptr) throw std::runtime_error("no locale with a comma");
    }
    ~CommaLocale() { std::setlocale(LC_NUMERIC, "C"); }

    const Folder folder;
};
