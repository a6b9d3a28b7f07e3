// A rule: the name under which pack, check, doctor and the solver's session report one fault, and what is the same for
// all its findings.
#pragma once

#include <string_view>

namespace tool {

/// A note is what was looked at and found in order; it counts as nothing wrong.
enum class Severity { note, warning, error };

struct Rule {
    std::string_view name; ///< short and stable, for tools and tests
    Severity severity;
    std::string_view why; ///< why it matters, a sentence
    std::string_view fix; ///< a sentence; may be empty
};

} // namespace tool
