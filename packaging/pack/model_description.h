// modelDescription.xml: what masters read about an FMU.
#pragma once

#include <string>

#include "packaging/pack/description.h"
#include "packaging/pack/layout.h"

namespace packaging {

/// The whole document. The FMU finds its model's name in it: modelName stands last in the root's start tag, which is
/// one line. Throws UserError when that line is longer than the FMU reads.
std::string modelDescription(const Description& description, const Layout& layout, const std::string& guid);

/// A value as the model description and the parameter files write it.
std::string textOf(const Value& value);

} // namespace packaging
