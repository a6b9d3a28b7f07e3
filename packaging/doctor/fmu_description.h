// What the model description tells masters, and what the FMU's library makes of it.
#pragma once

#include <filesystem>
#include <string>

#include "packaging/findings.h"

namespace packaging {

struct FmuDescription {
    std::string modelName;       ///< base name of template and model file as the library takes it; or empty
    std::string modelIdentifier; ///< base name of the FMU's library; or empty
    double stepSize = 0;         ///< seconds, as the description proposes it; 0 when it proposes none
};

/// Examines the model description of the FMU in `root`, or its copy among the resources. `isArchive`: masters get the
/// archive, not this folder.
FmuDescription examineDescription(const std::filesystem::path& root, bool isArchive, Findings& findings);

} // namespace packaging
