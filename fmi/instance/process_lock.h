// The lock for what all instances of the library share: the records of the parameter files, the resource location, the
// environment variables, the notes about instances that were reset.
#pragma once

#include <mutex>

/// Holds the library's one lock while it lives. Nothing of the master's or the solver's may be called meanwhile, nor
/// may the same thread make a second one. A process that is forked meanwhile gets it unlocked.
class ProcessLock {
public:
    ProcessLock() : guard_(mutex) {}

    static void acquire() { mutex.lock(); }
    static void release() { mutex.unlock(); }

private:
    static std::mutex mutex;
    std::lock_guard<std::mutex> guard_;
};
