// A part of what is tried with the solver: runs in a child process, whose report becomes findings.
#pragma once

#include <filesystem>
#include <functional>
#include <set>
#include <string>

#include "tool/doctor/solver/session_report.h"
#include "tool/findings/report.h"

namespace tool {

struct Part {
    std::string place;   ///< the file that its findings name
    const char* subject; ///< who runs: "solver"
    std::string purpose; ///< what it does, for people who wait
    std::function<void(SessionReport&)> run;
    bool passesMessages = true; ///< what the solver says becomes notes
};

/// What came of a part.
struct PartResult {
    SessionOutcome outcome; ///< with a crash, a hang or an exit as its last fact
    std::string output;     ///< what it printed
    bool timedOut = false;

    /// The first fact that is an error; null when there is none.
    const SessionFact* firstError() const;
};

class PartRunner {
public:
    /// Parts run in `directory` and are given `timeLimit` seconds each.
    PartRunner(std::filesystem::path directory, double timeLimit, Report& report)
        : directory_(std::move(directory)), timeLimit_(timeLimit), report_(report) {}

    /// Runs a part, and adds nothing.
    PartResult run(const Part& part) const;

    /// Runs a part and adds what it reports, but for rules of which earlier parts have reported something. False when
    /// there was an error.
    bool runAndAdd(const Part& part);

private:
    void add(const Part& part, const PartResult& result);

    std::filesystem::path directory_;
    double timeLimit_;
    Report& report_;
    std::set<std::size_t> reported_; ///< rules, by their index
};

} // namespace tool
