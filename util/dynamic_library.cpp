#include "util/dynamic_library.h"

#include <cstdio>
#include <cstring>
#include <string_view>

#include <dlfcn.h>

namespace {

constexpr const char* rule = "----------------------------------------------";
static_assert(std::string_view(rule).size() == 46);

const char* shown(const char* text) { return text != nullptr ? text : "(null)"; }

/// Hands a loader's result on. A null one is reported first, under the name that was asked for.
void* reported(void* result, const char* name) {
    if (result != nullptr) return result;

    // One call prints the whole block, and it is flushed, so that it stands whole and in place even in a master that
    // ends itself next.
    const char* reason = NuPLDyLoadError();
    std::printf("%s\nDynamic Library loading error: %s\n    %s\n%s\n", rule, shown(name), shown(reason), rule);
    std::fflush(stdout);
    return nullptr;
}

} // namespace

void* NuPLDyLoadLibrary(const char* file) { return reported(dlopen(file, RTLD_LAZY | RTLD_DEEPBIND), file); }

void* NuPLDyLoadLibrary2(const char* file) { return reported(dlopen(file, RTLD_LAZY | RTLD_GLOBAL), file); }

// Kept: an entry point of its own with the flags of the first; callers may hold either.
void* NuPLDyLoadLibrary3(const char* file) { return reported(dlopen(file, RTLD_LAZY | RTLD_DEEPBIND), file); }

// Kept: a missing symbol is reported under the words of a missing library.
void* NuPLDyGetFunction(void* handle, const char* name) {
    if (name != nullptr) return reported(dlsym(handle, name), name);

    NuPLDyLoadError(); // of an earlier call, not the reason for this one
    return reported(nullptr, name);
}

int NuPLDyUnloadLibrary(void* handle) { return handle != nullptr ? dlclose(handle) : -1; }

const char* NuPLDyLoadError() { return dlerror(); }

const char* GetDllExtension() {
    static char extension[8];
    std::strcpy(extension, ".so");
    return extension;
}
