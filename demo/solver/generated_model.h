// Model files that fmu_batch makes for a single run: their mark, and their removal once the solver has read them.
//
// The FMU uses a model file that it finds in its resources as it is. One left over from an earlier run would therefore
// give every later run from the same folder the earlier parameters.
#pragma once

#include "demo/solver/xml_document.h"

namespace solver {

/// Marks a model as made for a single run, by a comment before its root element.
void markAsGenerated(const XmlDocument& model);

/// Removes the file that `model` was read from if it is marked and its template is in the same folder, so that it can
/// be made again; not if the environment variable TESSARO_DEMO_KEEP_MODEL is set to anything. Returns whether the file
/// was removed. Throws std::filesystem::filesystem_error if it can't be.
bool removeGenerated(const XmlDocument& model);

} // namespace solver
