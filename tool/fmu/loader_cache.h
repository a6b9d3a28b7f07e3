// The dynamic loader's list of installed libraries, /etc/ld.so.cache, as ldconfig writes it.
#pragma once

#include <map>
#include <string>

namespace tool {

/// Where the installed libraries for 64-bit x86 are, by their names; none when the list is missing, damaged or of
/// another form.
std::map<std::string, std::string> readLoaderCache();

/// The same for the content of such a file.
std::map<std::string, std::string> parseLoaderCache(const std::string& content);

} // namespace tool
