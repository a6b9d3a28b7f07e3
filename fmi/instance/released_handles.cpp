#include "fmi/instance/released_handles.h"

#include <algorithm>
#include <array>

namespace {

std::array<std::atomic<const void*>, 64> releasedHandles;

/// Each handle takes the first empty place, so only the first `nRememberedReleases` places can be used.
bool isReleased(const void* handle) {
    const std::size_t nUsed = std::min(nRememberedReleases.load(std::memory_order_acquire), releasedHandles.size());
    return std::any_of(releasedHandles.begin(), releasedHandles.begin() + nUsed,
                       [handle](const auto& released) { return released.load(std::memory_order_relaxed) == handle; });
}

} // namespace

FmuInstance* instanceUnlessReleased(fmi2Component handle) {
    return handle == nullptr || isReleased(handle) ? nullptr : static_cast<FmuInstance*>(handle);
}

void rememberReleased(const FmuInstance* instance) {
    const std::size_t position = nRememberedReleases.fetch_add(1, std::memory_order_acq_rel);
    for (auto& released : releasedHandles) {
        const void* empty = nullptr;
        if (released.compare_exchange_strong(empty, instance, std::memory_order_relaxed)) return;
    }
    releasedHandles[position % releasedHandles.size()].store(instance, std::memory_order_relaxed);
}

void forgetReleased(const FmuInstance* instance) {
    if (!isReleased(instance)) return;

    for (auto& released : releasedHandles) {
        const void* expected = instance;
        released.compare_exchange_strong(expected, nullptr, std::memory_order_relaxed);
    }
}
