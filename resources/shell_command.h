// Running the translator.
#pragma once

#include <string>

/// Runs a command with the shell, as `system` does, but in the folder of a descriptor: the child changes there, this
/// process does not. Waits for its end. Whether it could be started and how it ended is not reported. Effects on the
/// process meanwhile, as those of `system`: SIGINT and SIGQUIT are ignored, SIGCHLD is blocked on this thread. If the
/// master's own `system` on another thread begins during a call and ends after it, the two signals stay ignored.
void runInFolder(int folder, const std::string& command);
