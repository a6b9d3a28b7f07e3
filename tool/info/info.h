// `tessaro-fmu info`: what an FMU is, for somebody who wants to look before running it. Judges nothing, and runs none
// of its code.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "tool/fmu/fmu.h"

namespace tool {

struct PortInfo {
    Port port;
    std::vector<const DescribedVariable*> signals; ///< those that the description declares, by value reference
    int derivatives = 0;                           ///< of an output: the highest order that the description declares
};

struct FileInfo {
    std::string name; ///< relative to the FMU's root
    std::uintmax_t bytes = 0;
};

/// What has to be on a machine that runs the FMU.
struct Needs {
    std::vector<std::string> libraries; ///< shared libraries that are not in the FMU
    std::string glibc;                  ///< oldest version of the C library that will do, such as "2.34"; or empty
    std::string unknown;                ///< why the libraries are not known; or empty
};

/// Refers to the FMU, which must outlive it.
struct Info {
    const Fmu& fmu;
    std::vector<PortInfo> ports;                     ///< inputs, then outputs; empty when fmu2ts.par has none to read
    std::vector<const DescribedVariable*> variables; ///< those that are in no port
    std::vector<FileInfo> files;                     ///< sorted
    Needs needs;

    /// The name that the solver's model has for a variable; empty when mv.par has none.
    std::string_view solverName(const DescribedVariable& variable) const;
};

/// Gathers it. Throws UserError when the FMU has no model description that can be read.
Info inform(const Fmu& fmu);

/// Writes it for people.
void writeText(const Info& info, std::FILE* stream);

/// The same for tools. `subject` is what the command was given.
nlohmann::ordered_json toJson(const Info& info, std::string_view subject);

} // namespace tool
