// Which other libraries a shared library or program needs, and where they are on this machine. Files are only read: the
// dynamic loader gets none of them, since a file made for it can run code there.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tool {

/// A library that loading a file would load with it, directly or through others.
struct Dependency {
    std::string name;
    std::filesystem::path path; ///< empty when it is not found here
    std::string neededBy;       ///< the file's name, or that of another dependency
};

/// Looks for the dependencies of a shared library or program where the loader would, with this process's environment:
/// RPATH, LD_LIBRARY_PATH, RUNPATH, the loader's cache, the default folders. Left out: the RPATH of a program that
/// loads the library, and variants for newer processors. The C library is always among them. Throws UserError when the
/// loader would stop at a file, or a file asks for more than a sound one would.
std::vector<Dependency> findDependencies(const std::filesystem::path& file);

/// The names of those that are not found; none for a file that is not sound.
std::vector<std::string> missingDependencies(const std::filesystem::path& file);

} // namespace tool
