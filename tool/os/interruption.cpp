#include "tool/os/interruption.h"

#include <cstddef>

namespace tool {

namespace {

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

bool isInterrupted() { return caught != 0; }

void throwIfInterrupted() {
    if (isInterrupted()) throw Interrupted();
}

void releaseSignals() {
    for (int signal = 1; signal < NSIG; ++signal) {
        struct sigaction current {};
        if (sigaction(signal, nullptr, &current) == 0 && current.sa_handler == note) std::signal(signal, SIG_DFL);
    }
}

} // namespace tool
