// The FMI 2.0 schema of modelDescription.xml: which elements and attributes there are, in which order, with which
// values.
#pragma once

#include "tool/findings/report.h"
#include "tool/fmu/xml_document.h"

namespace tool {

/// Reports what the schema does not allow, in an element fmiModelDescription and below. `file` names it in places.
void checkSchema(const XmlElement& root, const std::string& file, Report& report);

} // namespace tool
