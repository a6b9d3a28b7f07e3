// The grammar of structured variable names of FMI 2.0.
#pragma once

#include <string_view>

namespace packaging::checking {

/// Whether it is a name such as a, a.b[1,2], 'any text'.c or der(a.b,2).
bool isStructuredName(std::string_view name);

} // namespace packaging::checking
