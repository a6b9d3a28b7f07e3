// SIGINT and SIGTERM while the doctor works: its children end and its copies go before the process does.
#pragma once

#include <array>
#include <csignal>

namespace packaging {

/// Thrown where work is given up because of a signal.
struct Interrupted {};

/// Catches the two signals while it lives, but for those that are ignored. At its end the signal that came meanwhile
/// has its usual effect.
class SignalWatch {
public:
    SignalWatch();
    ~SignalWatch();
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;

    /// Whether a signal came.
    static bool isCaught();

    /// Throws Interrupted when one came.
    static void check();

    /// Gives the signals their usual effect in a child process.
    static void release();

private:
    std::array<struct sigaction, 2> former_{};
};

} // namespace packaging
