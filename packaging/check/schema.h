// The FMI 2.0 schema of modelDescription.xml: which elements and attributes there are, in which order, with which
// values.
#pragma once

#include "packaging/check/report.h"
#include "packaging/check/xml_document.h"

namespace packaging::checking {

/// Reports what the schema doesn't allow, in an element fmiModelDescription and below. `file` names it in places.
void checkSchema(const XmlElement& root, const std::string& file, Report& report);

} // namespace packaging::checking
