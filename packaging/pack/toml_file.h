// Reading a TOML file that may hold anything.
#pragma once

#include <filesystem>

#include <toml++/toml.h>

namespace packaging {

/// The file's root table. Throws UserError for what is no regular file, is larger than 32 MiB, has keys of more than 16
/// parts or is no TOML.
toml::table readToml(const std::filesystem::path& file);

} // namespace packaging
