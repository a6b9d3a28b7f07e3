#include "tool/doctor/loading.h"

#include <cstdio>
#include <cstring>

#include <dlfcn.h>
#include <fmt/format.h>

#include "tool/os/child_process.h"
#include "tool/os/progress.h"
#include "tool/os/text.h"

namespace tool {

namespace {

constexpr double loadingLimit = 20; ///< seconds

/// Once, that code of others is going to run.
void announce() {
    static bool isAnnounced = false;
    if (isAnnounced) return;
    isAnnounced = true;
    std::fputs("tessaro-fmu: doctor now loads the solver's library and, if one is given, the FMU's: their code runs.\n",
               stderr);
}

} // namespace

std::string loadingRefusal(const std::filesystem::path& file, int flags) {
    announce();
    const Progress progress(fmt::format("loading {}", printable(file.filename().string())));
    const ChildResult child = runInChild(
        [&](int report) {
            const bool isLoaded = dlopen(file.c_str(), flags) != nullptr;
            writeAll(report, isLoaded ? "loaded" : dlerror());
        },
        loadingLimit);
    if (child.timedOut) return fmt::format("loading did not finish within {} s", loadingLimit);
    if (child.signal != 0) return fmt::format("loading ends the process: {}", strsignal(child.signal));
    if (child.report.empty()) return fmt::format("loading ends the process with code {}", child.exitCode);
    return child.report == "loaded" ? "" : child.report;
}

bool hasLoadedFunction(const std::filesystem::path& file, int flags, const std::string& name) {
    const ChildResult child = runInChild(
        [&](int report) {
            void* library = dlopen(file.c_str(), flags);
            if (library != nullptr && dlsym(library, name.c_str()) != nullptr) writeAll(report, "found");
        },
        loadingLimit);
    return child.report == "found";
}

} // namespace tool
