// Loading the solver's interface library, and the messages that come back from it.
#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include <elf.h>

#include "fmi/log.h"
#include "plant/access_object.h"
#include "util/dynamic_library.h"
#include "util/environment.h"
#include "util/owners.h"
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

/// Whether a library ends before its last segment does, as one that is still being copied. The dynamic loader would map
/// it all the same, and the process end where it touches what is missing. What else is wrong with a file, the loader
/// tells.
bool isCutOff(const std::string& path) {
    const Stream file(std::fopen(path.c_str(), "r"));
    Elf64_Ehdr header{};
    if (!file || std::fread(&header, sizeof header, 1, file.get()) != 1) return false;
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_phentsize != sizeof(Elf64_Phdr)) return false;

    std::vector<Elf64_Phdr> segments(header.e_phnum);
    std::fseek(file.get(), static_cast<long>(header.e_phoff), SEEK_SET);
    if (std::fread(segments.data(), sizeof(Elf64_Phdr), segments.size(), file.get()) != segments.size()) return false;
    std::fseek(file.get(), 0, SEEK_END);
    const auto size = static_cast<Elf64_Off>(std::ftell(file.get()));
    return std::any_of(segments.begin(), segments.end(), [size](const Elf64_Phdr& segment) {
        return segment.p_type == PT_LOAD && segment.p_offset + segment.p_filesz > size;
    });
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
        const std::string path = libraryPath(directory.get());
        if (isCutOff(path))
            MessageHandler(handle, ("\nError: The end of the file is missing: " + path + "\n").c_str(), error);
        else
            library = NuPLDyLoadLibrary(path.c_str());
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
