#include "resources/resource_location.h"

#include <cstring>
#include <memory>

#include <libxml/uri.h>
#include <strings.h>

#include "fmi/instance/process_lock.h"

char g_fmu_resource_location[pathBufferSize];

namespace {

struct FreeUri {
    void operator()(xmlURI* uri) const { xmlFreeURI(uri); }
};

} // namespace

std::array<char, pathBufferSize> currentResourceLocation() {
    const ProcessLock lock;
    std::array<char, pathBufferSize> location;
    std::strcpy(location.data(), g_fmu_resource_location);
    return location;
}

char* convert_URI_to_path(const char* location) {
    if (location == nullptr) return nullptr;
    const std::unique_ptr<xmlURI, FreeUri> uri(xmlParseURI(location));
    if (!uri) return strdup(location);
    return uri->path != nullptr ? strdup(uri->path) : nullptr;
}

int isURIFile(const char* location) {
    constexpr const char* prefix = "file://";
    constexpr int length = 7;
    if (location == nullptr || std::strlen(location) <= length) return 0;

    // Kept: the third slash of "file:///" is the first character of the path.
    return strncasecmp(location, prefix, length) == 0 ? length : 0;
}

void ConvertFmuLocationToPath(const char* location, char** result) {
    if (result == nullptr) return;
    *result = nullptr;
    if (location == nullptr) return;

    const auto skipped = static_cast<std::size_t>(isURIFile(location));
    const std::size_t length = std::strlen(location);
    *result = new char[skipped == 0 ? length + 1 : 2 * length + 1];
    std::memcpy(*result, location + skipped, length - skipped + 1);
}
