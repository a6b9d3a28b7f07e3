// The rules for the translator and the solver while they run: `doctor --solver`.
#pragma once

#include "tool/findings/rule.h"

namespace tool {

inline constexpr Rule sessionRules[] = {
    {"model-not-made", Severity::error, "Without a model file initialization fails.",
     "Run the translator by hand in a copy of the resources folder; it must leave the model file there."},
    {"solver-crash", Severity::error, "In a simulation the master's process ends with it.",
     "Run tessaro-fmu doctor --solver in a debugger that follows child processes."},
    {"solver-hang", Severity::error, "In a simulation the master waits for ever.",
     "If the solver only needs longer, allow more time with --time-limit."},
    {"solver-exit", Severity::error, "In a simulation the master's process ends with it.",
     "The library must report errors to MessageHandler, and never end the process."},
    {"solver-exception", Severity::error, "The run is then over, and nothing in the master's log says why.",
     "Report errors to MessageHandler, with level 2."},
    {"solver-error", Severity::error, "The run is over with it, and the step or the initialization has failed.",
     "See the solver's message. If the model file is wrong, fix the template it is made from."},
    {"solver-warning", Severity::warning, "It comes from the solver itself.", ""},
    {"message-level", Severity::error,
     "Levels are 0 to 3: a higher one ends the run, and the master's log says nothing.",
     "Use 0 information, 1 warning, 2 error, 3 fatal."},
    {"message-ignored", Severity::warning, "Levels are 0 to 3: the FMU ignores a message of a negative one.",
     "Use 0 information, 1 warning, 2 error, 3 fatal."},
    {"no-initial-outputs", Severity::warning, "Until the end of the first step the master reads 0 there.",
     "Write the outputs of the start in blkStart."},
    {"output-not-written", Severity::error, "The master reads the value of an earlier time, and cannot know.",
     "Write all signals of all output ports in each blkRequestPlantOutput."},
    {"derivative-not-written", Severity::warning, "What is not written reads 0, also in fmi2GetRealOutputDerivatives.",
     "Write them, or let the model description say maxOutputDerivativeOrder=\"0\"."},
    {"output-not-finite", Severity::error, "Most masters pass it on without a word, or stop.",
     "Look for a division by 0, a diverging model, or reads outside the ports."},
    {"port-out-of-range", Severity::error,
     "The FMU does not check it: in a simulation this is memory of something else.",
     "Ask for the numbers of ports first; ports count from 0."},
    {"wrong-handle", Severity::error,
     "The FMU takes the handle for its instance: in a simulation the process ends here.",
     "Hand back the handle that the entry point received."},
    {"input-written", Severity::error, "Inputs belong to the master; it may read back what is not its own.",
     "Copy inputs before changing them."},
    {"foreign-write", Severity::error, "It changes other variables of the FMU, or memory of something else.",
     "Compare the widths that the library assumes with those that the FMU gives."},
    {"record-written", Severity::error, "The handle is the FMU's own record.", "Only hand the handle back."},
    {"outside-call", Severity::error, "Handle and access object may be used inside an entry point only.",
     "Ask for all that is needed in blkStart; addresses hold for the whole run."},
    {"other-thread", Severity::error,
     "The FMU is not prepared for it: masters' loggers and the record know one thread.",
     "Call the operations from the thread that the entry point runs in."},
    {"thread-left", Severity::warning, "The library may be unloaded while the thread runs: the process then ends.",
     "End and join all threads in blkTerminate."},
    {"model-file-left", Severity::warning,
     "The next run from the same folder uses it as it is: parameters set for that run have no effect.",
     "Let the translator mark what it writes, and remove a marked file once it is read, as the demo's solver does."},
};

} // namespace tool
