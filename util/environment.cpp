#include "util/environment.h"

#include <cstdlib>
#include <string>

#include "util/paths.h"
#include "util/text.h"

namespace {

constexpr std::size_t unconvertible = static_cast<std::size_t>(-1);

} // namespace

char* NuGetEnv(const char* name) {
    if (name == nullptr) return nullptr;
    char* value = newstrdup(std::getenv(name));
    FixPath(value);
    return value;
}

wchar_t* NuGetEnvWC(const wchar_t* name) {
    const std::size_t nameLength = name != nullptr ? std::wcstombs(nullptr, name, 0) : unconvertible;
    if (nameLength == unconvertible) return nullptr;
    std::string narrowName(nameLength, '\0');
    std::wcstombs(narrowName.data(), name, nameLength);

    const char* value = std::getenv(narrowName.c_str());
    const std::size_t length = value != nullptr ? std::mbstowcs(nullptr, value, 0) : unconvertible;
    if (length == unconvertible) return nullptr;

    // Kept: the value is returned unchanged, without FixPath.
    auto* wideValue = new wchar_t[length + 1];
    std::mbstowcs(wideValue, value, length + 1);
    return wideValue;
}
