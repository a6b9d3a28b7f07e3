// util/processes.h, on the real system.
#include "util/processes.h"

#include <chrono>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/tools/environment.h"

namespace {

/// The result of a command, and what it printed.
std::pair<int, std::string> unixcall(int mode, const char* command, int length) {
    testing::internal::CaptureStdout();
    const int result = C_unixcall(mode, command, length);
    return {result, testing::internal::GetCapturedStdout()};
}

} // namespace

TEST(Processes, AreFoundByNameThroughACheckFileInTheWorkingDirectory) {
    const WorkingDirectory former;
    const Folder folder;
    fs::current_path(folder.path);
    std::string name;
    std::getline(std::ifstream("/proc/self/comm"), name);
    EXPECT_TRUE(IsProcessRunning(name.c_str()));
    EXPECT_FALSE(IsProcessRunning("no_such_name"));
    EXPECT_FALSE(IsProcessRunning(nullptr));
    EXPECT_TRUE(fs::is_empty(folder.path)) << "the check file is left";
    fs::current_path("/proc");
    EXPECT_FALSE(IsProcessRunning(name.c_str())) << "without a check file";
}

TEST(Processes, AreFoundByNumber) {
    const pid_t child = fork();
    if (child == 0) _exit(0);
    waitpid(child, nullptr, 0);
    EXPECT_TRUE(IsProcessRunning(getpid()));
    EXPECT_FALSE(IsProcessRunning(child));
}

TEST(Processes, CommandsAreRunByTheirMode) {
    const std::pair silent(3 << 8, std::string()), loud(3 << 8, std::string("seen\n")), notRun(-1, std::string());
    for (const int length : {22, 1000, 0, -1000}) {
        const auto run = [length](int mode) { return unixcall(mode, "{ echo seen; exit 3; }", length); };
        EXPECT_EQ(run(0), silent) << length;
        for (const int mode : {1, 2, 3, 4}) EXPECT_EQ(run(mode), loud) << mode;
        for (const int mode : {-1, 5}) EXPECT_EQ(run(mode), notRun) << mode;
    }
    EXPECT_EQ(C_unixcall(0, nullptr, 5), -1);
}

TEST(Processes, SilenceIsOnlyOfTheLastCommandAndItsErrors) {
    EXPECT_EQ(unixcall(0, "echo a; echo b", 14).second, "a\n");
    testing::internal::CaptureStderr();
    C_unixcall(0, "ls /no_such", 11);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(Processes, SleepForTheirTimeWhichWrapsAroundAtThirtyTwoBits) {
    using namespace std::chrono;
    const auto start = steady_clock::now();
    SLEEP(250);
    EXPECT_GE(steady_clock::now() - start, milliseconds(250));
    SLEEP(4294968);
    EXPECT_LT(steady_clock::now() - start, seconds(60));
}
