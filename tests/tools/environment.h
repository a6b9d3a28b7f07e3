// Owners for environment variables and the working directory.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

#include "tests/support.h"

/// An environment variable, which has its former value again at the end of the scope. Until it is set it is unset.
class EnvironmentVariable {
public:
    explicit EnvironmentVariable(const char* name) : name_(name), former_(value()) { unset(); }
    EnvironmentVariable(const char* name, const std::string& text) : EnvironmentVariable(name) { set(text); }
    ~EnvironmentVariable() { former_ ? set(*former_) : unset(); }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

    void set(const std::string& text) const { setenv(name_, text.c_str(), 1); }
    void unset() const { unsetenv(name_); }
    std::optional<std::string> value() const {
        const char* text = std::getenv(name_);
        return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
    }

private:
    const char* name_;
    const std::optional<std::string> former_;
};

/// The process is in its former working directory again at the end of the scope.
struct WorkingDirectory {
    WorkingDirectory() = default;
    ~WorkingDirectory() { fs::current_path(former); }
    WorkingDirectory(const WorkingDirectory&) = delete;
    WorkingDirectory& operator=(const WorkingDirectory&) = delete;

    const fs::path former = fs::current_path();
};
