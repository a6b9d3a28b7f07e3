// What the doctor says while it works: on standard error, so that its findings stay what it prints.
#pragma once

#include <string>

namespace tool {

/// A line on a terminal that says what is being done; it is gone with the object. Nothing elsewhere.
class Progress {
public:
    explicit Progress(const std::string& what);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

private:
    bool isShown_;
};

/// Says, once, that code of the FMU and of the solver is going to run.
void announceForeignCode();

} // namespace tool
