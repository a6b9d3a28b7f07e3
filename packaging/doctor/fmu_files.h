// The FMU's own files, and the places in which a run reads and writes.
#pragma once

#include <filesystem>

#include "packaging/doctor/fmu_description.h"
#include "packaging/findings.h"
#include "resources/parameter_files.h"

namespace packaging {

/// What was found out about an FMU's files.
struct FmuFiles {
    std::filesystem::path root;
    std::filesystem::path resources;
    bool isArchive = false; ///< `root` is a temporary folder then
    FmuDescription description;
    bool hasTemplate = false;
    bool hasModelFile = false;
    bool hasParameters = false; ///< `parameters` is what fmu2ts.par says
    bool areUsable = false;     ///< the library accepts the parameter files
    FmuParRecord parameters{};
};

/// Examines model description, parameter files, template and model file.
FmuFiles examineFiles(const std::filesystem::path& root, bool isArchive, Findings& findings);

/// Examines what is written during a run, and the result file's place as the parameter file names it.
void examineWriting(const FmuFiles& files, Findings& findings);

} // namespace packaging
