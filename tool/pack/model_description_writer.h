// modelDescription.xml: what masters read about an FMU.
#pragma once

#include <string>

#include "tool/pack/description.h"
#include "tool/pack/layout.h"

namespace tool {

/// The whole document. The FMU finds its model's name in it: modelName comes last in the root's start tag, which is
/// one line.
std::string modelDescription(const Description& description, const Layout& layout, const std::string& guid);

/// Reports when that line is longer than the FMU reads.
void checkRootLine(const Description& description, const std::string& document, Report& report);

/// A value as the model description and the parameter files write it.
std::string textOf(const Value& value);

} // namespace tool
