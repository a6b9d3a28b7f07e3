// How the process in which the solver is driven reports what it sees: a line per call and fact, written at once, so
// that nothing is lost when the solver ends the process.
#pragma once

#include <atomic>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tool/findings/rules.h"

namespace tool {

/// The side of the child process. May be used by any thread.
class SessionReport {
public:
    explicit SessionReport(int descriptor) : descriptor_(descriptor) {}

    /// Under which circumstances everything happens from now on, for findings: "After a reset". Empty: nothing special.
    void setSituation(const std::string& situation);

    /// Nothing is a fault from now on: facts and messages are dropped.
    void setQuiet(bool isQuiet) { isQuiet_ = isQuiet; }

    /// Says what is done now; an empty text ends it.
    void begin(const std::string& action);

    /// Reports a fact under a rule's name, once, whatever the situation; of each rule a limited number.
    void add(RuleName rule, const std::string& what);

    /// Passes on what the solver says without it being a fault, as often as a fact.
    void say(const std::string& message);

    /// Passes on what was seen and is not a fault; `lines` may be several.
    void note(std::string_view heading, const std::string& lines);

    /// Says that the session came to its end, whatever happened in it.
    void end();

private:
    bool isNew(std::string_view rule, const std::string& text);
    std::string situation();
    void write(std::string_view key, std::string_view rule, std::string_view text);

    int descriptor_;
    std::atomic<bool> isQuiet_ = false;
    std::mutex mutex_;
    std::string situation_;
    std::set<std::string> known_;
    std::multiset<std::string> rules_;
};

struct SessionFact {
    RuleName rule;
    std::string what;
};

/// What arrived of a report.
struct SessionOutcome {
    std::vector<SessionFact> facts;
    std::vector<std::string> messages;
    std::vector<std::pair<std::string, std::string>> notes; ///< headings and lines
    std::string unfinished;                                 ///< the action that was begun and did not end; or empty
    bool ended = false;
};

SessionOutcome readReport(const std::string& report);

} // namespace tool
