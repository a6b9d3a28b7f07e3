#include "fmi/instance/reset_values.h"

#include <map>
#include <new>
#include <utility>

#include "fmi/instance/process_lock.h"

namespace {

/// Guarded by the process lock; what an entry holds belongs to the calls of its instance.
struct ResetInstances : std::map<const FmuInstance*, SetSinceReset> {
    ~ResetInstances() { nResetInstances = 0; } // a master may release instances when the process ends, after this
} resetInstances;

} // namespace

bool noteReset(const FmuInstance* instance) {
    try {
        SetSinceReset none{std::vector<bool>(instance->nReal), std::vector<bool>(instance->nInteger),
                           std::vector<bool>(instance->nBoolean), std::vector<bool>(instance->nString)};
        const ProcessLock lock;
        resetInstances[instance] = std::move(none);
        nResetInstances.store(static_cast<int>(resetInstances.size()), std::memory_order_relaxed);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

SetSinceReset* setSinceReset(const FmuInstance* instance) {
    if (nResetInstances.load(std::memory_order_relaxed) == 0) return nullptr;

    const ProcessLock lock;
    const auto found = resetInstances.find(instance);
    return found != resetInstances.end() ? &found->second : nullptr;
}

void forgetReset(const FmuInstance* instance) {
    if (nResetInstances.load(std::memory_order_relaxed) == 0) return;

    const ProcessLock lock;
    resetInstances.erase(instance);
    nResetInstances.store(static_cast<int>(resetInstances.size()), std::memory_order_relaxed);
}
