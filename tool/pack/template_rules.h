// The description against the template of the solver's model file, as far as a text of unknown form shows it.
#pragma once

#include <string_view>
#include <vector>

#include "tool/pack/description.h"

namespace tool {

/// Reports parameters whose solver's name has a word that neither the template nor another resource holds, and start
/// values that differ from the template's. A default is recognised in `<parameter name="X" value="V"`, in a line
/// `X = V` and in `${X=V}`. Files beyond `largestFile`, or with zero bytes as in UTF-16,
/// are not looked into.
void checkTemplate(const Description& description, std::string_view modelTemplate,
                   const std::vector<std::string_view>& resources, Report& report);

} // namespace tool
