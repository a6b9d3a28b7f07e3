// Locations: the URIs in which masters pass on where the resources are, and what the library makes of them.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace tool {

/// The folder's location as a URI with three slashes, all but unreserved characters percent-encoded.
std::string encodedLocation(const std::filesystem::path& folder);

/// The path that the library takes from a location; empty when there is none.
std::string pathFromLocation(const std::string& location);

/// Whether a name in fmu2ts.par means the resources folder, or counts from the working directory.
bool isAmongResources(std::string_view fileName);

/// The library joins a file's name to the location of the resources, or takes one with a slash alone when it is that of
/// the result file. Gives the path that the solver receives when it is not that of the name; otherwise empty.
std::string changedResource(std::string_view fileName);
std::string changedResultFile(std::string_view fileName);

} // namespace tool
