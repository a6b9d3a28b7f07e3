#include "tool/doctor/loading.h"

#include <cstring>

#include <dlfcn.h>
#include <fmt/format.h>

#include "tool/os/child_process.h"

namespace tool {

std::string loadingRefusal(const std::filesystem::path& file, int flags) {
    constexpr double timeLimit = 20;
    const ChildResult child = runInChild(
        [&](int report) {
            const bool isLoaded = dlopen(file.c_str(), flags) != nullptr;
            writeAll(report, isLoaded ? "loaded" : dlerror());
        },
        timeLimit);
    if (child.timedOut) return fmt::format("loading did not finish within {} s", timeLimit);
    if (child.signal != 0) return fmt::format("loading ends the process: {}", strsignal(child.signal));
    if (child.report.empty()) return fmt::format("loading ends the process with code {}", child.exitCode);
    return child.report == "loaded" ? "" : child.report;
}

} // namespace tool
