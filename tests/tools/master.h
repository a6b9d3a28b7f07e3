// The one master of all tests: its callbacks record every message and every allocation, and can refuse memory.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "fmi/instance/fmu_instance.h"

/// The name that a status has in events.
const char* nameOf(fmi2Status status);

/// A message as `Master::takeEvents` gives it: "error [logAll] text".
std::string message(fmi2Status status, const std::string& category, const std::string& text);

bool isMessage(const std::string& event);

/// One at a time, since FMI's memory callbacks know of no environment. While it does not record it may be used by
/// several threads at once.
///
/// Records of instances are unreadable once they are freed, and the next one has the address of the last one freed.
/// Freeing something that is not a block of the master's, or twice, ends the process with a message.
class Master {
public:
    Master();
    ~Master();
    Master(const Master&) = delete;
    Master& operator=(const Master&) = delete;

    fmi2CallbackFunctions callbacks;

    bool recording = true;

    /// Messages, and what else is noted, in their order, since the last time. A message is followed by " for NAME" when
    /// it is for another instance than `instanceName`, and by " elsewhere" when it is for another environment.
    std::vector<std::string> takeEvents();
    void note(const std::string& event);
    std::string instanceName = "unit";

    /// Called with each message, before the library goes on.
    std::function<void(const std::string& event)> whenLogged;

    /// The n-th allocation from now on fails (1 is the next one), and as many after it as make up `count`.
    void failAllocation(std::size_t n, std::size_t count = 1);
    void failNoAllocation() { failFrom_ = failTo_ = 0; }

    /// Calls of the memory callbacks since the last time: "allocate 4 x 8", "free 4 x 8".
    std::vector<std::string> takeMemoryCalls();
    /// The addresses freed since then, in their order.
    const std::vector<void*>& freed() const { return freed_; }

    bool isAlive(const void* block) const { return blocks_.count(const_cast<void*>(block)) != 0; }
    std::size_t nAllocations() const { return nAllocations_; } ///< ever asked for
    std::size_t nBlocks() const { return blocks_.size(); }     ///< not freed yet

    /// Whether this thread is in the master's own functions, whose allocations are not the library's.
    static thread_local bool inside;

private:
    struct Size {
        std::size_t count, size;
        bool operator==(const Size&) const = default;
    };

    static void log(fmi2ComponentEnvironment environment, fmi2String name, fmi2Status status, fmi2String category,
                    fmi2String format, ...);
    static void* allocate(std::size_t count, std::size_t size);
    static void release(void* block);
    void* makeBlock(Size size);
    void remember(const char* call, Size size);

    std::vector<std::string> events_, memoryCalls_;
    std::vector<void*> freed_;
    std::map<void*, Size> blocks_;
    std::size_t nAllocations_ = 0, failFrom_ = 0, failTo_ = 0;
};

/// While it lives, `Master::inside` is true on its thread.
class InsideMaster {
public:
    InsideMaster() { Master::inside = true; }
    ~InsideMaster() { Master::inside = before_; }
    InsideMaster(const InsideMaster&) = delete;
    InsideMaster& operator=(const InsideMaster&) = delete;

private:
    const bool before_ = Master::inside;
};
