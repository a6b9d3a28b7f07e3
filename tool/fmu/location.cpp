#include "tool/fmu/location.h"

#include <fmt/format.h>

#include "resources/resource_location.h"
#include "util/internal/owners.h"

namespace tool {

namespace {

constexpr std::string_view unreserved = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
constexpr std::string_view scheme = "file://";
constexpr std::string_view folder = "/resources/"; // any would do

std::string changed(const std::string& location, std::string_view path) {
    const std::string received = pathFromLocation(location);
    if (received == path) return "";
    return received.empty() ? "no name" : received;
}

} // namespace

std::string encodedLocation(const std::filesystem::path& path) {
    std::string location(scheme);
    for (const char character : path.string())
        location += unreserved.find(character) != std::string_view::npos
                        ? std::string(1, character)
                        : fmt::format("%{:02X}", static_cast<unsigned char>(character));
    return location;
}

std::string pathFromLocation(const std::string& location) {
    const MallocText path(convert_URI_to_path(location.c_str()));
    return path != nullptr ? path.get() : "";
}

bool isAmongResources(std::string_view fileName) { return fileName.find_first_of("/\\") == std::string_view::npos; }

std::string changedResource(std::string_view fileName) {
    const std::string path = fmt::format("{}{}", folder, fileName.substr(0, fileName.find('\0')));
    return changed(std::string(scheme) + path, path);
}

std::string changedResultFile(std::string_view fileName) {
    if (isAmongResources(fileName)) return changedResource(fileName);
    const std::string path(fileName.substr(0, fileName.find('\0')));
    return changed(path, path);
}

} // namespace tool
