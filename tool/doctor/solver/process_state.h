// What belongs to the whole process, and so to the master: its locale, working directory and floating-point
// environment. A solver must leave them as they are.
#pragma once

#include <filesystem>
#include <string>

#include "tool/doctor/solver/session_report.h"

namespace tool {

class ProcessState {
public:
    /// The state as it is now.
    ProcessState();

    /// Reports what has changed since, and sets it back. `place` is where: "blkStart".
    void reportChanges(const std::string& place, SessionReport& report) const;

private:
    std::string locale_;
    std::filesystem::path directory_;
    unsigned control_ = 0;   ///< of the SSE unit, without what calculations leave in it
    unsigned short x87_ = 0; ///< the same of the x87 unit
};

} // namespace tool
