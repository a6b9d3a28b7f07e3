#include "packaging/doctor/locations.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include "resources/resource_location.h"
#include "util/owners.h"

namespace packaging {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view unreserved = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
constexpr std::string_view longestFile = "/fmu2ts.par";
constexpr std::string_view plainPath =
    "Unpack to, and start from, a path of letters, digits and . _ - only; the variable TMPDIR moves the temporary "
    "folder.";

/// A form in which masters tell the location.
struct Form {
    std::string_view masters;
    std::string location;
};

bool leadsTo(const std::string& location, const fs::path& folder) {
    const MallocText path(convert_URI_to_path(location.c_str()));
    return path != nullptr && fs::path(std::string(path.get()) + "/").lexically_normal() ==
                                  fs::path(folder.string() + "/").lexically_normal();
}

} // namespace

std::string encodedLocation(const fs::path& folder) {
    std::string location = "file://";
    for (const char character : folder.string())
        location += unreserved.find(character) != std::string_view::npos
                        ? std::string(1, character)
                        : fmt::format("%{:02X}", static_cast<unsigned char>(character));
    return location;
}

bool examineLocation(const fs::path& resources, Findings& findings) {
    const std::array forms{Form{"FMPy, FMUComplianceChecker, libcosim and PyFMI", encodedLocation(resources)},
                           Form{"fmusim", encodedLocation(resources) + "/"},
                           Form{"ecos and OMSimulator", "file:///" + resources.string()}};
    const std::size_t longest =
        std::ranges::max(forms, {}, [](const Form& form) { return form.location.size(); }).location.size();
    if (std::max(longest, resources.string().size() + longestFile.size()) >= pathBufferSize) {
        findings.error(
            "location-too-long", {},
            fmt::format("The path of the resources, {} bytes long, is too long for some or all masters.",
                        resources.string().size()),
            fmt::format("The library takes locations of at most {} bytes, %-encoding included.", pathBufferSize - 1),
            "Unpack the FMU to a shorter path.");
        return false;
    }
    bool allLead = true;
    for (const auto& [masters, location] : forms) {
        if (leadsTo(location, resources)) continue;
        allLead = false;
        findings.warning("location-characters", {},
                         fmt::format("{} tell the resources' place as \"{}\", which the library doesn't understand.",
                                     masters, location),
                         "These masters don't encode blanks, umlauts, braces, brackets, # and %: instantiation fails "
                         "with \"Unable to read parameter file\". Other masters aren't concerned.",
                         std::string(plainPath));
    }
    return allLead;
}

bool examineTemporaryFolder(Findings& findings) {
    std::error_code failure;
    const fs::path folder = fs::temp_directory_path(failure);
    if (failure || faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) != 0) {
        findings.error("temporary-folder", {}, "There is no temporary folder that can be written.",
                       "Masters unpack the archive into it.", "Set TMPDIR to a folder that can be written.");
        return false;
    }
    if (examineLocation(folder / "unpacked/resources", findings))
        findings.note("unpacked to", folder.string() + ", by most masters; they can all tell such a path");
    return true;
}

} // namespace packaging
