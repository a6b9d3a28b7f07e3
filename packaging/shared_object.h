// What a shared library's file says about itself. The file is only read and mapped by the loader: its code doesn't run.
#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace packaging {

struct SharedObject {
    std::string name;                ///< its soname, or empty
    std::vector<std::string> needed; ///< the libraries that it names, in order
    std::string searchPath;          ///< RUNPATH, or RPATH, as it stands; or empty
    bool hasSections = false;        ///< without a table of sections nothing of all this is known
    std::set<std::string> functions; ///< exported and defined
    std::set<std::string> exports;   ///< the same with everything else: variables, also of threads, indirect functions
    std::set<std::string> imports;   ///< functions and variables that others have to define; not the weak ones
    std::string glibc;               ///< newest glibc version that a symbol asks for, such as "2.34"; or empty
};

/// Reads the file of a shared library for 64-bit Linux on x86-64. Throws UserError, which says what the file is
/// instead.
SharedObject readSharedObject(const std::filesystem::path& file);

/// A library that loading `file` would load with it, directly or through others.
struct Dependency {
    std::string name;
    std::filesystem::path path; ///< empty when the loader doesn't find it here
};

/// Asks the loader, with this process's environment, where the dependencies of a shared library are. None of its code
/// runs. The C library is always among them. Throws UserError when the loader doesn't take the file or needs over 10 s.
std::vector<Dependency> findDependencies(const std::filesystem::path& file);

/// The same for a program, or anything else that is trusted: the loader runs the audit libraries that it names.
std::vector<Dependency> findDependenciesOfProgram(const std::filesystem::path& file);

} // namespace packaging
