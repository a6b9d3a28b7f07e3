// `tessaro-fmu new`: a commented starter description and template, to be changed into one's own.
#pragma once

#include <filesystem>
#include <string>

namespace tool {

/// Writes NAME.toml and NAME.mdl into the folder; both pass `pack` and `check` unchanged. Throws UserError when the
/// name is not allowed or a file already exists.
void writeStarter(const std::string& name, const std::filesystem::path& folder);

} // namespace tool
