#include "tool/os/child_process.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string_view>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tool/os/interruption.h"
#include "tool/os/user_error.h"

namespace tool {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t mostKept = 1 << 20;
constexpr int pollMilliseconds = 20;

/// What is kept of a long text.
enum class Kept { begin, end };

/// A pipe whose reading end does not block.
class Pipe {
public:
    explicit Pipe(Kept kept) : kept_(kept) {
        if (pipe2(ends_.data(), O_CLOEXEC) != 0) fail("No child process can be started: {}.", std::strerror(errno));
        fcntl(ends_[0], F_SETFL, O_NONBLOCK);
    }
    ~Pipe() {
        close(ends_[0]);
        closeWriting();
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int reading() const { return ends_[0]; }
    int writing() const { return ends_[1]; }

    void closeWriting() {
        if (ends_[1] >= 0) close(ends_[1]);
        ends_[1] = -1;
    }

    /// Takes what is there now.
    void drain(std::string& text) const {
        std::array<char, 4096> block{};
        ssize_t size = 0;
        while ((size = read(ends_[0], block.data(), block.size())) > 0)
            take(text, {block.data(), static_cast<std::size_t>(size)});
    }

private:
    void take(std::string& text, std::string_view block) const {
        if (kept_ == Kept::end || text.size() < mostKept) text += block;
        if (kept_ == Kept::end && text.size() > 2 * mostKept) text.erase(0, text.size() - mostKept);
    }

    std::array<int, 2> ends_{};
    Kept kept_;
};

[[noreturn]] void runTask(const std::function<void(int report)>& task, int report, int output) {
    setpgid(0, 0);
    releaseSignals();
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int input = open("/dev/null", O_RDONLY | O_CLOEXEC);
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    std::setvbuf(stdout, nullptr, _IONBF, 0); // what was printed before a crash must not be lost
    int code = 0;
    try {
        task(report);
    } catch (const std::exception& error) { // nothing goes on into the parent's code
        std::fprintf(stderr, "%s\n", error.what());
        code = 1;
    } catch (...) {
        code = 1;
    }
    std::fflush(nullptr);
    _exit(code);
}

/// A child process and the group that it leads. At the end of the scope all of it has ended.
class ChildGroup {
public:
    explicit ChildGroup(pid_t leader) : leader_(leader) { setpgid(leader, leader); } // as the child: whoever is first
    ~ChildGroup() {
        kill(-leader_, SIGKILL);
        if (!ended_) waitpid(leader_, nullptr, 0);
    }
    ChildGroup(const ChildGroup&) = delete;
    ChildGroup& operator=(const ChildGroup&) = delete;

    bool hasEnded() {
        ended_ = ended_ || waitpid(leader_, &status_, WNOHANG) == leader_;
        return ended_;
    }

    /// Of the child, when it has ended; as waitpid gives it.
    int status() const { return status_; }

private:
    pid_t leader_;
    bool ended_ = false;
    int status_ = 0;
};

/// Waits for the end of the child, until `end` or until a signal comes, and takes what it writes meanwhile. True when
/// it ended by itself.
bool await(ChildGroup& child, Clock::time_point end, const Pipe& report, const Pipe& output, ChildResult& result) {
    while (true) {
        const bool ended = child.hasEnded(); // first, so that the last words are taken below
        report.drain(result.report);
        output.drain(result.output);
        if (ended) return true;
        if (Clock::now() >= end || isInterrupted()) return false;

        std::array<pollfd, 2> readable{pollfd{report.reading(), POLLIN, 0}, pollfd{output.reading(), POLLIN, 0}};
        poll(readable.data(), readable.size(), pollMilliseconds);
    }
}

/// In the child: becomes the program, or reports why not.
void become(const ProgramCall& call, int report) {
    std::vector<char*> arguments;
    arguments.reserve(call.command.size() + 1);
    for (const std::string& argument : call.command) arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    for (const auto& [name, value] : call.variables) setenv(name.c_str(), value.c_str(), 1);
    if (call.folder.empty() || chdir(call.folder.c_str()) == 0) execvp(arguments[0], arguments.data());
    writeAll(report, std::strerror(errno));
}

} // namespace

ChildResult runInChild(const std::function<void(int report)>& task, double timeLimit) {
    Pipe report(Kept::begin);
    Pipe output(Kept::end);
    std::fflush(nullptr); // or the child would print it once more
    const pid_t process = fork();
    if (process < 0) fail("No child process can be started: {}.", std::strerror(errno));
    if (process == 0) runTask(task, report.writing(), output.writing());
    ChildGroup child(process);
    report.closeWriting();
    output.closeWriting();

    ChildResult result;
    const auto end =
        Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(timeLimit));
    result.timedOut = !await(child, end, report, output, result);
    throwIfInterrupted();

    const int status = child.status();
    if (!result.timedOut && WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
    if (!result.timedOut && WIFSIGNALED(status)) result.signal = WTERMSIG(status);
    return result;
}

void writeAll(int descriptor, const std::string& text) {
    for (std::string_view rest = text; !rest.empty();) {
        const ssize_t size = write(descriptor, rest.data(), rest.size());
        if (size < 0 && errno != EINTR) return;
        if (size > 0) rest.remove_prefix(static_cast<std::size_t>(size));
    }
}

ChildResult runProgram(const ProgramCall& call) {
    ChildResult result = runInChild([&call](int report) { become(call, report); }, call.timeLimit);
    if (!result.report.empty()) fail("{} cannot be run: {}.", call.command[0], result.report);
    return result;
}

} // namespace tool
