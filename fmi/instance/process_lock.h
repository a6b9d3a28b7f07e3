// The lock for what all instances of the library share: the records of the parameter files, the resource location, the
// environment variables, the notes about instances that were reset.
#pragma once

#include <mutex>

/// Holds the library's one lock while it lives. Nothing of the master's or the solver's may be called meanwhile, nor
/// may the same thread make a second one.
class ProcessLock {
public:
    ProcessLock() : guard_(mutex) {}

private:
    inline static std::mutex mutex;
    std::lock_guard<std::mutex> guard_;
};
