// The two parameter files, `fmu2ts.par` and `mv.par`, as the FMU reads them when it is instantiated.
#pragma once

#include <string>

#include "tool/pack/description.h"
#include "tool/pack/layout.h"

namespace tool {

std::string fmu2tsPar(const Description& description, const Layout& layout);
std::string mvPar(const Layout& layout);

} // namespace tool
