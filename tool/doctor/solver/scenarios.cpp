#include "tool/doctor/solver/scenarios.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "tool/doctor/solver/long_runs.h"
#include "tool/doctor/solver/session.h"
#include "tool/doctor/solver/trajectory.h"
#include "tool/os/text.h"

namespace tool {

namespace {

constexpr int mostInputsAlone = 20;
constexpr int nSmallSteps = 10;
constexpr double smallPart = 0.01; ///< of a step

Moment momentOf(const Session& session) {
    return {session.time(), session.outputs(), session.outputs(1), session.outputs(2)};
}

/// Steps with driven inputs, and adds the outputs after each.
bool follow(Session& session, int number, double size, Trajectory& run) {
    session.drive();
    for (int i = 0; i < number; ++i) {
        if (!session.step(size)) return false;
        run.push_back(momentOf(session));
    }
    return true;
}

class Scenarios {
public:
    explicit Scenarios(const SessionContext& context) : context_(context), plan_(context.plan) {}

    void run() {
        driveOneInputAtATime();
        attempt("With all inputs driven", [this] { runAlone(); });
        if (expected_.size() == shortRun) runWhatCompares();
        if (!late_.empty())
            context_.report.note("solver",
                                 fmt::format("half the time limit has passed, not tried: {}", fmt::join(late_, "; ")));
    }

private:
    void runWhatCompares() {
        attempt("In a second run", [this] { runAgain(plan_.resources); });
        attempt("After a reset", [this] { runAfterReset(); });
        attempt("Beside a second instance", [this] { runBesideAnother(); });
        attempt("In another folder", [this] { runAgain(plan_.otherResources); });
        attempt("In small steps", [this] { runInSmallSteps(); });
        attempt("In long use", [this] { runLong(context_); });
    }

    /// A solver that needs long is not taken for one that hangs.
    template <typename Scenario>
    void attempt(const std::string& situation, const Scenario& scenario) {
        if (context_.isLate()) return late_.push_back(situation);
        context_.report.setSituation(situation);
        scenario();
        context_.report.setSituation("");
    }

    void driveOneInputAtATime() {
        int count = 0;
        for (const PortSignal& signal : plan_.signals) {
            if (signal.driven == 0 || count++ >= mostInputsAlone) continue;
            attempt(fmt::format("With the input {} at {}", signal.name.empty() ? signal.place() : inQuotes(signal.name),
                                signal.driven),
                    [&] { driveOnly(signal); });
        }
    }

    void driveOnly(const PortSignal& signal) {
        Session session(context_, plan_.resources);
        if (!session.start()) return;
        session.setInput(signal, signal.driven);
        if (session.steps(2)) session.end();
    }

    void runAlone() {
        Session session(context_, plan_.resources);
        if (session.start() && follow(session, shortRun, plan_.stepSize, expected_)) session.end();
    }

    void runAgain(const std::filesystem::path& resources) {
        Session session(context_, resources);
        if (!session.start()) return;
        compare(session);
        session.end();
    }

    void runAfterReset() {
        Session session(context_, plan_.resources);
        if (!session.start()) return;
        session.drive();
        if (!session.steps(2) || !session.start()) return;
        compare(session);
        session.end();
    }

    /// The other instance has other inputs, and outlives the first.
    void runBesideAnother() {
        Session session(context_, plan_.resources), other(context_, plan_.resources, "second_");
        if (!session.start() || !other.start()) return;
        Trajectory run;
        for (int i = 0; i < shortRun; ++i)
            if (!other.step(plan_.stepSize) || !follow(session, 1, plan_.stepSize, run)) return;
        report(run);
        if (session.end() && other.steps(1)) other.end();
    }

    /// A solver with a fixed step may refuse them.
    void runInSmallSteps() {
        Trajectory run;
        context_.report.setQuiet(true);
        const bool isComplete = makeSmallSteps(run);
        context_.report.setQuiet(false);
        const std::string lines =
            isComplete ? derivativeDeviations(run, plan_) : "not compared: the solver does not make small steps";
        if (!lines.empty()) context_.report.note("derivatives", lines);
    }

    /// Inputs stay the same from before the first of them on.
    bool makeSmallSteps(Trajectory& run) {
        Session session(context_, plan_.resources);
        return session.start() && follow(session, 1, plan_.stepSize, run) &&
               follow(session, nSmallSteps, smallPart * plan_.stepSize, run) && session.end();
    }

    void compare(Session& session) {
        Trajectory run;
        follow(session, shortRun, plan_.stepSize, run);
        report(run);
    }

    void report(const Trajectory& run) {
        if (const std::string difference = differenceOf(run, expected_, plan_); !difference.empty())
            context_.report.add("run-differs", difference + ".");
    }

    SessionContext context_;
    const SessionPlan& plan_;
    Trajectory expected_;
    std::vector<std::string> late_; ///< what was not tried
};

/// From now on; the time limit of the process is far beyond.
SessionContext contextOf(const SessionPlan& plan, const SolverLibrary& library, SessionReport& report) {
    const auto patience = std::chrono::duration<double>(plan.patience);
    return {plan, library, report,
            std::chrono::steady_clock::now() +
                std::chrono::duration_cast<std::chrono::steady_clock::duration>(patience)};
}

} // namespace

void runOnce(const SessionPlan& plan, SessionReport& report) {
    SolverLibrary library(plan.library, report);
    Session session(contextOf(plan, library, report), plan.resources); // outlives the library, which may still ask it
    if (session.start() && session.steps(shortRun)) session.end();
    library.unload();
    report.end();
}

void runRepeatedly(const SessionPlan& plan, SessionReport& report) {
    SolverLibrary library(plan.library, report);
    Scenarios(contextOf(plan, library, report)).run();
    library.unload();
    report.end();
}

} // namespace tool
