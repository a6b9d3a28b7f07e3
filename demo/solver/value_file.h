// Puts the values that a master set before a run into a model template. Used by fmu_batch.
#pragma once

#include <string>

#include "demo/solver/xml_document.h"

namespace solver {

/// Sets the parameters and the inputs' start values that `valueFile` names in `model`, the template as it was read.
/// Throws a FileError for a line that isn't "name, value", a name that the template doesn't have or that is set twice,
/// a string where the template's own value is a number, and a string that XML can't hold; `model` is then half changed
/// and of no use.
void applyValueFile(const std::string& valueFile, const XmlDocument& model);

} // namespace solver
