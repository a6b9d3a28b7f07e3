// The one exception for what the user can mend: its text is a sentence to be shown as it stands.
#pragma once

#include <stdexcept>
#include <string_view>
#include <utility>

#include <fmt/format.h>

namespace packaging {

struct UserError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Throws a UserError with the formatted text.
template <typename... Arguments>
[[noreturn]] void fail(fmt::format_string<Arguments...> text, Arguments&&... arguments) {
    throw UserError(fmt::format(text, std::forward<Arguments>(arguments)...));
}

} // namespace packaging
