// A folder that is removed at the end of its scope.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include "packaging/user_error.h"

namespace packaging {

class TemporaryFolder {
public:
    /// Throws UserError when none can be made.
    TemporaryFolder() : path_((std::filesystem::temp_directory_path() / "tessaro-fmu-XXXXXX").string()) {
        if (mkdtemp(path_.data()) == nullptr)
            fail("No temporary folder can be made in {}.", std::filesystem::temp_directory_path().string());
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::filesystem::path path() const { return path_; }

private:
    std::string path_;
};

} // namespace packaging
