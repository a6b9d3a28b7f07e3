#include "tool/doctor/solver/value_trials.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <sstream>

#include "resources/model_generation.h"
#include "tool/doctor/solver/scenarios.h"
#include "tool/doctor/solver/start_values.h"
#include "tool/fmu/location.h"
#include "tool/os/files.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t mostTried = 50;

void makeModelFile(const fs::path& resources, const ShapeFile& shape, const std::vector<Setting>& settings,
                   SessionReport& report) {
    SetInstance set(shape, settings);
    report.begin("the translation");
    if (fmu_generate_xml(encodedLocation(resources).c_str(), set.instance()) != 0)
        report.add("model-not-made", fmt::format("The translator leaves no model file. The master's log will say {}.",
                                                 set.errors().empty() ? "nothing" : '"' + set.errors().back() + '"'));
    report.begin("");
    report.end();
}

/// The last line of the translator. What the shell says, of the second place of a translator, is left out.
std::string lastLine(const std::string& text) {
    std::istringstream lines(text);
    std::string last;
    for (std::string line; std::getline(lines, line);)
        if (!line.empty() && !line.starts_with("sh: ")) last = line;
    return last;
}

class ValueTrials {
public:
    ValueTrials(const Fmu& fmu, const WorkingCopy& copy, const SessionPlan& plan, double timeLimit,
                const PartRunner& runner, Report& report)
        : fmu_(fmu), copy_(copy), plan_(plan), timeLimit_(timeLimit), runner_(runner), report_(report),
          settables_(settablesOf(fmu)) {}

    void run() {
        std::size_t tried = 0;
        while (tried < std::min(settables_.size(), mostTried) && !isLate()) tryOne(settables_[tried++]);
        if (tried < settables_.size()) report_.skips(fmt::format("parameters and inputs after the first {}", tried));
        reportWithoutEffect();
        if (accepted_.size() == tried) tryAll();
    }

private:
    using Clock = std::chrono::steady_clock;

    struct Trial {
        std::optional<std::string> model; ///< nothing when none was made
        std::string refusal;
    };

    bool isLate() const { return hung_ || std::chrono::duration<double>(Clock::now() - start_).count() > timeLimit_; }

    Trial translate(const std::vector<Setting>& settings) {
        const fs::path file = copy_.root() / fmu_.modelFile();
        fs::remove(file);
        const PartResult result = runner_.run(
            {fmu_.modelTemplate(), "translator", "trying values with the translator",
             [&](SessionReport& report) { makeModelFile(copy_.resources(), fmu_.shape, settings, report); }});
        hung_ = hung_ || result.timedOut;
        Trial trial;
        if (result.outcome.facts.empty()) {
            trial.model = readFile(file);
        } else {
            trial.refusal = lastLine(result.output);
            if (trial.refusal.empty()) trial.refusal = result.outcome.facts.back().what;
        }
        fs::remove(file);
        return trial;
    }

    /// What is also refused with the start value is not refused for its value.
    void tryOne(const Settable& settable) {
        const Trial changed = translate({{&settable, Choice::changed}});
        if (changed.model) {
            accepted_.push_back({&settable, Choice::changed});
            const bool mustHaveEffect = settable.isParameter() && canBeChanged(settable);
            if (mustHaveEffect && *changed.model == plan_.model) without_.push_back(&settable);
            return;
        }
        const Trial start = hung_ ? changed : translate({{&settable, Choice::start}});
        if (start.model)
            accepted_.push_back({&settable, Choice::start});
        else
            report_.add("value-refused", settable.place, "The translator refuses {}: {}", shown(settable),
                        start.refusal);
    }

    static std::string shown(const Settable& settable) {
        const DescribedVariable& variable = *settable.variable;
        return fmt::format("the {} {}{}", settable.isParameter() ? "parameter" : "input", inQuotes(variable.name),
                           settable.nameInModel == variable.name
                               ? ""
                               : fmt::format(", for the solver {}", inQuotes(settable.nameInModel)));
    }

    /// A solver may read the value file itself: then no model file shows a value.
    void reportWithoutEffect() {
        const auto parameters = std::ranges::count_if(settables_, &Settable::isParameter);
        for (const Settable* settable : without_)
            report_.add("value-without-effect", settable->place, "The model file is the same whatever value {} has{}.",
                        shown(*settable), std::ssize(without_) == parameters ? ", as with all other parameters" : "");
    }

    /// Values that the translator takes one by one may still be too much for it together, or for the solver.
    void tryAll() {
        const Trial all = translate(accepted_);
        if (!all.model) return reportTogether();
        const auto failureOfAll = failureWith(*all.model);
        if (!failureOfAll) return;
        bool isFound = false;
        for (const Setting& setting : accepted_) isFound = (!isLate() && failsWithSolver(setting)) || isFound;
        if (!isFound)
            report_.add("value-fails", {nameFileName}, "With other values of all parameters and inputs: {}",
                        *failureOfAll);
    }

    bool failsWithSolver(const Setting& setting) {
        const Trial trial = translate({setting});
        const auto failure = trial.model ? failureWith(*trial.model) : std::nullopt;
        if (failure)
            report_.add("value-fails", setting.settable->place, "With another value of {}: {}",
                        shown(*setting.settable), *failure);
        return failure.has_value();
    }

    void reportTogether() {
        std::vector<Setting> settings = accepted_;
        for (Setting& setting : settings) setting.choice = Choice::start;
        if (const Trial start = translate(settings); !start.model)
            report_.add("value-refused", {nameFileName},
                        "The translator refuses all parameters and inputs together: {}", start.refusal);
    }

    /// What is wrong in a short run with a model; nothing when all is well.
    std::optional<std::string> failureWith(const std::string& model) {
        SessionPlan plan = plan_;
        plan.model = model;
        fs::remove(copy_.root() / fmu_.modelFile());
        const PartResult result = runner_.run({plan.library.string(), "solver", "trying values with the solver",
                                               [&](SessionReport& report) { runOnce(plan, report); }});
        hung_ = hung_ || result.timedOut;
        const SessionFact* error = result.firstError();
        return error != nullptr ? std::optional(error->what) : std::nullopt;
    }

    const Fmu& fmu_;
    const WorkingCopy& copy_;
    const SessionPlan& plan_;
    double timeLimit_;
    const PartRunner& runner_;
    Report& report_;
    std::vector<Settable> settables_;
    std::vector<Setting> accepted_;        ///< by the translator
    std::vector<const Settable*> without_; ///< parameters without an effect on the model file
    bool hung_ = false;                    ///< a process did not end in time: no further one is begun
    Clock::time_point start_ = Clock::now();
};

} // namespace

void makeModelFile(const fs::path& resources, const ShapeFile& shape, SessionReport& report) {
    makeModelFile(resources, shape, {}, report);
}

void tryValues(const Fmu& fmu, const WorkingCopy& copy, const SessionPlan& plan, double timeLimit,
               const PartRunner& runner, Report& report) {
    ValueTrials(fmu, copy, plan, timeLimit, runner, report).run();
}

} // namespace tool
