// The grammar of FMI 2.0's structured variable names (section 2.2.9 of the standard).
#pragma once

#include <string_view>

namespace tool {

/// Whether it is a name such as a, a.b[1,2] or 'any text'.c.
bool isStructuredName(std::string_view name);

/// Whether it is such a name, or a derivative of one: der(a.b) or der(a.b,2).
bool isStructuredNameOrDerivative(std::string_view name);

} // namespace tool
