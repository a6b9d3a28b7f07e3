#include "resources/shell_command.h"

#include <cerrno>
#include <csignal>
#include <mutex>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "fmi/instance/process_lock.h"

namespace {

constexpr int interrupts[] = {SIGINT, SIGQUIT};

/// While objects live, the process ignores the interrupts. The first one saves what was set before, the last one
/// restores it. What was ignored already belongs to somebody else and is left alone.
class IgnoredInterrupts {
public:
    IgnoredInterrupts() {
        const std::lock_guard<std::mutex> lock(mutex);
        if (count++ != 0) return;
        struct sigaction ignore {};
        ignore.sa_handler = SIG_IGN;
        for (int i = 0; i < 2; ++i) sigaction(interrupts[i], &ignore, &former[i]);
    }
    ~IgnoredInterrupts() {
        const std::lock_guard<std::mutex> lock(mutex);
        if (--count != 0) return;
        for (int i = 0; i < 2; ++i)
            if (isHandled(i)) sigaction(interrupts[i], &former[i], nullptr);
    }
    IgnoredInterrupts(const IgnoredInterrupts&) = delete;
    IgnoredInterrupts& operator=(const IgnoredInterrupts&) = delete;

    /// Those that a child must not inherit as ignored.
    sigset_t handled() const {
        sigset_t signals;
        sigemptyset(&signals);
        for (int i = 0; i < 2; ++i)
            if (isHandled(i)) sigaddset(&signals, interrupts[i]);
        return signals;
    }

private:
    static bool isHandled(int i) { return former[i].sa_handler != SIG_IGN; }

    inline static std::mutex mutex;
    inline static int count = 0;
    inline static struct sigaction former[2];
};

/// While it lives, this thread does not receive SIGCHLD.
class BlockedChildSignal {
public:
    BlockedChildSignal() {
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGCHLD);
        pthread_sigmask(SIG_BLOCK, &signals, &former_);
    }
    ~BlockedChildSignal() { pthread_sigmask(SIG_SETMASK, &former_, nullptr); }
    BlockedChildSignal(const BlockedChildSignal&) = delete;
    BlockedChildSignal& operator=(const BlockedChildSignal&) = delete;

    const sigset_t& former() const { return former_; }

private:
    sigset_t former_;
};

/// Starts the shell in the folder, with the signals set as given; its process id, -1 on failure.
pid_t startShell(int folder, const std::string& command, const sigset_t& blocked, const sigset_t& handled) {
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    posix_spawnattr_setsigmask(&attributes, &blocked);
    posix_spawnattr_setsigdefault(&attributes, &handled);

    const char* const arguments[] = {"sh", "-c", command.c_str(), nullptr};
    pid_t child = -1;
    if (posix_spawn_file_actions_addfchdir_np(&actions, folder) == 0) {
        const ProcessLock lock; // the environment stays as it is
        if (posix_spawn(&child, "/bin/sh", &actions, &attributes, const_cast<char* const*>(arguments), environ) != 0)
            child = -1;
    }
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return child;
}

} // namespace

void runInFolder(int folder, const std::string& command) {
    const IgnoredInterrupts ignored;
    const BlockedChildSignal childSignal;
    const pid_t child = startShell(folder, command, childSignal.former(), ignored.handled());
    if (child < 0) return;

    // ECHILD: the child has ended, but the master ignores SIGCHLD, or a handler or another thread of the master's has
    // taken the child's status.
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
}
