#include "tool/doctor/solver/part.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

#include "tool/os/child_process.h"
#include "tool/os/progress.h"

namespace tool {

namespace {

constexpr std::size_t mostOutputShown = 2000;

/// The end of what was printed, for a note of several lines.
std::string shownOutput(std::string text) {
    while (!text.empty() && text.back() == '\n') text.pop_back();
    return text.size() <= mostOutputShown ? text : "..." + text.substr(text.size() - mostOutputShown);
}

/// How a child ended, when not as it should.
std::optional<SessionFact> badEndOf(const char* subject, const ChildResult& child, const SessionOutcome& outcome,
                                    double timeLimit) {
    const std::string place = outcome.unfinished.empty() ? "between the calls" : "in " + outcome.unfinished;
    if (child.timedOut)
        return SessionFact{"solver-hang",
                           fmt::format("The {} did not return within {} s, {}.", subject, timeLimit, place)};
    if (child.signal != 0)
        return SessionFact{"solver-crash",
                           fmt::format("The {} ends the process {}: {}.", subject, place, strsignal(child.signal))};
    if (!outcome.ended)
        return SessionFact{"solver-exit",
                           fmt::format("The {} ends the process {}, with code {}.", subject, place, child.exitCode)};
    return std::nullopt;
}

} // namespace

const SessionFact* PartResult::firstError() const {
    const auto found = std::ranges::find_if(
        outcome.facts, [](const SessionFact& fact) { return fact.rule.rule().severity == Severity::error; });
    return found != outcome.facts.end() ? &*found : nullptr;
}

PartResult PartRunner::run(const Part& part) const {
    const Progress progress(fmt::format("{} (at most {} s)", part.purpose, timeLimit_));
    const ChildResult child = runInChild(
        [&](int descriptor) {
            std::filesystem::current_path(directory_);
            SessionReport report(descriptor);
            part.run(report);
        },
        timeLimit_);
    PartResult result{readReport(child.report), child.output, child.timedOut};
    if (const auto end = badEndOf(part.subject, child, result.outcome, timeLimit_))
        result.outcome.facts.push_back(*end);
    return result;
}

bool PartRunner::runAndAdd(const Part& part) {
    const PartResult result = run(part);
    add(part, result);
    return result.firstError() == nullptr;
}

void PartRunner::add(const Part& part, const PartResult& result) {
    if (part.passesMessages)
        for (const std::string& message : result.outcome.messages) report_.note("solver says", message);
    std::set<std::size_t> rules;
    for (const auto& [rule, what] : result.outcome.facts) {
        rules.insert(rule.index());
        if (!reported_.contains(rule.index())) report_.add(rule, {part.place}, "{}", what);
    }
    reported_.merge(rules);
    for (const auto& [heading, lines] : result.outcome.notes) report_.note(heading, lines);
    if (!result.output.empty()) report_.note(fmt::format("{} prints", part.subject), shownOutput(result.output));
}

} // namespace tool
