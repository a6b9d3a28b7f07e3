#include "tool/doctor/solver/long_runs.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <fmt/format.h>

#include "tool/doctor/solver/resource_use.h"

namespace tool {

namespace {

constexpr int nRuns = 20;
constexpr int nSteps = 1000;
constexpr int firstRunsCounted = 5; ///< those before may fill caches
constexpr int fewestSteps = 50;     ///< of the first run
constexpr std::int64_t mostBytesOfARun = 16 << 10;
constexpr std::int64_t mostBytesOfAStep = 1 << 10;
constexpr std::int64_t leastBytesOfAllSteps = 256 << 10; ///< what its steps may fill, however few they are
constexpr std::int32_t mostReals = 20'000;
constexpr std::size_t mostSignalsShown = 200;

/// Columns with headings, each as wide as its longest entry; those without entries are left out.
class Table {
public:
    using Row = std::array<std::string, 6>;

    explicit Table(const Row& headings) : rows_{headings} {}

    void add(const Row& row) {
        rows_.push_back(row);
        for (std::size_t i = 0; i < row.size(); ++i)
            if (!row[i].empty()) widths_[i] = std::max({widths_[i], row[i].size(), rows_[0][i].size()});
    }

    std::string text() const {
        std::string text;
        for (const Row& row : rows_) {
            std::string line;
            for (std::size_t i = 0; i < row.size(); ++i)
                if (widths_[i] > 0) line += fmt::format("{:<{}}", row[i], widths_[i] + 2);
            line.erase(line.find_last_not_of(' ') + 1);
            text += (text.empty() ? "" : "\n") + line;
        }
        return text;
    }

private:
    std::vector<Row> rows_;
    std::array<std::size_t, std::tuple_size_v<Row>> widths_{};
};

class LongRuns {
public:
    explicit LongRuns(const SessionContext& context) : context_(context), plan_(context.plan) {}

    void run() {
        if (!makeFirstRun()) return noteCounts();
        const int stepsEach = std::max(10, (nSteps - steps_ + nRuns - 2) / (nRuns - 1));
        ResourceUse warm{};
        for (runs_ = 1; runs_ < nRuns; ++runs_) {
            if (runs_ == firstRunsCounted) warm = resourceUse();
            if (context_.isLate() || !makeRun(stepsEach)) break;
        }
        noteCounts();
        if (runs_ == nRuns) judgeRuns(warm, resourceUse());
    }

private:
    /// To the final time and with driven inputs, so that the values at its end say something.
    bool makeFirstRun() {
        Session session(context_, plan_.resources);
        if (!session.start()) return false;
        const std::vector<double> first = session.outputs();
        session.drive();
        const double wanted = plan_.shape.finalTime.value_or(0) / plan_.stepSize;
        const int number = static_cast<int>(std::clamp(wanted, 1.0 * fewestSteps, 1.0 * nSteps));
        const bool isComplete = makeSteps(session, number);
        noteSignals(session, first);
        return isComplete && session.end();
    }

    /// The first tenth may fill what is kept for the run.
    bool makeSteps(Session& session, int number) {
        const int warmSteps = number / 10;
        ResourceUse warm{};
        for (int i = 0; i < number && !context_.isLate(); ++i) {
            if (i == warmSteps) warm = resourceUse();
            if (!session.step(plan_.stepSize)) return false;
            ++steps_;
        }
        return context_.isLate() || isFrugal(warm, resourceUse(), number - warmSteps);
    }

    bool makeRun(int number) {
        Session session(context_, plan_.resources);
        if (!session.start()) return false;
        session.drive();
        if (!session.steps(number)) return false;
        steps_ += number;
        return session.end();
    }

    /// False when steps leave something; what runs leave would be the same again.
    bool isFrugal(const ResourceUse& before, const ResourceUse& after, int number) {
        const std::int64_t all = after.residentBytes - before.residentBytes, bytes = all / number;
        const bool grows = bytes >= mostBytesOfAStep && all >= leastBytesOfAllSteps;
        const int descriptors = after.descriptors - before.descriptors;
        if (grows)
            context_.report.add("memory-grows",
                                fmt::format("Each step takes {} more bytes of memory, over {} steps.", bytes, number));
        if (descriptors >= number / 2)
            context_.report.add("descriptors-grow",
                                fmt::format("{} steps leave {} more files open.", number, descriptors));
        return !grows && descriptors < number / 2;
    }

    void judgeRuns(const ResourceUse& before, const ResourceUse& after) {
        constexpr int number = nRuns - firstRunsCounted;
        const std::int64_t bytes = (after.residentBytes - before.residentBytes) / number;
        if (bytes >= mostBytesOfARun)
            context_.report.add("memory-grows",
                                fmt::format("Each run leaves {} more bytes in memory, over {} runs.", bytes, number));
        if (const int more = after.descriptors - before.descriptors; more >= number / 2)
            context_.report.add("descriptors-grow", fmt::format("{} runs leave {} more files open.", number, more));
    }

    void noteCounts() {
        context_.report.note(
            "solver", fmt::format("driven through {} of {} runs in a row, with {} steps of {} s in all{}", runs_, nRuns,
                                  steps_, plan_.stepSize, context_.isLate() ? ", in half the time limit" : ""));
    }

    /// Beside each other what the description and what the solver calls a port, and its values.
    void noteSignals(const Session& session, const std::vector<double>& first) {
        Table table(
            {"port", "variable", "unit", "solver's label", "at 0 s", fmt::format("at {:.6g} s", session.time())});
        const std::vector<double> last = session.outputs();
        std::size_t output = 0, shown = 0;
        for (const PortSignal& signal : plan_.signals) {
            if (shown++ >= mostSignalsShown) break;
            const bool isInput = signal.port.isInput;
            const double atStart = isInput ? 0 : first[output], atEnd = isInput ? signal.driven : last[output];
            output += isInput ? 0 : 1;
            table.add({signal.place(), signal.name, signal.unit, session.access().labelOf(signal.port),
                       fmt::format("{:.6g}", atStart), fmt::format("{:.6g}", atEnd)});
        }
        if (shown > 0) context_.report.note("signals", table.text());
    }

    SessionContext context_;
    const SessionPlan& plan_;
    int runs_ = 0, steps_ = 0;
};

} // namespace

void runLong(const SessionContext& context) {
    if (context.plan.shape.countOf(Type::real).value_or(0) <= mostReals) return LongRuns(context).run();
    context.report.note("solver", fmt::format("not driven through many runs: more than {} reals", mostReals));
}

} // namespace tool
