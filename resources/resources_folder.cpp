#include "resources/resources_folder.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "fmi/instance/process_lock.h"
#include "util/internal/open_failure.h"

namespace {

/// The threads that are starting a solver, each as often as it does so.
std::vector<std::thread::id> startingThreads;

/// Notes that this thread starts a solver; true if it is already starting one.
bool beginStart() {
    const ProcessLock lock;
    const std::thread::id self = std::this_thread::get_id();
    const bool isNested = std::find(startingThreads.begin(), startingThreads.end(), self) != startingThreads.end();
    startingThreads.push_back(self);
    return isNested;
}

void endStart() {
    const ProcessLock lock;
    startingThreads.erase(std::find(startingThreads.begin(), startingThreads.end(), std::this_thread::get_id()));
}

/// The folder's descriptor. The "." at the end also demands the right to enter. A folder that may be entered but not
/// read serves as well, but cannot be locked.
int openFolder(const char* path) {
    std::string folder = path != nullptr ? path : ".";
    if (!folder.empty()) folder += "/.";
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor >= 0 || errno != EACCES) return descriptor;
    return open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
}

std::system_error failure(const std::string& name) { return {errno, std::generic_category(), name}; }

} // namespace

ResourcesFolder::ResourcesFolder(const char* path) : descriptor_(openFolder(path)) {
    if (descriptor_ < 0) throw failure(path != nullptr ? path : ".");
    try {
        const int wait = beginStart() ? LOCK_NB : 0;
        while (flock(descriptor_, LOCK_EX | wait) != 0 && errno == EINTR) {
        }
    } catch (...) {
        close(descriptor_);
        throw;
    }
}

ResourcesFolder::~ResourcesFolder() {
    endStart();
    flock(descriptor_, LOCK_UN);
    close(descriptor_);
}

int ResourcesFolder::openToRead(const std::string& name) const {
    const int file = openat(descriptor_, name.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0 && ranOutOfResources()) throw failure(name);
    return file;
}

Stream ResourcesFolder::open(const std::string& name) const {
    const int file = openToRead(name);
    if (file < 0) return nullptr;

    Stream stream(fdopen(file, "r"));
    if (stream) return stream;
    close(file);
    throw failure(name);
}

bool ResourcesFolder::hasReadable(const std::string& name) const {
    const int file = openToRead(name);
    return file >= 0 && close(file) == 0;
}

std::optional<std::string> ResourcesFolder::contentOf(const std::string& name) const {
    const Stream stream = open(name);
    if (!stream) return std::nullopt;

    std::string content;
    char block[4096];
    while (const std::size_t length = std::fread(block, 1, sizeof block, stream.get())) content.append(block, length);
    return content;
}

int ResourcesFolder::write(const std::string& name, const std::string& content) const {
    const int file = openat(descriptor_, name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (file < 0) return errno;

    int result = 0;
    for (std::size_t done = 0; done < content.size() && result == 0;) {
        const ssize_t length = ::write(file, content.data() + done, content.size() - done);
        if (length >= 0)
            done += static_cast<std::size_t>(length);
        else if (errno != EINTR)
            result = errno;
    }
    return close(file) != 0 && result == 0 ? errno : result;
}
