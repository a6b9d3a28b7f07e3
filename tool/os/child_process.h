// The one way to child processes: what may crash, hang or end the process does it there, and other programs run there.
// For programs without threads.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace tool {

struct ChildResult {
    std::string report;    ///< what the task wrote to the report
    std::string output;    ///< standard output and standard error, as they came
    int exitCode = -1;     ///< 0 when the task returned; -1 when a signal or the time limit ended the child
    int signal = 0;        ///< the signal that ended it, or 0
    bool timedOut = false; ///< ended because the time limit was reached
};

/// Runs `task` in a child process of a process group of its own, without input, and waits `timeLimit` seconds for its
/// end; what the child started and left running ends with it. The task gets the descriptor to which it writes its
/// report. Of the report the first megabyte is kept, of the output at least the last one. Throws UserError when no
/// process can be started, and Interrupted, with the child ended, when a watched signal comes.
ChildResult runInChild(const std::function<void(int report)>& task, double timeLimit);

/// Writes the whole text to a descriptor, at once and without a buffer, so that it outlives a crash.
void writeAll(int descriptor, const std::string& text);

struct ProgramCall {
    std::vector<std::string> command;                             ///< the program, by path or looked for in PATH
    std::filesystem::path folder = {};                            ///< where it runs; empty: here
    std::vector<std::pair<std::string, std::string>> variables{}; ///< set in its environment
    double timeLimit = 60;                                        ///< seconds
};

/// Runs another program in a child process, without a shell. Throws UserError when it cannot be started.
ChildResult runProgram(const ProgramCall& call);

} // namespace tool
