// Reading a TOML file that may hold anything.
#pragma once

#include <filesystem>
#include <optional>

#include <toml++/toml.h>

#include "tool/findings/report.h"

namespace tool {

/// The file's root table. Nothing, with a finding, for what is not TOML or has keys of more than 16 parts. Throws
/// UserError for what is not a regular file, cannot be read or is larger than 32 MiB.
std::optional<toml::table> readToml(const std::filesystem::path& file, Report& report);

} // namespace tool
