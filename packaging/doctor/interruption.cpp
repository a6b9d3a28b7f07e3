#include "packaging/doctor/interruption.h"

#include <cstddef>

namespace packaging {

namespace {

constexpr std::array watched{SIGINT, SIGTERM};

volatile std::sig_atomic_t caught = 0;

void note(int signal) { caught = signal; }

} // namespace

SignalWatch::SignalWatch() {
    struct sigaction action {};
    action.sa_handler = note;
    action.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < watched.size(); ++i) {
        sigaction(watched[i], nullptr, &former_[i]);
        if (former_[i].sa_handler != SIG_IGN) sigaction(watched[i], &action, nullptr);
    }
}

SignalWatch::~SignalWatch() {
    for (std::size_t i = 0; i < watched.size(); ++i) sigaction(watched[i], &former_[i], nullptr);
    if (caught != 0) std::raise(caught);
}

bool SignalWatch::isCaught() { return caught != 0; }

void SignalWatch::check() {
    if (isCaught()) throw Interrupted();
}

void SignalWatch::release() {
    for (const int signal : watched) {
        struct sigaction current {};
        sigaction(signal, nullptr, &current);
        if (current.sa_handler == note) std::signal(signal, SIG_DFL);
    }
}

} // namespace packaging
