// Loading the solver's interface library, and the messages that come back from it.
#include <memory>
#include <new>
#include <string>

#include "fmi/log.h"
#include "plant/access_object.h"
#include "util/dynamic_library.h"
#include "util/environment.h"
#include "util/paths.h"

namespace {

/// Levels of `MessageHandler`.
enum MessageLevel : int { information, warning, error, fatal };

/// The status that the master sees for each of them.
constexpr fmi2Status statusOfLevel[] = {fmi2OK, fmi2Warning, fmi2Error, fmi2Fatal};

constexpr const char* libraryName = "/tscicos";

/// The library's full name, with forward slashes.
std::string libraryPath(const char* directory) {
    std::string path = std::string(directory) + libraryName + GetDllExtension();
    FixPath(path.data());
    return path;
}

} // namespace

bool TScicosAccessFnc2::LoadInterfaceDll(void* handle) {
    void* library = nullptr;
    try {
        const std::unique_ptr<char[]> directory(NuGetEnv("NUSOL_DLL_DIR"));
        if (!directory) {
            MessageHandler(handle, "\nError: Environment var NUSOL_DLL_DIR undefined\n", error);
            return false;
        }
        library = NuPLDyLoadLibrary(libraryPath(directory.get()).c_str());
    } catch (const std::bad_alloc&) { // told as a library that does not load
    }

    if (library == nullptr) { // Kept: ".dll" on this platform too.
        MessageHandler(handle, "\nError: Failed to load tscicos.dll\n", error);
        return false;
    }

    if (!resolveEntryPoints(handle, library)) {
        NuPLDyUnloadLibrary(library);
        return false;
    }

    libraryHandle_ = library;
    return true;
}

bool TScicosAccessFnc2::resolveEntryPoints(void* handle, void* library) {
    return resolve(blkStart, handle, library, "blkStart", "\nError: Failed to load fcn blkStart.\n") &&
           resolve(blkRequestPlantOutput, handle, library, "blkRequestPlantOutput",
                   "\nError: Failed to load fcn blkRequestPlantOutput.\n") &&
           resolve(blkDepositPlantInput, handle, library, "blkDepositPlantInput",
                   "\nError: Failed to load fcn blkDepositPlantInput.\n") &&
           resolve(blkTerminate, handle, library, "blkTerminate", "\nError: Failed to load fcn blkTerminate.\n");
}

template <typename EntryPoint>
bool TScicosAccessFnc2::resolve(EntryPoint& entryPoint, void* handle, void* library, const char* name,
                                const char* failure) {
    void* address = NuPLDyGetFunction(library, name);
    if (address == nullptr) {
        MessageHandler(handle, failure, error);
        return false;
    }
    entryPoint = reinterpret_cast<EntryPoint>(address);
    return true;
}

void TScicosAccessFnc2::MessageHandler(void* handle, const char* text, int level) {
    if (handle == nullptr) return; // without an instance nothing can be logged, and no run be ended
    const auto* instance = static_cast<const FmuInstance*>(handle);
    const double time = instance->time;

    if (level >= information && level <= fatal && instance->loggingOn)
        logMessage(instance, statusOfLevel[level], "log", "%s", text != nullptr ? text : "");

    if (level >= error && isTSLoaded()) endRun(handle, time, level);
}

void TScicosAccessFnc2::endRun(void* handle, double time, int level) {
    if (!terminating_) { // a library that reports an error from the blkTerminate called here is not called again
        terminating_ = true;
        try {
            blkTerminate(handle, this, time);
        } catch (...) {
            // Kept: when blkTerminate throws, this report sets no error code and its call counts as successful.
            terminating_ = false;
            return;
        }
        terminating_ = false;
    }
    errorCode_ = level;
}
