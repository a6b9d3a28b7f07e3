// Running commands, asking for other processes, waiting. Commands go to the shell (/bin/sh) as they stand and run in
// the working directory of the process: never build them from texts of foreign origin.
#pragma once

#include "util/export.h"

/// Whether a process runs whose name matches the pattern `name` of pgrep. The name goes to the shell unquoted, so it
/// must be one word. Writes a file "_<name>_.chk" in the working directory and deletes it again; two calls for one name
/// at the same time interfere. False for null, without pgrep, and when the file cannot be opened;
/// one that is there and cannot be overwritten is taken for the answer. Throws std::bad_alloc when memory is lacking.
TESSARO_EXPORT bool IsProcessRunning(const char* name);

/// Whether signal 0 can be sent to the process `pid`: false also for a process of another user. 0 and negative numbers
/// stand for groups of processes, as for kill.
TESSARO_EXPORT bool IsProcessRunning(int pid);

/// Sleeps. From 4294968 milliseconds (about 71 minutes) on, the time wraps around: it is the remainder of
/// milliseconds x 1000 divided by 2^32, in microseconds.
TESSARO_EXPORT void SLEEP(unsigned int milliseconds);

/// Runs a command and waits for it. The wait status as `system` gives it (exit status 3 is 768), -1 when no process
/// could be started; for null, whether there is a shell.
TESSARO_EXPORT int SystemCall(const char* command);

/// Runs a command and waits for it; results as those of `SystemCall`. Mode 0: its output and its errors are dropped, of
/// several commands in one text only those of the last (put braces around them); `length` is the command's length in
/// characters; one that is too small does no harm. -1 without running anything for a null command and when memory is
/// lacking. Modes 1 to 4: the command as it stands, `length` unused. All other modes: -1, nothing is run.
extern "C" TESSARO_EXPORT int C_unixcall(int mode, const char* command, int length);
