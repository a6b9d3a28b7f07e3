// Running commands, looking for processes, sleeping. Commands are passed to the shell (/bin/sh) unchanged and run in
// the working directory of the process: never build them from untrusted input.
#pragma once

#include "util/internal/export.h"

/// Whether a process is running whose name matches the pgrep pattern `name`. The name is passed to the shell unquoted,
/// so it must be one word. Writes a file "_<name>_.chk" in the working directory and deletes it again; simultaneous
/// calls with the same name interfere. False for null, without pgrep, and when the file cannot be opened. An existing
/// file that cannot be overwritten is read as the answer. Throws std::bad_alloc when out of memory.
TESSARO_EXPORT bool IsProcessRunning(const char* name);

/// Whether signal 0 can be sent to the process `pid`: false also for a process of another user. 0 and negative numbers
/// denote process groups, as for kill.
TESSARO_EXPORT bool IsProcessRunning(int pid);

/// Sleeps. From 4294968 milliseconds (about 71 minutes) on, the time wraps around: it is the remainder of
/// milliseconds x 1000 divided by 2^32, in microseconds.
TESSARO_EXPORT void SLEEP(unsigned int milliseconds);

/// Runs a command and waits for it. Returns the wait status of `system` (exit status 3 is 768), -1 when no process
/// could be started; for null, whether a shell exists.
TESSARO_EXPORT int SystemCall(const char* command);

/// Runs a command and waits for it; results as for `SystemCall`.
///
/// Mode 0 discards its output and errors; of several commands in one string only those of the last one (use braces).
/// `length` is the command's length in characters; a value that is too small does no harm. Returns -1 and runs nothing
/// for a null command and when out of memory. Modes 1 to 4 run the command unchanged and ignore `length`. All other
/// modes return -1 and run nothing.
extern "C" TESSARO_EXPORT int C_unixcall(int mode, const char* command, int length);
