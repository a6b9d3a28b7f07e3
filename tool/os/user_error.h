// The one exception for what the user can fix: its text is a sentence to be shown unchanged.
#pragma once

#include <stdexcept>
#include <utility>

#include <fmt/format.h>

namespace tool {

struct UserError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Throws a UserError with the formatted text.
template <typename... Arguments>
[[noreturn]] void fail(fmt::format_string<Arguments...> text, Arguments&&... arguments) {
    throw UserError(fmt::format(text, std::forward<Arguments>(arguments)...));
}

} // namespace tool
