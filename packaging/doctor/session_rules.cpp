#include "packaging/doctor/session_rules.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string_view>

namespace packaging {

namespace {

struct Rule {
    std::string_view name;
    Severity severity;
    const char* why;
    const char* mend;
};

constexpr Severity error = Severity::error;
constexpr Severity warning = Severity::warning;

constexpr std::array rules{
    Rule{"model-not-made", error, "Without a model file initialization fails.",
         "Run the translator by hand in a copy of the resources folder; it must leave the model file there."},
    Rule{"solver-crash", error, "In a simulation the master's process ends with it.",
         "Run tessaro-fmu doctor --solver in a debugger that follows child processes."},
    Rule{"solver-hang", error, "In a simulation the master waits for ever.",
         "If the solver only needs longer, give more time with --time-limit."},
    Rule{"solver-exit", error, "In a simulation the master's process ends with it.",
         "The library must report errors to MessageHandler, and never end the process."},
    Rule{"solver-exception", error, "The run is then over, and nothing in the master's log says why.",
         "Report errors to MessageHandler, with level 2."},
    Rule{"solver-error", error, "The run is over with it, and the step or the initialization has failed.",
         "What the solver says is the reason; an error in the model file has to be mended in the template."},
    Rule{"solver-warning", warning, "It comes from the solver itself.", ""},
    Rule{"message-level", error, "Levels are 0 to 3: a higher one ends the run, and the master's log says nothing.",
         "Use 0 information, 1 warning, 2 error, 3 fatal."},
    Rule{"message-ignored", warning, "Levels are 0 to 3: the FMU ignores a message of a negative one.",
         "Use 0 information, 1 warning, 2 error, 3 fatal."},
    Rule{"no-initial-outputs", warning, "Until the end of the first step the master reads 0 there.",
         "Write the outputs of the start in blkStart."},
    Rule{"output-not-written", error, "The master reads the value of an earlier time, and can't know.",
         "Write all signals of all output ports in each blkRequestPlantOutput."},
    Rule{"derivative-not-written", warning, "What isn't written reads 0, also in fmi2GetRealOutputDerivatives.",
         "Write them, or let the model description say maxOutputDerivativeOrder=\"0\"."},
    Rule{"output-not-finite", error, "Most masters pass it on without a word, or stop.",
         "Look for a division by 0, a diverging model, or reads outside the ports."},
    Rule{"port-out-of-range", error, "The FMU doesn't check it: in a simulation this is memory of something else.",
         "Ask for the numbers of ports first; ports count from 0."},
    Rule{"wrong-handle", error, "The FMU takes the handle for its instance: in a simulation the process ends here.",
         "Hand back the handle that the entry point received."},
    Rule{"input-written", error, "Inputs belong to the master; it may read back what isn't its own.",
         "Copy inputs before changing them."},
    Rule{"foreign-write", error, "It changes other variables of the FMU, or memory of something else.",
         "Compare the widths that the library assumes with those that the FMU gives."},
    Rule{"record-written", error, "The record behind the handle belongs to the FMU.", "Only hand the handle back."},
    Rule{"outside-call", error, "Handle and access object may be used inside an entry point only.",
         "Ask for all that is needed in blkStart; addresses hold for the whole run."},
    Rule{"other-thread", error, "The FMU isn't prepared for it: masters' loggers and the record know one thread.",
         "Call the operations from the thread that the entry point runs in."},
    Rule{"thread-left", warning, "The library may be unloaded while the thread runs: the process then ends.",
         "End and join all threads in blkTerminate."},
};

} // namespace

void addSessionFact(const std::string& rule, const std::string& what, const std::string& place, Findings& findings) {
    if (rule == "solver-message") return findings.note("solver says", what);
    const auto* found = std::ranges::find(rules, rule, &Rule::name);
    if (found == rules.end()) throw std::logic_error("no session rule " + rule);
    if (found->severity == error)
        findings.error(rule, {place}, what, found->why, found->mend);
    else
        findings.warning(rule, {place}, what, found->why, found->mend);
}

} // namespace packaging
