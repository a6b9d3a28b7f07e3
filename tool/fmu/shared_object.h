// What a shared library's file says about itself. The file is only read: its code does not run.
#pragma once

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace tool {

struct SharedObject {
    std::vector<std::string> needed; ///< the libraries that it names, in order
    bool hasSections = false;        ///< without a table of sections nothing of what follows is known
    /// What it defines for others: functions, variables, also of threads, indirect functions. True for a function.
    std::unordered_map<std::string, bool> exports;
    std::set<std::string> imports; ///< functions and variables that others have to define; not the weak ones
    std::string glibc;             ///< newest glibc version that a symbol asks for, such as "2.34"; or empty

    /// Versions of symbols, such as "GLIBCXX_3.4.30": those that other libraries, by name, have to define, and its own.
    std::map<std::string, std::set<std::string>> neededVersions;
    std::set<std::string> versions;

    bool hasFunction(const std::string& name) const {
        const auto found = exports.find(name);
        return found != exports.end() && found->second;
    }
};

/// Reads the file of a shared library for 64-bit Linux on x86-64. Throws UserError, which says what the file is
/// instead.
SharedObject readSharedObject(const std::filesystem::path& file);

/// Whether the file of a library holds the runtime library of C++ itself, whatever it exports.
bool holdsCxxRuntime(const std::filesystem::path& file);

/// What a file is for a machine with 64-bit Linux on x86-64.
enum class BinaryKind {
    none,    ///< not an ELF file at all
    foreign, ///< for another kind of machine, or damaged
    native
};

BinaryKind binaryKindOf(const std::filesystem::path& file);

} // namespace tool
