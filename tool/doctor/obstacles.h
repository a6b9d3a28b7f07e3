// What keeps a file from being used although it may be there: folders that may not be entered, file systems from which
// nothing may run.
#pragma once

#include <filesystem>

#include "tool/findings/report.h"

namespace tool {

/// True, with a finding, when a folder on the way to a path may not be entered by the user who runs this.
bool isInClosedFolder(const std::filesystem::path& path, Report& report);

/// Whether a folder is on a file system that is mounted noexec.
bool isNoexec(const std::filesystem::path& folder);

/// True, with a finding, when it is; `purpose` is what is to run from there, `advice` what helps when that is not to
/// install it elsewhere.
bool refusesToRun(const std::filesystem::path& folder, const char* purpose, Report& report,
                  const char* advice = nullptr);

} // namespace tool
