#include "util/dynamic_library.h"

#include <cstdio>
#include <string_view>

#include <dlfcn.h>

#include "util/internal/loading_failure.h"

namespace {

constexpr const char* dashes = "----------------------------------------------";
static_assert(std::string_view(dashes).size() == 46);

const char* shown(const char* text) { return text != nullptr ? text : "(null)"; }

/// Returns a loader's result unchanged. A null result is first reported under the requested name.
void* reported(void* result, const char* name) {
    if (result == nullptr) printLoadingFailure(name, NuPLDyLoadError());
    return result;
}

} // namespace

void printLoadingFailure(const char* name, const char* reason) {
    // One call prints the whole block: another thread's output does not get between its lines.
    std::printf("%s\nDynamic Library loading error: %s\n    %s\n%s\n", dashes, shown(name), shown(reason), dashes);
    std::fflush(stdout);
}

void* NuPLDyLoadLibrary(const char* file) { return reported(dlopen(file, RTLD_LAZY | RTLD_DEEPBIND), file); }

void* NuPLDyLoadLibrary2(const char* file) { return reported(dlopen(file, RTLD_LAZY | RTLD_GLOBAL), file); }

// Kept: a separate entry point with the flags of the first one; callers may use either.
void* NuPLDyLoadLibrary3(const char* file) { return reported(dlopen(file, RTLD_LAZY | RTLD_DEEPBIND), file); }

// Kept: a missing symbol is reported in the words of a missing library.
void* NuPLDyGetFunction(void* handle, const char* name) {
    if (name != nullptr) return reported(dlsym(handle, name), name);

    NuPLDyLoadError(); // clears the message of an earlier call
    return reported(nullptr, name);
}

int NuPLDyUnloadLibrary(void* handle) { return handle != nullptr ? dlclose(handle) : -1; }

const char* NuPLDyLoadError() { return dlerror(); }

const char* GetDllExtension() {
    static const char extension[8] = ".so"; // constant, as threads ask at the same time
    return extension;
}
