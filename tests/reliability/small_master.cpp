#include "tests/reliability/small_master.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include <malloc.h>
#include <sys/wait.h>

namespace small_master {
namespace {

/// Stands before each block; the mark tells a block of this master's that is not freed yet.
struct alignas(16) Head {
    static constexpr std::size_t alive = 0x600DB10C;
    std::size_t mark;
};

class Inside {
public:
    Inside() { inMaster = true; }
    ~Inside() { inMaster = before_; }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;

private:
    const bool before_ = inMaster;
};

std::string format(const char* form, std::va_list arguments) {
    char text[4096];
    std::vsnprintf(text, sizeof text, form, arguments);
    return text;
}

void log(fmi2ComponentEnvironment environment, fmi2String name, fmi2Status status, fmi2String category, fmi2String form,
         ...) {
    const Inside inside;
    std::va_list arguments;
    va_start(arguments, form);
    const std::string text = format(form, arguments);
    va_end(arguments);
    require(environment == &heard && name != nullptr, "a message to another environment: %s", text.c_str());
    if (recording) heard.push_back(std::to_string(status) + " " + category + " " + text);
}

void* allocate(std::size_t count, std::size_t size) {
    const Inside inside;
    if (++nAllocations >= failFrom && nAllocations < failTo) return nullptr;
    auto* head = static_cast<Head*>(std::calloc(1, sizeof(Head) + count * size));
    head->mark = Head::alive;
    ++nLiveBlocks;
    return head + 1;
}

void release(void* block) {
    const Inside inside;
    Head* head = static_cast<Head*>(block) - 1;
    require(head->mark == Head::alive, "not a block of the master's, or freed twice");
    head->mark = 0;
    --nLiveBlocks;
    std::free(head);
}

void recordSolver(const char* line) {
    const Inside inside;
    const std::string call = line;
    if (recording) heard.push_back(call.starts_with("start") ? "start" : call); // without the paths
}

} // namespace

const fmi2CallbackFunctions callbacks{log, allocate, release, nullptr, &heard};
std::vector<std::string> heard;
bool recording = false;
std::size_t nAllocations = 0, failFrom = 0, failTo = 0;
std::atomic<std::size_t> nLiveBlocks{0};
thread_local bool inMaster = false;
SolverScript solver{recordSolver, {}, {}};

void enterInstallation(const FmuFiles& files) {
    files.makeFiles();
    setenv("KORVAN_FMU_ROOT", files.root.c_str(), 1);
    unsetenv("NUSOL_DLL_DIR"), unsetenv("KELDEX_PATH");
    setenv(scriptVariable, textOf("%p", static_cast<void*>(&solver)).c_str(), 1);
}

std::string textOf(const char* form, ...) {
    std::va_list arguments;
    va_start(arguments, form);
    std::string text = format(form, arguments);
    va_end(arguments);
    return text;
}

void require(bool condition, const char* form, ...) {
    if (condition) return;
    std::va_list arguments;
    va_start(arguments, form);
    std::fprintf(stderr, "failed: %s\n", format(form, arguments).c_str());
    va_end(arguments);
    std::_Exit(1);
}

std::size_t countDescriptors() {
    return static_cast<std::size_t>(std::count_if(fs::directory_iterator("/proc/self/fd"), {}, [](const auto& file) {
        std::error_code gone;
        return fs::read_symlink(file, gone).string().find("fmu2ts.par") == std::string::npos;
    }));
}

std::size_t residentKiB() {
    malloc_trim(0);
    std::size_t size = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return resident * 4;
}

void requireNothingLeft(std::size_t nDescriptors, const fs::path& directory) {
    require(nLiveBlocks == 0, "%zu blocks never freed", nLiveBlocks.load());
    require(countDescriptors() == nDescriptors, "%zu descriptors, but %zu before", countDescriptors(), nDescriptors);
    require(fs::current_path() == directory, "working directory %s", fs::current_path().c_str());
    require(waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD, "a process is left over");
}

} // namespace small_master
