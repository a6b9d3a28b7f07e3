// The four entry points by which the FMU drives the solver; the contract is in plant/access_interface.h.
//
// Several FMU instances share one copy of this library, on several threads, so each run is kept under its instance's
// handle. Neither the lock nor a run is held while an error is reported: the FMU calls blkTerminate during the report.
#include <atomic>
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
    ~Runs() { areGone = true; }

    /// Whether the process is ending: a master may release its instances after the objects of this library.
    inline static std::atomic<bool> areGone{false};

    void put(void* handle, std::shared_ptr<solver::Run> run) {
        const std::lock_guard lock(mutex_);
        runs_[handle].swap(run);
    }

    std::shared_ptr<solver::Run> find(void* handle) {
        const std::lock_guard lock(mutex_);
        const auto found = runs_.find(handle);
        return found != runs_.end() ? found->second : nullptr;
    }

    /// Removes the run and returns it, so that it is destroyed outside the lock; null if there is none.
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
    if (!run) throw std::runtime_error("There is no run: it was not started, or it ended after an error.");
    return run;
}

/// Carries out `action`; returns the message of its failure, empty if it succeeds.
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
    } catch (...) { // out of memory for the message, or the FMU threw: nothing can be reported
    }
}

} // namespace

extern "C" {

#define SOLVER_EXPORT __attribute__((visibility("default")))

SOLVER_EXPORT void blkStart(void* handle, TScicosAccessAPI2* access) {
    enter(handle, access, [&] {
        runs().take(handle); // of the same instance before its reset, or of an earlier one at the same address
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
    if (Runs::areGone) return;
    enter(handle, access, [&] {
        if (const std::shared_ptr<solver::Run> run = runs().take(handle)) run->finish();
    });
}

} // extern "C"
