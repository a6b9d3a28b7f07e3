// Makes sure that the solver's model file exists before the solver starts: from the model's template and the start
// values that the master has set, by the solver installation's translator `fmu_batch`. Part of the installed package:
// C++11 and later.
#pragma once

#include "util/internal/export.h"

struct FmuInstance; // what an fmi2Component points to

extern "C" {

/// Generates the model file in the resources folder when there is none; its name is the model description's modelName
/// and ".xml". 0 when the model file exists at the end, otherwise -1. Reported in the master's log while logging is on:
/// a folder that cannot be entered, a value file that cannot be written, a variable without a name, a name or an
/// installation root that the shell would read as something else (nothing is run then), a translator that leaves no
/// model file, no memory or file descriptors left. Not reported: a missing model description, modelName or template,
/// and an unset KORVAN_FMU_ROOT. Effects on the process: the working directory is the resources folder until the
/// function returns; the name lists of `g_mv_par` are released, once the model description was opened.
TESSARO_EXPORT int fmu_generate_xml(const char* resourceLocation, FmuInstance* handle);

} // extern "C"
