// The library's lock in processes that a master forks.
#include "fmi/instance/process_lock.h"

#include <chrono>
#include <future>
#include <optional>
#include <thread>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

TEST(ProcessLock, IsFreeInAProcessThatIsForkedWhileAnotherThreadHoldsIt) {
    std::optional<ProcessLock> held;
    std::promise<void> isHeld;
    std::thread other([&] {
        held.emplace();
        isHeld.set_value();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        held.reset();
    });
    isHeld.get_future().wait();
    const pid_t child = fork();
    if (child == 0) {
        alarm(5);
        const ProcessLock lock;
        _exit(0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    other.join();
    EXPECT_EQ(status, 0);
}
