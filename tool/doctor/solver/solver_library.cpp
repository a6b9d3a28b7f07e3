#include "tool/doctor/solver/solver_library.h"

#include <chrono>
#include <iterator>
#include <system_error>

#include <dlfcn.h>

#include "tool/doctor/solver/process_state.h"
#include "tool/os/user_error.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

template <typename Function>
void resolve(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
}

/// A thread that has ended may be seen for a moment still.
bool hasOtherThreads() {
    for (int patience = 50; patience > 0; --patience) {
        std::error_code ignored;
        const fs::directory_iterator threads("/proc/self/task", ignored);
        if (std::distance(fs::begin(threads), fs::end(threads)) <= 1) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

} // namespace

SolverLibrary::SolverLibrary(const fs::path& file, SessionReport& report) : report_(report) {
    report.begin("loading");
    const ProcessState before;
    handle_ = dlopen(file.c_str(), RTLD_LAZY | RTLD_DEEPBIND);
    if (handle_ == nullptr) fail("{}", dlerror());
    before.reportChanges("Loading the library", report);
    resolve(handle_, startName, entryPoints_.start);
    resolve(handle_, requestName, entryPoints_.request);
    resolve(handle_, depositName, entryPoints_.deposit);
    resolve(handle_, terminateName, entryPoints_.terminate);
    report.begin("");
}

void SolverLibrary::unload() {
    report_.setSituation("");
    if (hasOtherThreads()) report_.add("thread-left", "A thread of the solver is still there when the run is over.");
    report_.begin("unloading the library");
    dlclose(handle_);
    report_.begin("");
}

} // namespace tool
