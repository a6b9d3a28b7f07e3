// Reads the description of a mechanism; the grammar is documented in README.md beside this file.
#pragma once

#include "demo/solver/model.h"
#include "demo/solver/xml_document.h"

namespace solver {

/// The mechanism that a document describes; the parameters that it declares are added to `document`. Throws a FileError
/// that names file and line at the first thing that is wrong.
Model readModel(XmlDocument& document);

} // namespace solver
