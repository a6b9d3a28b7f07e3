#include "packaging/subprocess.h"

#include <array>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "packaging/user_error.h"

namespace packaging {

namespace {

std::string readToEnd(int descriptor) {
    std::string text;
    std::array<char, 4096> block{};
    ssize_t size = 0;
    while ((size = read(descriptor, block.data(), block.size())) > 0 || (size < 0 && errno == EINTR))
        if (size > 0) text.append(block.data(), static_cast<std::size_t>(size));
    return text;
}

} // namespace

ProcessResult runProcess(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);

    std::array<int, 2> pipe{};
    if (pipe2(pipe.data(), O_CLOEXEC) != 0) fail("{} can't be run: {}.", command[0], std::strerror(errno));
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, pipe[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, pipe[1], STDERR_FILENO);
    pid_t child = 0;
    const int failure = posix_spawn(&child, command[0].c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipe[1]);

    ProcessResult result;
    if (failure == 0) result.output = readToEnd(pipe[0]);
    close(pipe[0]);
    if (failure != 0) fail("{} can't be run: {}.", command[0], std::strerror(failure));

    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
    return result;
}

} // namespace packaging
