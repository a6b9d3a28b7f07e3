#include "packaging/doctor/solver_check.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <functional>
#include <optional>
#include <string>

#include <fmt/format.h>
#include <unistd.h>

#include "packaging/doctor/child.h"
#include "packaging/doctor/locations.h"
#include "packaging/doctor/session_report.h"
#include "packaging/doctor/session_rules.h"
#include "packaging/doctor/solver_session.h"
#include "packaging/doctor/watched_instance.h"
#include "packaging/temporary_folder.h"
#include "packaging/user_error.h"
#include "resources/model_generation.h"

namespace packaging {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t mostOutputShown = 2000;
constexpr double defaultStepSize = 0.01;
constexpr std::int32_t mostVariables = 10'000'000;

/// A copy of what a run reads and changes; the FMU itself stays as it is.
class WorkingCopy {
public:
    explicit WorkingCopy(const FmuFiles& files) {
        try {
            copyFolder(files.resources, resources());
            const fs::path description = files.root / "modelDescription.xml";
            if (fs::exists(description)) copyFile(description, root() / "modelDescription.xml");
        } catch (const fs::filesystem_error& error) {
            fail("The FMU's resources can't be copied for the solver: {}.", error.code().message());
        }
    }

    fs::path root() const { return folder_.path(); }
    fs::path resources() const { return root() / "resources"; }

private:
    /// The copies can be written, whatever their originals are.
    static void copyFolder(const fs::path& from, const fs::path& to) {
        fs::create_directory(to);
        for (const fs::directory_entry& entry : fs::directory_iterator(from)) {
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

double stepSizeOf(const FmuFiles& files) {
    for (const double size : {files.description.stepSize, files.parameters.finalTime / 100})
        if (std::isfinite(size) && size > 0) return size;
    return defaultStepSize;
}

/// Where the solver is let write its results: nowhere but in the working copy.
std::string resultFileOf(const FmuFiles& files, const WorkingCopy& copy) {
    const std::string name(parameterText(files.parameters, files.parameters.outputName));
    const std::size_t slash = name.find_last_of("/\\");
    if (slash != std::string::npos) return "./" + name.substr(slash + 1); // the copy is the working directory
    return encodedLocation(copy.resources()) + "/" + (name.empty() ? "fmu.mrf" : name);
}

/// Takes the library's error messages.
struct MessageTaker {
    static void take(fmi2ComponentEnvironment environment, fmi2String /*name*/, fmi2Status status,
                     fmi2String /*category*/, fmi2String format, ...) {
        char text[2048];
        va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(text, sizeof text, format, arguments);
        va_end(arguments);
        if (status == fmi2Error) static_cast<MessageTaker*>(environment)->last = text;
    }

    std::string last;
};

/// Makes the model file as the library does when no value was set. To be run in a child process.
void makeModelFile(const fs::path& resources, SessionReport& report) {
    MessageTaker messages;
    const fmi2CallbackFunctions functions{MessageTaker::take, std::calloc, std::free, nullptr, &messages};
    char name[] = "doctor";
    FmuInstance instance{};
    instance.functions = &functions;
    instance.instanceName = name;
    instance.loggingOn = fmi2True;
    report.begin("the translation");
    if (fmu_generate_xml(encodedLocation(resources).c_str(), &instance) != 0)
        report.tell("model-not-made", fmt::format("The translator leaves no model file. The master's log will say {}.",
                                                  messages.last.empty() ? "nothing" : '"' + messages.last + '"'));
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
    const char* rule;
    std::string how;
};

std::optional<BadEnd> badEndOf(const ChildResult& child, const SessionOutcome& outcome, double timeLimit) {
    const std::string place = outcome.unfinished.empty() ? "between the calls" : "in " + outcome.unfinished;
    if (child.timedOut) return BadEnd{"solver-hang", fmt::format("isn't back after {} s, {}", timeLimit, place)};
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

/// Runs a part and adds what it tells.
PartResult runPart(const Part& part, const fs::path& directory, double timeLimit, Findings& findings) {
    const int errorsBefore = findings.errors();
    const ChildResult child = runInChild(
        [&](int descriptor) {
            fs::current_path(directory);
            SessionReport report(descriptor);
            part.run(report);
        },
        timeLimit);
    const SessionOutcome outcome = readReport(child.report);
    for (const auto& [rule, what] : outcome.facts) addSessionFact(rule, what, part.place, findings);
    if (const auto end = badEndOf(child, outcome, timeLimit))
        addSessionFact(end->rule, fmt::format("The solver {}.", end->how), part.place, findings);
    if (!child.output.empty()) findings.note(part.speaker, shownOutput(child.output));
    return {outcome.steps, findings.errors() == errorsBefore};
}

} // namespace

void driveSolver(const SolverCheck& check, Findings& findings) {
    const FmuParRecord& parameters = check.files.parameters;
    if (std::max({parameters.nReal, parameters.nInteger, parameters.nBoolean, parameters.nString}) > mostVariables)
        return findings.note("solver", "not driven: the FMU has too many variables for it");
    const WorkingCopy copy(check.files);
    const Part translation{"resources/" + check.files.description.modelName + ".mdl", "translator prints",
                           [&](SessionReport& report) { makeModelFile(copy.resources(), report); }};
    if (!runPart(translation, copy.root(), check.timeLimit, findings).isFaultless) return;

    const SessionPlan plan{check.library, copy.resources(), resultFileOf(check.files, copy), check.files.parameters,
                           stepSizeOf(check.files)};
    const Part session{check.library.string(), "solver prints",
                       [&](SessionReport& report) { runSession(plan, report); }};
    if (const int steps = runPart(session, copy.root(), check.timeLimit, findings).steps; steps > 0)
        findings.note("solver", fmt::format("driven through {} of {} steps, the first of {} s", steps, nSessionSteps,
                                            plan.stepSize));
}

} // namespace packaging
