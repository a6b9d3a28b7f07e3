// The documentation that every FMU has: what the model is, and what has to be installed to run it.
#pragma once

#include <string>
#include <vector>

#include "tool/pack/description.h"
#include "tool/pack/layout.h"

namespace tool {

/// documentation/index.html
std::string indexPage(const Description& description, const Layout& layout);

/// documentation/externalDependencies.txt; `libraries` are those of the system that the FMU's library needs.
std::string externalDependencies(const Description& description, const std::vector<std::string>& libraries);

} // namespace tool
