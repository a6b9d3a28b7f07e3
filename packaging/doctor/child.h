// A task in a child process: what may crash, hang or end the process does it there. For programs without threads.
#pragma once

#include <functional>
#include <string>

namespace packaging {

struct ChildResult {
    std::string report;    ///< what the task wrote to the report
    std::string output;    ///< standard output and standard error, as they came
    int exitCode = -1;     ///< 0 when the task returned; -1 when a signal or the time limit ended the child
    int signal = 0;        ///< the signal that ended it, or 0
    bool timedOut = false; ///< ended because the time limit was reached
};

/// Runs `task` in a child process of a process group of its own and waits for its end; what the child started and left
/// behind ends with it. The task gets the descriptor to which it writes its report. Of the report the first
/// megabyte is kept, of the output at least the last one. Throws UserError when there is no process to be had, and
/// Interrupted, with the child ended, when a watched signal comes.
ChildResult runInChild(const std::function<void(int report)>& task, double timeLimit);

/// Writes the whole text to a descriptor, at once and without a buffer, so that it outlives a crash.
void writeAll(int descriptor, const std::string& text);

} // namespace packaging
