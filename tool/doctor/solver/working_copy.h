// A copy of what a run reads and changes; the FMU itself stays unchanged.
#pragma once

#include <filesystem>

#include "tool/fmu/fmu.h"
#include "tool/os/temporary_folder.h"

namespace tool {

class WorkingCopy {
public:
    /// Copies the resources and the model description. Throws UserError when this is not possible.
    explicit WorkingCopy(const Fmu& fmu);

    std::filesystem::path root() const { return folder_.path(); }
    std::filesystem::path resources() const { return root() / resourcesFolder; }

private:
    TemporaryFolder folder_;
};

} // namespace tool
