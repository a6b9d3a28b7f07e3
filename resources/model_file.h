// The solver's model file, as a start of the solver needs it.
#pragma once

#include <memory>

#include "resources/resources_folder.h"

struct FmuInstance;

/// Makes sure that the model file exists, as `fmu_generate_xml` says. Returns the resources folder, so that nobody else
/// looks at or makes the model file until the solver has read it; null if the model file does not exist.
std::unique_ptr<const ResourcesFolder> provideModelFile(const char* resourceLocation, const FmuInstance* instance);
