// The two parameter files, `fmu2ts.par` and `mv.par`, as the FMU reads them when it is instantiated.
#pragma once

#include <string>

#include "packaging/pack/description.h"
#include "packaging/pack/layout.h"

namespace packaging {

std::string fmu2tsPar(const Description& description, const Layout& layout);
std::string mvPar(const Layout& layout);

} // namespace packaging
