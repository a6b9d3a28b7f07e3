// Reads the description of a mechanism; the grammar is documented in README.md beside this file.
#pragma once

#include "demo/solver/model.h"
#include "demo/solver/xml_document.h"

namespace solver {

/// The mechanism that a document describes; its parameters are added to `document`. Throws a FileError with file and
/// line for the first error.
Model readModel(XmlDocument& document);

} // namespace solver
