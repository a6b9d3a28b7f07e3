// What a command is doing, for people who wait: on standard error, and only on a terminal.
#pragma once

#include <string>

namespace tool {

/// A line that says what is being done, until the end of the scope.
class Progress {
public:
    explicit Progress(const std::string& what);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

private:
    bool isShown_;
};

} // namespace tool
