// A master for long runs: calls go straight to the linked library, only what a test asks for is recorded. What it finds
// wrong (a block freed twice or never, a file descriptor or process left over) ends the program with a message.
#pragma once

#include <atomic>
#include <cstddef>
#include <string>
#include <vector>

#include "fmi/fmi2.h"
#include "tests/fmu_files.h"
#include "tests/scripted_solver.h"

namespace small_master {

extern const fmi2CallbackFunctions callbacks;

/// What the logger and the scripted solver were told since the last clear, while `recording`.
extern std::vector<std::string> heard;
extern bool recording;

/// Calls of `allocateMemory` are counted from 1; those from `failFrom` to `failTo` - 1 fail.
extern std::size_t nAllocations, failFrom, failTo;
extern std::atomic<std::size_t> nLiveBlocks;

/// Whether this thread is inside the master's own functions, whose allocations are not the library's.
extern thread_local bool inMaster;

extern SolverScript solver;

/// Makes the files and points the environment at them and at the solver's script.
void enterInstallation(const FmuFiles& files);

/// A text made as printf does, so that it is compared with what the logger was told.
[[gnu::format(printf, 1, 2)]] std::string textOf(const char* format, ...);

/// Ends the program with a message when the condition does not hold.
[[gnu::format(printf, 2, 3)]] void require(bool condition, const char* format, ...);

/// The process's descriptors without the streams that stay open on purpose; its memory in KiB, what is free given back.
std::size_t countDescriptors();
std::size_t residentKiB();

/// Requires that no block, descriptor or process is left over and the working directory is the same.
void requireNothingLeft(std::size_t nDescriptors, const fs::path& directory);

} // namespace small_master
