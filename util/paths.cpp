#include "util/paths.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <memory>
#include <string>
#include <string_view>

#include <strings.h>

#include "util/internal/owners.h"

namespace {

template <typename Char>
void turnBackslashes(Char* path) {
    if (path != nullptr) std::replace(path, path + std::char_traits<Char>::length(path), Char{'\\'}, Char{'/'});
}

bool isSameExtension(const char* extension, const char* oldExt) { return strcasecmp(extension, oldExt) == 0; }

bool isSameExtension(const wchar_t* extension, const wchar_t* oldExt) {
    std::wstring left(extension);
    std::wstring right(oldExt);
    WcsLC(left.data());
    WcsLC(right.data());
    return left == right;
}

template <typename Char>
Char* changeExtension(const Char* path, const Char* oldExt, const Char* newExt) {
    using Traits = std::char_traits<Char>;
    if (path == nullptr) return nullptr;
    const std::size_t length = Traits::length(path);
    const std::size_t newLength = newExt != nullptr ? Traits::length(newExt) : 0;
    std::unique_ptr<Char[]> copy(new Char[length + newLength + 1]);
    Traits::copy(copy.get(), path, length + 1);

    // Kept: the last dot of the whole path, so "v1.2/model" has the extension "2/model".
    const std::size_t dot = std::basic_string_view<Char>(path, length).rfind(Char{'.'});
    if (dot == std::basic_string_view<Char>::npos || newExt == nullptr) return copy.release();

    Char* extension = &copy[dot + 1];
    if (oldExt == nullptr || isSameExtension(extension, oldExt)) Traits::copy(extension, newExt, newLength + 1);
    return copy.release();
}

} // namespace

void FixPath(char* path) { turnBackslashes(path); }

void fixPathUnmangled(char* path) { turnBackslashes(path); }

void FixPathWC(wchar_t* path) { turnBackslashes(path); }

bool IsFileExist(const char* path) {
    if (path == nullptr) return false;
    std::string fixed(path);
    FixPath(fixed.data());

    // Kept: a folder can be opened for reading and counts as a file.
    return Stream(std::fopen(fixed.c_str(), "r")) != nullptr;
}

char* ChangeExtension(const char* path, const char* oldExt, const char* newExt) {
    return changeExtension(path, oldExt, newExt);
}

wchar_t* ChangeExtensionWC(const wchar_t* path, const wchar_t* oldExt, const wchar_t* newExt) {
    return changeExtension(path, oldExt, newExt);
}

void WcsLC(wchar_t* text) {
    if (text == nullptr) return;
    for (; *text != L'\0'; ++text) *text = static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(*text)));
}
