#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string_view>
#include <system_error>

#include "fmi/instance/fmu_instance.h"
#include "tool/doctor/examinations.h"
#include "tool/doctor/obstacles.h"
#include "tool/fmu/location.h"
#include "tool/fmu/names.h"
#include "tool/os/files.h"
#include "tool/os/temporary_folder.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view longestFile = "/fmu2ts.par";

/// A form in which masters pass on the location.
struct Form {
    std::string_view masters;
    std::string location;
};

constexpr const char* usualTemporaryFolder = "/tmp";

/// Why no folder with a file can be made in it; empty when one can.
std::string reasonAgainst(const fs::path& parent) {
    std::string made = parent / "tessaro-fmu-XXXXXX";
    if (mkdtemp(made.data()) == nullptr) return std::strerror(errno);
    errno = 0;
    std::ofstream file(made + "/file");
    file << "content";
    file.close();
    std::string reason = file ? "" : std::strerror(errno);
    std::error_code ignored;
    fs::remove_all(made, ignored);
    return reason;
}

bool leadsTo(const std::string& location, const fs::path& folder) {
    return fs::path(pathFromLocation(location) + "/").lexically_normal() ==
           fs::path(folder.string() + "/").lexically_normal();
}

void examineModelWriting(const Fmu& fmu, Report& report) {
    if (fmu.tree.isArchive() || fmu.hasModelFile() || !fmu.hasTemplate()) return;
    const std::string values = resourcesFolder + "/" + fmu.modelName() + ".csv";
    if (!isWritable(fmu.resources()))
        report.add("resources-not-writable", {resourcesFolder},
                   "This folder cannot be written by the user who runs this.");
    else if (isRegularFile(fmu.root() / values) && !isWritable(fmu.root() / values))
        report.add("resources-not-writable", {values}, "This file cannot be written by the user who runs this.");
}

/// Where the result file will be; empty: among the resources.
fs::path resultPath(const Fmu& fmu) {
    const std::string name(fmu.shape.resultFile.value_or(""));
    return isAmongResources(name) ? "" : pathFromLocation(name);
}

void examineResultWriting(const fs::path& folder, const fs::path& result, Report& report) {
    if (isWritable(folder)) return;
    Report::Added added =
        report.add("result-not-writable", {}, "No result file can be written in {}.", folder.string());
    const bool isExpandable = result.string().starts_with('~') || result.string().find('$') != std::string::npos;
    if (isExpandable)
        added.fix("~ and $VARIABLES are not expanded here: write the path in full.");
    else if (!result.empty() && !result.lexically_normal().has_parent_path())
        added.fix("Start the master in another working directory.");
}

} // namespace

bool examineLocation(const fs::path& resources, Report& report) {
    const std::array forms{Form{"FMPy, FMUComplianceChecker, libcosim and PyFMI", encodedLocation(resources)},
                           Form{"fmusim", encodedLocation(resources) + "/"},
                           Form{"ecos and OMSimulator", "file:///" + resources.string()}};
    const std::size_t longest =
        std::ranges::max(forms, {}, [](const Form& form) { return form.location.size(); }).location.size();
    if (std::max(longest, resources.string().size() + longestFile.size()) >= pathBufferSize) {
        report.add("location-too-long", {},
                   "The path of the resources, {} bytes long, is too long for some or all masters.",
                   resources.string().size());
        return false;
    }
    bool allLead = true;
    for (const auto& [masters, location] : forms) {
        if (leadsTo(location, resources)) continue;
        allLead = false;
        report.add("location-characters", {},
                   "With {} the resources' location is {}, which the library does not understand.", masters,
                   inQuotes(location));
    }
    return allLead;
}

bool examineTemporaryFolder(Report& report) {
    if (const std::string problem = reasonAgainst(temporaryParent()); !problem.empty()) {
        report.add("temporary-folder", {}, "No files can be made in {}{}: {}.", inQuotes(temporaryParent().string()),
                   std::getenv("TMPDIR") != nullptr ? ", which TMPDIR names" : "", problem);
        if (!reasonAgainst(usualTemporaryFolder).empty()) return false;
        setenv("TMPDIR", usualTemporaryFolder, 1);
    }
    const fs::path folder = temporaryParent();
    if (refusesToRun(folder, "where archives are unpacked", report, "Set TMPDIR to a folder on another file system."))
        return true;
    if (folder.is_relative()) {
        report.add("location-characters", {}, "TMPDIR is {}, which is not an absolute path.", inQuotes(folder.string()))
            .why("Where a master passes this path on, instantiation fails with \"Unable to read parameter file\".")
            .fix("Set TMPDIR to an absolute path.");
        return true;
    }
    if (examineLocation(folder / "unpacked/resources", report))
        report.note("unpacked to", folder.string() + " (most masters); this path works with all of them");
    return true;
}

void examineWriting(const Fmu& fmu, Report& report) {
    examineModelWriting(fmu, report);
    if (!fmu.shape.resultFile) return;

    const fs::path result = resultPath(fmu);
    std::error_code ignored;
    const fs::path folder =
        result.empty() ? fmu.resources() : (fs::current_path(ignored) / result).lexically_normal().parent_path();
    if (result.empty())
        report.note("result file", "among the FMU's resources");
    else if (result.is_absolute())
        report.note("result file", result.string());
    else
        report.note("result file", fmt::format("{}, in the master's working directory; here it would be {}",
                                               result.string(), folder.string()));
    examineResultWriting(folder, result, report);
}

} // namespace tool
