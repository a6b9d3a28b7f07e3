// SIGINT, SIGTERM, SIGHUP, SIGQUIT and SIGPIPE in every command: the work is given up at its next step, temporary files
// and child processes go with their owners, and then the process ends by the signal as usual.
#pragma once

#include <array>
#include <csignal>

namespace tool {

/// Thrown where work is given up because of a signal. Not a std::exception: only the command line catches it.
struct Interrupted {};

/// Notes the signals while it lives, but for those that are ignored. At its end the signal that came meanwhile has its
/// usual effect. There is one, in main.
class SignalWatch {
public:
    SignalWatch();
    ~SignalWatch();
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;

private:
    static constexpr std::array watched{SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE};

    std::array<struct sigaction, watched.size()> former_{};
};

/// Whether a watched signal came.
bool isInterrupted();

/// To be called at each step of longer work. Throws Interrupted when a watched signal came.
void throwIfInterrupted();

/// Gives the signals their usual effect in a child process.
void releaseSignals();

} // namespace tool
