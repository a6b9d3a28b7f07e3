#include "tool/fmu/names.h"

#include <algorithm>
#include <cstdio>
#include <new>

#include "util/internal/owners.h"

namespace tool {

std::string libraryOf(std::string_view identifier) { return librariesFolder + "/" + std::string(identifier) + ".so"; }

bool isIdentifier(std::string_view name) {
    return !name.empty() && isNondigit(name.front()) &&
           std::ranges::all_of(name, [](char c) { return isNondigit(c) || isDigit(c); });
}

std::string identifierFrom(std::string_view modelName) {
    std::string identifier(modelName);
    std::ranges::replace_if(
        identifier, [](char c) { return c == '.' || c == '-'; }, '_');
    return identifier.empty() || isNondigit(identifier.front()) ? identifier : "model_" + identifier;
}

ModelNameFault modelNameFault(std::string_view name) {
    const auto isAllowed = [](char c) { return isNondigit(c) || isDigit(c) || c == '.' || c == '-'; };
    if (name.empty() || name.front() == '.' || name.front() == '-' || !std::ranges::all_of(name, isAllowed))
        return ModelNameFault::characters;
    if (name.find(modelFileExtension) != std::string_view::npos) return ModelNameFault::extension;
    return name.size() > longestModelName ? ModelNameFault::length : ModelNameFault::none;
}

std::string modelFileIn(const std::string& description) {
    if (description.empty()) return "";
    const Stream stream(fmemopen(const_cast<char*>(description.data()), description.size(), "r"));
    if (!stream) throw std::bad_alloc();
    return modelFileName(stream.get());
}

} // namespace tool
