// Loads the solver's interface library and handles its messages.
#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include <elf.h>

#include "fmi/instance/installation.h"
#include "fmi/instance/log.h"
#include "fmi/instance/process_lock.h"
#include "plant/access_object.h"
#include "util/dynamic_library.h"
#include "util/environment.h"
#include "util/internal/loading_failure.h"
#include "util/internal/owners.h"
#include "util/paths.h"

namespace {

/// Levels of `MessageHandler`.
enum MessageLevel : int { information, warning, error, fatal };

/// The status logged for each level.
constexpr fmi2Status statusOfLevel[] = {fmi2OK, fmi2Warning, fmi2Error, fmi2Fatal};

/// The value of NUSOL_DLL_DIR; null when it is not set.
std::unique_ptr<char[]> directoryOfSolver() {
    const ProcessLock lock;
    return std::unique_ptr<char[]>(NuGetEnv(installation::solverVariable));
}

/// The library's full path, with forward slashes.
std::string libraryPath(const char* directory) {
    std::string path = std::string(directory) + "/" + installation::interfaceLibrary + GetDllExtension();
    FixPath(path.data());
    return path;
}

/// Whether the file ends before the library's last segment, for example because it is still being copied. The dynamic
/// loader would map such a file, and reading the missing part ends the process. All other errors are reported by the
/// loader.
bool isTruncated(const std::string& path) {
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
        const std::unique_ptr<char[]> directory = directoryOfSolver();
        if (!directory) {
            MessageHandler(handle, "\nError: Environment var NUSOL_DLL_DIR undefined\n", error);
            return false;
        }
        const std::string path = libraryPath(directory.get());
        if (isTruncated(path)) {
            MessageHandler(handle, ("\nError: The end of the file is missing: " + path + "\n").c_str(), error);
            printLoadingFailure(path.c_str(), (path + ": the end of the file is missing").c_str());
        } else {
            library = NuPLDyLoadLibrary(path.c_str());
        }
    } catch (const std::bad_alloc&) { // reported below as a library that does not load
    }

    if (library == nullptr) { // Kept: ".dll" on this platform also.
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
    blkStart = reinterpret_cast<BlkStart>(find(handle, library, "blkStart", "\nError: Failed to load fcn blkStart.\n"));
    if (blkStart == nullptr) return false;
    blkRequestPlantOutput = reinterpret_cast<BlkRequestPlantOutput>(
        find(handle, library, "blkRequestPlantOutput", "\nError: Failed to load fcn blkRequestPlantOutput.\n"));
    if (blkRequestPlantOutput == nullptr) return false;
    blkDepositPlantInput = reinterpret_cast<BlkDepositPlantInput>(
        find(handle, library, "blkDepositPlantInput", "\nError: Failed to load fcn blkDepositPlantInput.\n"));
    if (blkDepositPlantInput == nullptr) return false;
    blkTerminate = reinterpret_cast<BlkTerminate>(
        find(handle, library, "blkTerminate", "\nError: Failed to load fcn blkTerminate.\n"));
    return blkTerminate != nullptr;
}

/// The address of an entry point; null, with the message, when it is missing.
void* TScicosAccessFnc2::find(void* handle, void* library, const char* name, const char* failure) {
    void* address = NuPLDyGetFunction(library, name);
    if (address == nullptr) MessageHandler(handle, failure, error);
    return address;
}

void TScicosAccessFnc2::MessageHandler(void* handle, const char* text, int level) {
    if (handle == nullptr) return; // no instance: no logger and no run to end
    const auto* instance = static_cast<const FmuInstance*>(handle);
    const double time = instance->time;

    if (level >= information && level <= fatal && instance->loggingOn)
        logMessage(instance, statusOfLevel[level], "log", "%s", text != nullptr ? text : "");

    if (level >= error && isTSLoaded()) endRun(handle, time, level);
}

void TScicosAccessFnc2::endRun(void* handle, double time, int level) {
    if (!terminating_) { // an error reported by the blkTerminate called here does not call it again
        terminating_ = true;
        try {
            blkTerminate(handle, this, time);
        } catch (...) {
            // Kept: when blkTerminate throws, no error code is set and the reporting call counts as successful.
            terminating_ = false;
            return;
        }
        terminating_ = false;
    }
    errorCode_ = level;
}
