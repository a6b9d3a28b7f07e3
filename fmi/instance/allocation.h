// Allocation of an instance's memory through the master's callbacks.
#pragma once

#include <algorithm>

#include "fmi/instance/fmu_instance.h"

/// Memory for `count` elements, zeroed by masters that follow the standard; release it with the master's `freeMemory`.
/// Null when out of memory, and when count is 0 (the master is then not called).
template <typename Element>
Element* allocateArray(const fmi2CallbackFunctions& functions, std::size_t count) {
    if (count == 0) return nullptr;
    return static_cast<Element*>(functions.allocateMemory(count, sizeof(Element)));
}

/// The number of elements of `realValues`: the variables and, after them, what the derivatives of the output ports
/// need. For an instance whose ports have their addresses.
inline std::size_t allocatedReals(const FmuInstance* instance) {
    std::size_t count = instance->nReal;
    for (std::uint32_t i = 0; i < instance->nOutputPorts; ++i) {
        const double* last = instance->outputPortDotDots[i];
        if (last == nullptr) continue;
        count = std::max(count, static_cast<std::size_t>(last - instance->realValues) + instance->outputPortSize[i]);
    }
    return count;
}
