// How much memory and how many file descriptors this process uses.
#pragma once

#include <cstdint>

namespace tool {

struct ResourceUse {
    std::int64_t residentBytes = 0;
    int descriptors = 0;
};

/// Effect on the process: gives free memory back to the system.
ResourceUse resourceUse();

} // namespace tool
