// The one way to temporary files: a folder that is removed with all it holds at the end of its scope, also when the
// work is interrupted.
#pragma once

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>

#include "tool/os/interruption.h"
#include "tool/os/user_error.h"

namespace tool {

/// Where temporary folders are made, here and by most masters: TMPDIR, otherwise /tmp.
inline std::filesystem::path temporaryParent() {
    const char* variable = std::getenv("TMPDIR");
    return variable != nullptr && *variable != '\0' ? variable : "/tmp";
}

class TemporaryFolder {
public:
    /// Throws UserError when none can be made.
    TemporaryFolder() {
        if (!isMadeIn(temporaryParent(), "tessaro-fmu-XXXXXX"))
            fail("No temporary folder can be made in {}: {}. The variable TMPDIR names another place.",
                 temporaryParent().string(), std::strerror(errno));
    }
    /// A folder beside a file that is about to be written.
    explicit TemporaryFolder(const std::filesystem::path& file) {
        if (!isMadeIn(file.parent_path(), ".tessaro-fmu-XXXXXX"))
            fail("{} cannot be written: {}.", file.string(), std::strerror(errno));
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::filesystem::path path() const { return path_; }

private:
    bool isMadeIn(const std::filesystem::path& parent, const char* form) {
        throwIfInterrupted();
        path_ = (parent / form).string();
        return mkdtemp(path_.data()) != nullptr;
    }

    std::string path_;
};

} // namespace tool
