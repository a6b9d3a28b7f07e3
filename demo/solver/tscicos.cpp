// The four entry points by which the FMU drives the solver; the contract is in plant/access_interface.h.
//
// Several FMU instances share one copy of this library, so each run is kept under its instance's handle. Nothing here
// holds the lock or a run while an error is reported, as the FMU then calls blkTerminate from inside the report.
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>

#include "demo/solver/run.h"

namespace {

constexpr int errorLevel = 2;

/// The runs in progress; safe to use from several threads.
class Runs {
public:
    void put(void* handle, std::shared_ptr<solver::Run> run) {
        const std::lock_guard lock(mutex_);
        runs_[handle].swap(run);
    }

    std::shared_ptr<solver::Run> find(void* handle) {
        const std::lock_guard lock(mutex_);
        const auto found = runs_.find(handle);
        return found != runs_.end() ? found->second : nullptr;
    }

    /// The run itself, so that it ends outside the lock.
    std::shared_ptr<solver::Run> take(void* handle) {
        const std::lock_guard lock(mutex_);
        auto node = runs_.extract(handle);
        return node ? std::move(node.mapped()) : nullptr;
    }

private:
    std::mutex mutex_;
    std::map<void*, std::shared_ptr<solver::Run>> runs_;
};

Runs& runs() {
    static Runs instance;
    return instance;
}

std::shared_ptr<solver::Run> startedRun(void* handle) {
    std::shared_ptr<solver::Run> run = runs().find(handle);
    if (!run) throw std::runtime_error("There is no run: it wasn't started, or it ended after an error.");
    return run;
}

/// What `action` failed with; empty when it didn't.
template <typename Action>
std::string failureOf(const Action& action) {
    try {
        action();
        return {};
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return "The solver failed for an unknown reason.";
    }
}

/// The barrier between the solver and the FMU: carries out an entry point and reports its failure.
template <typename Action>
void enter(void* handle, TScicosAccessAPI2* access, const Action& action) noexcept {
    if (access == nullptr) return;
    try {
        const std::string failure = failureOf(action);
        if (!failure.empty()) access->MessageHandler(handle, failure.c_str(), errorLevel);
    } catch (...) { // out of memory for the message, or the FMU threw: nothing is left to be told
    }
}

} // namespace

extern "C" {

#define SOLVER_EXPORT __attribute__((visibility("default")))

SOLVER_EXPORT void blkStart(void* handle, TScicosAccessAPI2* access) {
    enter(handle, access, [&] {
        runs().take(handle); // of an instance that went without a word and left its address to another
        runs().put(handle, std::make_shared<solver::Run>(solver::Host{handle, access}));
    });
}

SOLVER_EXPORT void blkDepositPlantInput(void* handle, int /*flag*/, TScicosAccessAPI2* access, double time) {
    enter(handle, access, [&] { startedRun(handle)->deposit(time); });
}

SOLVER_EXPORT void blkRequestPlantOutput(void* handle, TScicosAccessAPI2* access, double time) {
    enter(handle, access, [&] { startedRun(handle)->request(time); });
}

SOLVER_EXPORT void blkTerminate(void* handle, TScicosAccessAPI2* access, double /*time*/) {
    enter(handle, access, [&] {
        if (const std::shared_ptr<solver::Run> run = runs().take(handle)) run->finish();
    });
}

} // extern "C"
