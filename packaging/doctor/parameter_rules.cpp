#include "packaging/doctor/parameter_rules.h"

#include <array>
#include <cstdint>
#include <string>

#include <fmt/format.h>
#include <sys/resource.h>

#include "packaging/doctor/child.h"
#include "packaging/doctor/watched_instance.h"

namespace packaging {

namespace {

namespace fs = std::filesystem;

constexpr const char* shapeFile = "resources/fmu2ts.par";

/// True without findings when the numbers are such as an instance can have.
bool examineCounts(const FmuParRecord& record, Findings& findings) {
    constexpr int firstLine = 4;
    constexpr int nPortCounts = 2;
    constexpr std::array names{"input ports",       "output ports",      "real variables",
                               "integer variables", "boolean variables", "string variables"};
    const std::array counts{record.nInputPorts, record.nOutputPorts, record.nReal,
                            record.nInteger,    record.nBoolean,     record.nString};
    bool possible = true;
    for (int i = 0; i < static_cast<int>(counts.size()); ++i) {
        const auto k = static_cast<std::size_t>(i);
        if (counts[k] >= 0 && (i >= nPortCounts || counts[k] <= maxPorts)) continue;
        possible = false;
        findings.error("parameter-file", {shapeFile, firstLine + i},
                       fmt::format("The number of {} is {}.", names[k], counts[k]),
                       fmt::format("Instantiation fails with \"Illegal number of {} in parameter file\".", names[k]),
                       i < nPortCounts ? "There can be 0 to 8 of them." : "There can be 0 or more of them.");
    }
    return possible;
}

bool examineLayout(const FmuParRecord& record, Findings& findings) {
    if (hasUsableLayout(record)) return true;
    findings.error(
        "port-layout", {shapeFile}, fmt::format("Not all ports lie within the {} real variables.", record.nReal),
        "Initialization fails with \"lies outside of the real variables\": the solver would write into memory "
        "of something else.",
        "tessaro-fmu check says more.");
    return false;
}

/// What reading mv.par gives, tried where a file that takes all memory does no harm.
std::string resultOfNames(const fs::path& file) {
    constexpr double timeLimit = 20;
    constexpr rlimit most{rlim_t{2} << 30U, rlim_t{2} << 30U};
    return runInChild(
               [&](int report) {
                   setrlimit(RLIMIT_AS, &most);
                   MvParRecord names{};
                   const int result = fread_mv_par(file.c_str(), &names);
                   releaseNames(names);
                   writeAll(report, std::to_string(result));
               },
               timeLimit)
        .report;
}

bool examineNames(const fs::path& resources, Findings& findings) {
    const std::string result = resultOfNames(resources / "mv.par");
    if (result == "0" || result == "-1") return true; // without the file only the names are lacking
    findings.error(
        "parameter-file", {"resources/mv.par"},
        result == "-2" ? "A list's number of names is negative, or larger than the file."
                       : "The names take too much memory or time.",
        fmt::format("Instantiation fails with \"{}\".", result == "-2" ? "illegal number of names" : "out of memory"),
        "Pack the FMU again.");
    return false;
}

} // namespace

void examineParameterFiles(FmuFiles& files, Findings& findings) {
    files.hasParameters = fread_par((files.resources / "fmu2ts.par").c_str(), &files.parameters) >= 0;
    if (!files.hasParameters) {
        findings.error("parameter-file", {shapeFile}, "The parameter file isn't there or can't be read.",
                       "The library takes the number of ports and variables from it: instantiation fails.",
                       "Pack the FMU again.");
        return;
    }
    const bool named = examineNames(files.resources, findings);
    const bool shaped = examineCounts(files.parameters, findings) && examineLayout(files.parameters, findings);
    files.areUsable = named && shaped;
}

} // namespace packaging
