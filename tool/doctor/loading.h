// Loading a library in a child process, to see whether the loader takes it. This runs the library's start-up code,
// which is said on standard error before the first time.
#pragma once

#include <filesystem>
#include <string>

namespace tool {

/// Why the loader does not load a library with the flags of dlopen, in its own words; empty when it does.
std::string loadingRefusal(const std::filesystem::path& file, int flags);

/// Whether a library that loads has a function.
bool hasLoadedFunction(const std::filesystem::path& file, int flags, const std::string& name);

} // namespace tool
