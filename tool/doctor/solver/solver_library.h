// The solver's interface library, loaded as the FMU loads it. For child processes only: the library may do anything.
#pragma once

#include <filesystem>

#include "tool/doctor/solver/recording_access.h"

namespace tool {

// The names of the entry points.
inline constexpr const char* startName = "blkStart";
inline constexpr const char* depositName = "blkDepositPlantInput";
inline constexpr const char* requestName = "blkRequestPlantOutput";
inline constexpr const char* terminateName = "blkTerminate";

class SolverLibrary {
public:
    /// Loads the library, which is known to load, and reports what this changes in the process.
    SolverLibrary(const std::filesystem::path& file, SessionReport& report);
    /// Looks for threads that are left, and unloads the library.
    void unload();
    SolverLibrary(const SolverLibrary&) = delete;
    SolverLibrary& operator=(const SolverLibrary&) = delete;

    const EntryPoints& entryPoints() const { return entryPoints_; }

private:
    SessionReport& report_;
    void* handle_;
    EntryPoints entryPoints_;
};

} // namespace tool
