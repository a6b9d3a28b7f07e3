#include "fmi/instance/process_lock.h"

#include <pthread.h>

constinit std::mutex ProcessLock::mutex;

namespace {

/// Another thread's lock would stay locked for ever in a child process: fork waits until it is free.
[[maybe_unused]] const int registered =
    pthread_atfork(ProcessLock::acquire, ProcessLock::release, ProcessLock::release);

} // namespace
