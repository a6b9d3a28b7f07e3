#include "util/processes.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <signal.h>
#include <unistd.h>

#include "util/internal/owners.h"

namespace {

/// True when the file can be opened and has a first line, even an empty one.
bool hasLine(const char* path) {
    const Stream stream(std::fopen(path, "r"));
    return stream && std::fgetc(stream.get()) != EOF;
}

int runSilently(const char* command, int length) {
    if (command == nullptr) return -1;
    // Kept: 17 characters for the suffix and one for the terminator. A length below the command's is ignored.
    const auto given = static_cast<std::size_t>(std::max(length, 0));
    const std::size_t size = std::max(given, std::strlen(command)) + 18;
    const MallocText silent(static_cast<char*>(std::malloc(size)));
    if (!silent) return -1;

    // Kept: the suffix follows the whole command, so that of "a; b" only b is silent.
    std::snprintf(silent.get(), size, "%s > /dev/null 2>&1", command);
    return std::system(silent.get());
}

} // namespace

bool IsProcessRunning(const char* name) {
    if (name == nullptr) return false;
    const std::string checkFile = std::string("_") + name + "_.chk";
    const std::string command = std::string("pgrep ") + name + " > " + checkFile;

    // Kept: the name is not quoted for the shell, and the check file has a fixed name in the working directory.
    SystemCall(command.c_str());
    const bool isRunning = hasLine(checkFile.c_str());
    std::remove(checkFile.c_str());
    return isRunning;
}

bool IsProcessRunning(int pid) {
    // Kept: a process that this user may not signal counts as not running.
    return kill(pid, 0) == 0;
}

void SLEEP(unsigned int milliseconds) {
    // Kept: the product is an unsigned 32-bit value and wraps above about 71 minutes.
    usleep(milliseconds * 1000U);
}

int SystemCall(const char* command) { return std::system(command); }

int C_unixcall(int mode, const char* command, int length) {
    if (mode == 0) return runSilently(command, length);
    return mode >= 1 && mode <= 4 ? SystemCall(command) : -1;
}
