// Collects what a command finds: notes, and findings of the rules, only so many of each. Shown as text for people;
// json.h has them for tools.
#pragma once

#include <array>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "tool/findings/rules.h"
#include "tool/os/text.h"

namespace tool {

/// Where something was found. An empty file is the FMU or the machine as a whole; line 0 is a file as a whole.
struct Place {
    std::string file; ///< relative to the FMU's root when it is the FMU's
    int line = 0;     ///< from 1
};

struct Finding {
    Severity severity = Severity::error;
    std::string rule; ///< the rule's name; of a note, the heading of `what`
    Place place;
    std::string what; ///< a sentence; of a note, lines of a list
    std::string why;  ///< why it matters, a sentence; empty for a note
    std::string fix;  ///< how to fix it, a sentence; may be empty
};

class Report {
public:
    /// Of each rule the first `shownOfARule` findings are kept, the others counted.
    explicit Report(int shownOfARule = 5) : shownOfARule_(shownOfARule) {}
    Report(const Report&) = delete;
    Report& operator=(const Report&) = delete;

    /// What can be said of a finding that was just added.
    class Added {
    public:
        explicit Added(Finding& finding) : finding_(finding) {}

        /// A reason or a remedy that says more than the rule's.
        Added& why(const std::string& sentence);
        Added& fix(const std::string& sentence);
        /// Here it is only a warning.
        Added& asWarning();

    private:
        Finding& finding_;
    };

    /// Adds a finding. `text` is a sentence.
    template <typename... Arguments>
    Added add(RuleName rule, const Place& place, fmt::format_string<Arguments...> text, Arguments&&... arguments) {
        return Added(isKept(rule, place) ? keep(rule, place, fmt::format(text, std::forward<Arguments>(arguments)...))
                                         : notKept_);
    }

    /// Adds what was looked at and is in order, under a heading; `lines` may be several.
    void note(std::string_view heading, std::string_view lines);

    /// Names something that was examined, or not, for the closing line: "the FMU's files".
    void looksAt(std::string what) { examined_.push_back(std::move(what)); }
    void skips(std::string what) { skipped_.push_back(std::move(what)); }

    /// The notes in their order, then the findings by file and line, with a count for those that were not kept.
    std::vector<Finding> findings() const;
    int errors() const { return count(Severity::error); }
    int warnings() const { return count(Severity::warning); }

    /// Whether an error was found in one of the files that begin so.
    bool hasErrorIn(std::string_view file) const;

    const std::vector<std::string>& examined() const { return examined_; }
    const std::vector<std::string>& skipped() const { return skipped_; }

private:
    struct Count {
        int found = 0;
        Place firstHidden;
    };

    bool isKept(RuleName rule, const Place& place);
    Finding& keep(RuleName rule, const Place& place, std::string_view what);
    int count(Severity severity) const;

    int shownOfARule_;
    std::vector<Finding> notes_;
    std::vector<Finding> findings_;
    std::array<Count, allRules.size()> counts_;
    std::vector<std::string> examined_, skipped_;
    Finding notKept_;
};

/// Writes the notes as a list, then a paragraph for each finding, and a closing line with their numbers and what was
/// looked at. `subject` is what the command was given. Errors and warnings are coloured on a terminal, unless the
/// variable NO_COLOR is set.
void writeText(const Report& report, std::string_view subject, std::FILE* stream);

} // namespace tool
