#include "tool/doctor/obstacles.h"

#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "tool/os/files.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

bool isClosed(const fs::path& folder) {
    return isFolder(folder) && faccessat(AT_FDCWD, folder.c_str(), X_OK, AT_EACCESS) != 0;
}

} // namespace

bool isInClosedFolder(const fs::path& path, Report& report) {
    fs::path folder;
    for (const fs::path& part : fs::absolute(path).lexically_normal()) {
        folder /= part;
        if (!isClosed(folder)) continue;
        if (!report.hasErrorIn(folder.string()))
            report.add("folder-permission", {folder.string()},
                       "This folder cannot be entered by the user who runs this.");
        return true;
    }
    return false;
}

bool isNoexec(const fs::path& folder) {
    struct statvfs system {};
    return statvfs(folder.c_str(), &system) == 0 && (system.f_flag & ST_NOEXEC) != 0;
}

bool refusesToRun(const fs::path& folder, const char* purpose, Report& report, const char* advice) {
    if (!isNoexec(folder)) return false;
    Report::Added added = report.add("folder-noexec", {}, "{}, {}, is on a file system that is mounted noexec.",
                                     inQuotes(folder.string()), purpose);
    if (advice != nullptr) added.fix(advice);
    return true;
}

} // namespace tool
