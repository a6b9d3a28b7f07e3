// Makes sure that the solver's model file exists before the solver starts: from the model's template and the start
// values that the master has set, by the solver installation's translator `fmu_batch`.
#pragma once

#include "fmi/fmu_instance.h"

extern "C" {

/// Generates the model file in the resources folder when there is none; its name is the model description's modelName
/// and ".xml". 0 when the model file exists at the end, otherwise -1. What goes wrong with the files is reported in the
/// master's log while logging is on; a missing model description or template, or an unset KORVAN_FMU_ROOT, is not.
/// Effects on the process: the working directory is the resources folder until the function returns; the name lists of
/// `g_mv_par` are released, except when there is no model description.
TESSARO_EXPORT int fmu_generate_xml(const char* resourceLocation, FmuInstance* instance);

} // extern "C"
