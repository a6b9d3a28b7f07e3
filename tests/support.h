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
        // The system's compiled file: the places of its strings are from byte 8 on, four bytes each; the first is the
        // decimal point, the fourth the same as a wide character.
        std::string numbers = contentOf("/usr/lib/locale/C.utf8/LC_NUMERIC");
        for (const std::size_t place : {8U, 20U}) numbers.at(static_cast<unsigned char>(numbers.at(place))) = ',';
        writeFile(folder.path / "comma/LC_NUMERIC", numbers);
        setenv("LOCPATH", folder.path.c_str(), 1);
        if (std::setlocale(LC_NUMERIC, "comma") == nullptr || std::localeconv()->decimal_point != std::string(","))
            throw std::runtime_error("no locale with a comma");
    }
    ~CommaLocale() { std::setlocale(LC_NUMERIC, "C"); }

    const Folder folder;
};
