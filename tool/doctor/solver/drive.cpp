#include "tool/doctor/solver/drive.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <optional>
#include <string>

#include <fmt/format.h>

#include "resources/model_generation.h"
#include "tool/doctor/solver/session.h"
#include "tool/doctor/solver/session_report.h"
#include "tool/fmu/library_log.h"
#include "tool/fmu/location.h"
#include "tool/fmu/names.h"
#include "tool/os/child_process.h"
#include "tool/os/interruption.h"
#include "tool/os/temporary_folder.h"
#include "tool/os/user_error.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t mostOutputShown = 2000;
constexpr double defaultStepSize = 0.01;
constexpr std::int32_t mostVariables = 10'000'000;

/// A copy of what a run reads and changes; the FMU itself stays unchanged.
class WorkingCopy {
public:
    explicit WorkingCopy(const Fmu& fmu) {
        try {
            copyFolder(fmu.resources(), resources());
            const fs::path description = fmu.root() / descriptionFile;
            if (fs::exists(description)) copyFile(description, root() / descriptionFile);
        } catch (const fs::filesystem_error& error) {
            fail("The FMU's resources cannot be copied for the solver: {}.", error.code().message());
        }
    }

    fs::path root() const { return folder_.path(); }
    fs::path resources() const { return root() / resourcesFolder; }

private:
    /// The copies can be written, whatever their originals are.
    static void copyFolder(const fs::path& from, const fs::path& to) {
        fs::create_directory(to);
        for (const fs::directory_entry& entry : fs::directory_iterator(from)) {
            throwIfInterrupted();
            if (entry.is_directory())
                copyFolder(entry.path(), to / entry.path().filename());
            else if (entry.is_regular_file())
                copyFile(entry.path(), to / entry.path().filename());
        }
    }

    static void copyFile(const fs::path& from, const fs::path& to) {
        fs::copy_file(from, to);
        fs::permissions(to, fs::perms::owner_write, fs::perm_options::add);
    }

    TemporaryFolder folder_;
};

/// Where the solver may write its results: nowhere but in the working copy.
std::string resultFileOf(const ShapeFile& shape, const WorkingCopy& copy) {
    const std::string name(shape.resultFile.value_or(""));
    const std::size_t slash = name.find_last_of("/\\");
    if (slash != std::string::npos) return "./" + name.substr(slash + 1); // the copy is the working directory
    return encodedLocation(copy.resources()) + "/" + (name.empty() ? std::string(defaultResultFile) : name);
}

/// Makes the model file as the library does when no value was set. To be run in a child process.
void makeModelFile(const fs::path& resources, SessionReport& report) {
    LibraryLog log;
    report.begin("the translation");
    if (fmu_generate_xml(encodedLocation(resources).c_str(), log.instance()) != 0)
        report.add("model-not-made", fmt::format("The translator leaves no model file. The master's log will say {}.",
                                                 log.errors().empty() ? "nothing" : '"' + log.errors().back() + '"'));
    report.begin("");
    report.end();
}

/// The end of what was printed, for a note of several lines.
std::string shownOutput(std::string text) {
    while (!text.empty() && text.back() == '\n') text.pop_back();
    return text.size() <= mostOutputShown ? text : "..." + text.substr(text.size() - mostOutputShown);
}

/// A part of the check, which runs in a child process of its own.
struct Part {
    std::string place;   ///< the file that its findings name
    const char* speaker; ///< heads what it prints
    std::function<void(SessionReport&)> run;
};

/// How a child ended, when not as it should.
struct BadEnd {
    RuleName rule;
    std::string how;
};

std::optional<BadEnd> badEndOf(const ChildResult& child, const SessionOutcome& outcome, double timeLimit) {
    const std::string place = outcome.unfinished.empty() ? "between the calls" : "in " + outcome.unfinished;
    if (child.timedOut) return BadEnd{"solver-hang", fmt::format("did not return within {} s, {}", timeLimit, place)};
    if (child.signal != 0)
        return BadEnd{"solver-crash", fmt::format("ends the process {}: {}", place, strsignal(child.signal))};
    if (!outcome.ended)
        return BadEnd{"solver-exit", fmt::format("ends the process {}, with code {}", place, child.exitCode)};
    return std::nullopt;
}

