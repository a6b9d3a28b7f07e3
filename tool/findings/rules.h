// The table of all rules. docs/checks.md lists the same names, severities and reasons.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include "tool/findings/description_file_rules.h"
#include "tool/findings/fmu_rules.h"
#include "tool/findings/machine_rules.h"
#include "tool/findings/rule.h"
#include "tool/findings/session_rules.h"

namespace tool {

template <std::size_t... sizes>
consteval auto joined(const Rule (&... tables)[sizes]) {
    std::array<Rule, (sizes + ...)> all{};
    auto end = all.begin();
    ((end = std::copy(std::begin(tables), std::end(tables), end)), ...);
    return all;
}

inline constexpr auto allRules = joined(fmuRules, machineRules, sessionRules, descriptionFileRules);

/// A rule of the table, by its name; a name that is not there does not compile.
class RuleName {
public:
    consteval RuleName(const char* name) { // NOLINT(google-explicit-constructor): it is used like a text
        while (allRules[index_].name != name) ++index_;
    }

    /// The rule of a name that comes from another process. Throws std::logic_error when there is none.
    static RuleName of(std::string_view name);

    constexpr const Rule& rule() const { return allRules[index_]; }
    constexpr std::size_t index() const { return index_; }

private:
    RuleName() = default;

    std::size_t index_ = 0;
};

} // namespace tool
