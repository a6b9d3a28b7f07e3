// What is generated from the command line's own table of commands and options, so that it cannot differ from it.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

namespace tool {

/// A script for bash that completes commands, options and file names.
std::string bashCompletion(const CLI::App& app);

/// The man page, section 1, in roff.
std::string manualPage(const CLI::App& app);

} // namespace tool
