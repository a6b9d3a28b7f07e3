#include "packaging/doctor/solver_check.h"

#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <fmt/format.h>
#include <libxml/parser.h>
#include <unistd.h>

#include "packaging/doctor/child.h"
#include "packaging/doctor/locations.h"
#include "packaging/doctor/session_report.h"
#include "packaging/doctor/session_rules.h"
#include "packaging/doctor/solver_session.h"
#include "packaging/doctor/watched_instance.h"
#include "packaging/user_error.h"
#include "resources/model_generation.h"

namespace packaging {

namespace {

namespace fs = std::filesystem;

using XmlDocument = std::unique_ptr<xmlDoc, decltype([](xmlDoc* document) { xmlFreeDoc(document); })>;
using XmlText = std::unique_ptr<xmlChar, decltype([](xmlChar* text) { xmlFree(text); })>;

constexpr std::size_t mostOutputShown = 2000;
constexpr double defaultStepSize = 0.01;

/// A copy of what a run reads and changes; the FMU itself stays as it is.
class WorkingCopy {
public:
    explicit WorkingCopy(const FmuFiles& files) {
        if (mkdtemp(root_.data()) == nullptr) fail("No temporary folder can be made: {}.", std::strerror(errno));
        try {
            copyFolder(files.resources, resources());
            const fs::path description = files.root / "modelDescription.xml";
            if (fs::exists(description)) copyFile(description, root_ / fs::path("modelDescription.xml"));
        } catch (const fs::filesystem_error& error) {
            remove();
            fail("The FMU's resources can't be copied for the solver: {}.", error.code().message());
        }
    }
    ~WorkingCopy() { remove(); }
    WorkingCopy(const WorkingCopy&) = delete;
    WorkingCopy& operator=(const WorkingCopy&) = delete;

    fs::path root() const { return root_; }
    fs::path resources() const { return root() / "resources"; }

private:
    void remove() const {
        std::error_code ignored;
        fs::remove_all(root_, ignored);
    }

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

    std::string root_ = (fs::temp_directory_path() / "tessaro-fmu-XXXXXX").string();
};

const xmlChar* asXml(const char* text) { return reinterpret_cast<const xmlChar*>(text); }

/// The step size that the model description proposes; 0 when it proposes none.
double proposedStepSize(const fs::path& description) {
    const XmlDocument document(
        xmlReadFile(description.c_str(), nullptr, XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_NONET));
    const xmlNode* root = document ? xmlDocGetRootElement(document.get()) : nullptr;
    for (const xmlNode* node = root != nullptr ? root->children : nullptr; node != nullptr; node = node->next) {
        if (node->type != XML_ELEMENT_NODE || !xmlStrEqual(node->name, asXml("DefaultExperiment"))) continue;
        const XmlText text(xmlGetProp(node, asXml("stepSize")));
        const std::string value = text ? reinterpret_cast<const char*>(text.get()) : "";
        double size = 0;
        std::from_chars(value.data(), value.data() + value.size(), size);
        return size;
    }
    return 0;
}

double stepSizeOf(const FmuFiles& files) {
    for (const double size : {proposedStepSize(files.root / "modelDescription.xml"), files.parameters.finalTime / 100})
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

/// Runs a part and adds what it tells. True when nothing went wrong.
bool runPart(const Part& part, const fs::path& directory, double timeLimit, Findings& findings) {
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
    return findings.errors() == errorsBefore;
}

} // namespace

void driveSolver(const SolverCheck& check, Findings& findings) {
    if (!hasUsableLayout(check.files.parameters)) {
        findings.error(
            "port-layout", {"resources/fmu2ts.par"},
            "The ports don't lie within the real variables, or a number of ports or variables is impossible.",
            "The solver would write into memory of something else; it isn't driven.", "tessaro-fmu check says more.");
        return;
    }
    const WorkingCopy copy(check.files);
    const Part translation{"resources/" + check.files.modelName + ".mdl", "translator prints",
                           [&](SessionReport& report) { makeModelFile(copy.resources(), report); }};
    if (!runPart(translation, copy.root(), check.timeLimit, findings)) return;

    const SessionPlan plan{check.library, copy.resources(), resultFileOf(check.files, copy), check.files.parameters,
                           stepSizeOf(check.files)};
    const Part session{check.library.string(), "solver prints",
                       [&](SessionReport& report) { runSession(plan, report); }};
    if (runPart(session, copy.root(), check.timeLimit, findings))
        findings.note("solver",
                      fmt::format("driven through {} steps, the first of {} s", nSessionSteps, plan.stepSize));
}

} // namespace packaging
