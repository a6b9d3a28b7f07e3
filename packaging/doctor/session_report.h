// How the process in which the solver is driven tells what it sees: a line for each call and each fact, written at
// once, so that nothing is lost when the solver ends the process.
#pragma once

#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace packaging {

/// The side of the child process. May be used by any thread.
class SessionReport {
public:
    explicit SessionReport(int descriptor) : descriptor_(descriptor) {}

    /// Says what is done now; an empty text ends it.
    void begin(const std::string& action);

    /// Tells a fact under a rule's name, once; of each rule a limited number.
    void tell(std::string_view rule, const std::string& what);

    /// Says that a step was made.
    void step();

    /// Says that the session came to its end, whatever happened in it.
    void end();

private:
    void write(std::string_view key, std::string_view rule, std::string_view text);

    int descriptor_;
    std::mutex mutex_;
    std::set<std::string> told_;
    std::multiset<std::string> rules_;
};

struct SessionFact {
    std::string rule;
    std::string what;
};

/// What arrived of a report.
struct SessionOutcome {
    std::vector<SessionFact> facts;
    std::string unfinished; ///< the action that was begun and didn't end; or empty
    int steps = 0;          ///< that were made
    bool ended = false;
};

SessionOutcome readReport(const std::string& report);

} // namespace packaging