struct PartResult {
    int steps = 0;
    bool isFaultless = false;
};

/// Runs a part and adds what it reports.
PartResult runPart(const Part& part, const fs::path& directory, double timeLimit, Report& report) {
    const int errorsBefore = report.errors();
    const ChildResult child = runInChild(
        [&](int descriptor) {
            fs::current_path(directory);
            SessionReport sessionReport(descriptor);
            part.run(sessionReport);
        },
        timeLimit);
    const SessionOutcome outcome = readReport(child.report);
    for (const std::string& message : outcome.messages) report.note("solver says", message);
    for (const auto& [rule, what] : outcome.facts) report.add(rule, {part.place}, "{}", what);
    if (const auto end = badEndOf(child, outcome, timeLimit))
        report.add(end->rule, {part.place}, "The solver {}.", end->how);
    if (!child.output.empty()) report.note(part.speaker, shownOutput(child.output));
    return {outcome.steps, report.errors() == errorsBefore};
}

/// What the model description promises or has variables for.
DerivativeOrders ordersOf(const Fmu& fmu) {
    DerivativeOrders orders{};
    if (fmu.description.coSimulation != nullptr) {
        const auto promised = naturalAttribute(*fmu.description.coSimulation, "maxOutputDerivativeOrder");
        orders.fill(static_cast<int>(std::min(promised.value_or(0), 2U)));
    }
    for (const Port& port : fmu.shape.ports) {
        if (port.isInput || port.width == 0) continue;
        int& order = orders[static_cast<std::size_t>(port.number)];
        for (const DescribedVariable& variable : fmu.description.variables) {
            if (variable.type != Type::real || !variable.reference) continue;
            const std::int64_t place = std::int64_t{*variable.reference} - port.offset;
            if (place >= port.width && place < 3 * port.width)
                order = std::max(order, static_cast<int>(place / port.width));
        }
    }
    return orders;
}

bool hasTooManyVariables(const ShapeFile& shape) {
    return std::ranges::any_of(shape.counts,
                               [](const CountLine& count) { return count.value.value_or(0) > mostVariables; });
}

} // namespace

void driveSolver(const SolverCheck& check, Report& report) {
    const Fmu& fmu = check.fmu;
    if (hasTooManyVariables(fmu.shape)) return report.skips("the solver, since the FMU has too many variables");
    report.looksAt("the solver");
    const WorkingCopy copy(fmu);
    const fs::path modelFile = copy.root() / fmu.modelFile();
    const bool isGenerated = !fs::exists(modelFile);
    const Part translation{fmu.modelTemplate(), "translator prints",
                           [&](SessionReport& sessionReport) { makeModelFile(copy.resources(), sessionReport); }};
    if (!runPart(translation, copy.root(), check.timeLimit, report).isFaultless) return;

    const double usualStepSize = fmu.shape.finalTime ? *fmu.shape.finalTime / 100 : defaultStepSize;
    const SessionPlan plan{check.library,
                           copy.resources(),
                           resultFileOf(fmu.shape, copy),
                           fmu.shape,
                           fmu.stepSize().value_or(usualStepSize),
                           ordersOf(fmu)};
    const Part session{check.library.string(), "solver prints",
                       [&](SessionReport& sessionReport) { runSession(plan, sessionReport); }};
    if (const int steps = runPart(session, copy.root(), check.timeLimit, report).steps; steps > 0)
        report.note("solver", fmt::format("driven through {} of {} steps, the first of {} s", steps, nSessionSteps,
                                          plan.stepSize));
    if (isGenerated && fs::exists(modelFile))
        report.add("model-file-left", {check.library.string()}, "The solver leaves the generated model file, {}.",
                   fmu.modelFile());
}

} // namespace tool
