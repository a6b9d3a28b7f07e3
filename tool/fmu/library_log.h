// What the FMU's library would say: an instance whose log is kept, for those of the library's own functions that need
// one.
#pragma once

#include <string>
#include <vector>

#include "fmi/instance/fmu_instance.h"

namespace tool {

class LibraryLog {
public:
    LibraryLog();
    LibraryLog(const LibraryLog&) = delete;
    LibraryLog& operator=(const LibraryLog&) = delete;

    /// An instance without variables, whose logging is on.
    FmuInstance* instance() { return &instance_; }

    /// Its callbacks, for an instance of the caller's own.
    const fmi2CallbackFunctions* functions() const { return &functions_; }

    const std::vector<std::string>& warnings() const { return warnings_; }
    const std::vector<std::string>& errors() const { return errors_; }

private:
    static void keep(fmi2ComponentEnvironment log, fmi2String name, fmi2Status status, fmi2String category,
                     fmi2String format, ...);

    fmi2CallbackFunctions functions_;
    FmuInstance instance_{};
    std::string name_ = "doctor";
    std::vector<std::string> warnings_, errors_;
};

} // namespace tool
