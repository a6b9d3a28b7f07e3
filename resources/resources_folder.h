// The FMU's resources folder while a solver is started from it. Its files are opened relative to a descriptor, so that
// the working directory, which belongs to the whole process, is neither used nor changed.
#pragma once

#include <optional>
#include <string>

#include "util/internal/owners.h"

/// The folder, open and locked (`flock`) while the object lives: whoever starts a solver from the same folder, in this
/// process or another, waits. A file system without locks is not an error, nor is a folder that may not be read. Create
/// and destroy the object on one thread.
///
/// A start within a start does not wait for a lock: its own thread may be the one that holds it.
class ResourcesFolder {
public:
    /// Opens and locks the folder; null means the present directory. Throws std::system_error if it cannot be entered.
    explicit ResourcesFolder(const char* path);
    /// Gives the lock back, even if a child process that was forked meanwhile still has the descriptor.
    ~ResourcesFolder();
    ResourcesFolder(const ResourcesFolder&) = delete;
    ResourcesFolder& operator=(const ResourcesFolder&) = delete;

    int descriptor() const { return descriptor_; }

    /// Opens a file to read; null if it cannot be opened. Throws std::system_error if the process ran out of
    /// descriptors or memory, since a file that exists must not be taken for missing. The same holds for the next two
    /// functions.
    Stream open(const std::string& name) const;

    /// Whether a file exists and can be read.
    bool hasReadable(const std::string& name) const;

    /// The content of a file; nothing if it cannot be opened.
    std::optional<std::string> contentOf(const std::string& name) const;

    /// Creates or replaces a file. Returns 0, or the value of errno if that fails.
    int write(const std::string& name, const std::string& content) const;

private:
    int openToRead(const std::string& name) const;

    int descriptor_ = -1;
};
