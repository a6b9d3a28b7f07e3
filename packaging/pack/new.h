// `tessaro-fmu new`: a commented starter description and template, to be changed into one's own.
#pragma once

#include <filesystem>
#include <string>

namespace packaging {

/// Writes NAME.toml and NAME.mdl into the folder; both pass `pack` and `check` as they stand. Throws UserError when the
/// name doesn't suit or a file is there already.
void writeStarter(const std::string& name, const std::filesystem::path& folder);

} // namespace packaging
