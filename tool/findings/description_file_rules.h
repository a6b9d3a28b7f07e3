// The rules for what only a description has, the TOML file that an FMU is packed from: `pack`. What its FMU would have
// wrong is reported under the FMU's own rules.
#pragma once

#include "tool/findings/rule.h"

namespace tool {

inline constexpr Rule descriptionFileRules[] = {
    {"toml-syntax", Severity::error, "The file cannot be read as TOML.", ""},
    {"key-unknown", Severity::error, "A misspelt key would be ignored.", "docs/packaging.md lists all keys."},
    {"key-missing", Severity::error, "There is no value that would suit every FMU.", "Add the key."},
    {"key-value", Severity::error, "The FMU would not be what is meant.", "docs/packaging.md describes all keys."},
    {"description-size", Severity::error, "No FMU needs as much.", ""},
    {"text-model-name", Severity::error,
     "The FMU looks for its model's name at the first \"modelName\" in modelDescription.xml.", "Use another word."},
    {"texts-length", Severity::error,
     "They precede the model's name in one line of modelDescription.xml, of which the library reads 1023 bytes.",
     "Shorten them."},
    {"file-missing", Severity::error, "The archive would be incomplete.", "Paths count from the description's folder."},
    {"file-duplicate", Severity::error, "Files are put into the resources without their folders.",
     "Rename one of them."},
    {"file-name", Severity::error, "It is not a file name on every system.", "Rename the file."},
    {"template-name", Severity::warning, "A value that a master sets would not reach the model.",
     "Give the template's name as solver_name, or let the template use the parameter."},
    {"template-start", Severity::warning,
     "Masters show the start value, but the model runs with the template's value until a master sets one.",
     "Write the same value in both."},
    {"variables-none", Severity::error, "A master could do nothing with the FMU.",
     "Add an [[input]], an [[output]] or a [[parameter]]."},
    {"license-missing", Severity::warning, "The licence may require that its text comes with the library.",
     "Add it to the documentation, in the folder licenses."},
    {"not-packed", Severity::error, "No archive was written.", ""},
};

} // namespace tool
