// Memory of an instance comes from the master's callbacks.
#pragma once

#include "fmi/fmu_instance.h"

/// Zeroed memory for `count` elements, released with the master's `freeMemory`. Null when count is 0, in which case the
/// master is not asked, or when memory is lacking.
template <typename Element>
Element* allocateArray(const fmi2CallbackFunctions& functions, std::size_t count) {
    if (count == 0) return nullptr;
    return static_cast<Element*>(functions.allocateMemory(count, sizeof(Element)));
}
