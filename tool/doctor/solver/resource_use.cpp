#include "tool/doctor/solver/resource_use.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include <malloc.h>
#include <unistd.h>

namespace tool {

ResourceUse resourceUse() {
    malloc_trim(0); // what is free must not count, now or when it is used again
    std::int64_t totalPages = 0, residentPages = 0;
    std::ifstream("/proc/self/statm") >> totalPages >> residentPages;
    std::error_code ignored;
    const std::filesystem::directory_iterator descriptors("/proc/self/fd", ignored);
    return {residentPages * sysconf(_SC_PAGESIZE),
            static_cast<int>(std::distance(begin(descriptors), end(descriptors)))};
}

} // namespace tool
