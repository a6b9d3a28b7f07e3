// Collects findings of the rules: in the files' order, and only so many of a kind.
#pragma once

#include <array>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "packaging/check/rule_table.h"
#include "packaging/text_forms.h"

namespace packaging::checking {

/// A foreign text as it can be shown: in double quotes, without control characters, and cut when it is long.
std::string inQuotes(std::string_view text);

class Report {
public:
    /// Adds a finding. `text` is a sentence.
    template <typename... Arguments>
    void add(RuleName rule, const Place& place, fmt::format_string<Arguments...> text, Arguments&&... arguments) {
        if (isShown(rule, place)) keep(rule, place, fmt::format(text, std::forward<Arguments>(arguments)...));
    }

    /// Adds what was looked at and is in order; `heading` as `Finding::rule` of a note.
    void note(std::string_view heading, const std::string& what);

    /// Hands everything on: the notes, then the findings sorted by file and line. Of each rule some are shown; the rest
    /// are counted in one more.
    void handOver(Findings& findings);

private:
    struct Entry {
        const Rule* rule;
        Place place;
        std::string what;
    };
    struct Count {
        int found = 0;
        Place firstHidden;
    };

    bool isShown(RuleName rule, const Place& place);
    void keep(RuleName rule, const Place& place, std::string what);

    std::vector<std::pair<std::string, std::string>> notes_; ///< heading and text
    std::vector<Entry> entries_;
    std::array<Count, std::size(allRules)> counts_;
};

} // namespace packaging::checking
