// Owners for environment variables, the working directory, permissions.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

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

/// Calls a function for which files and folders have their owner's permissions, although the process may be root's.
template <typename Function>
auto withOwnersPermissions(Function function) {
    struct Permissions {
        Permissions() {
            syscall(SYS_capget, &thread, former);
            __user_cap_data_struct without[] = {former[0], former[1]};
            without[0].effective &= ~(1U << CAP_DAC_OVERRIDE | 1U << CAP_DAC_READ_SEARCH);
            syscall(SYS_capset, &thread, without);
        }
        ~Permissions() { syscall(SYS_capset, &thread, former); }

        __user_cap_header_struct thread{_LINUX_CAPABILITY_VERSION_3, 0};
        __user_cap_data_struct former[_LINUX_CAPABILITY_U32S_3];
    };
    const Permissions permissions;
    return function();
}
