// Running another program and taking what it prints.
#pragma once

#include <string>
#include <vector>

namespace packaging {

struct ProcessResult {
    int exitCode = -1;  ///< -1 when a signal ended it
    int signal = 0;     ///< the signal that ended it, or 0
    std::string output; ///< standard output and standard error, as they came
};

/// Runs a program, named by its path, without a shell and without input, and waits for its end. Throws UserError when
/// it can't be started.
ProcessResult runProcess(const std::vector<std::string>& command);

} // namespace packaging
