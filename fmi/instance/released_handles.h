// Handles of instances that were released before the master freed them. Later calls with them are refused: masters
// call fmi2FreeInstance, fmi2Terminate or even the rest of the run on such a handle.
#pragma once

#include <atomic>
#include <cstddef>

#include "fmi/instance/fmu_instance.h"

/// How many handles `rememberReleased` has ever stored. While it is 0, a call costs one test.
inline std::atomic<std::size_t> nRememberedReleases{0};

/// `instanceOf` if handles are remembered.
[[gnu::cold]] FmuInstance* instanceUnlessReleased(fmi2Component handle);

/// The instance of a handle; null when the handle is null or its instance was released early. The first line of every
/// exported function that takes an instance: the record may be read after it.
inline FmuInstance* instanceOf(fmi2Component handle) {
    if (nRememberedReleases.load(std::memory_order_acquire) != 0) return instanceUnlessReleased(handle);
    return static_cast<FmuInstance*>(handle);
}

/// Remembers the handle of an instance that is about to be released although the master still holds it. Lock-free. At
/// most 64 handles are remembered; a further one replaces an old one.
void rememberReleased(const FmuInstance* instance);

/// Forgets a remembered handle because a new instance has the same address.
void forgetReleased(const FmuInstance* instance);
