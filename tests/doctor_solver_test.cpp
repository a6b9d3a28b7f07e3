// What `tessaro-fmu doctor --solver` says of solvers and translators with one fault each, and of those without.
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "tests/tools/doctor.h"

namespace {

const std::string request = "blkRequestPlantOutput", deposit = "blkDepositPlantInput";

TEST(DoctorOfSolvers, NamesWhatIsWrongInAShortRun) {
    const std::string throws = " throws an exception, std::runtime_error: ";
    const std::pair<const char*, std::string> misbehaviours[] = {
        {"nothing", ""},
        {"make whole steps only", ""},
        {"crash", "error solver-crash: The solver ends the process in " + request + " for 0.01 s: Segmentation fault."},
        {"exit", "error solver-exit: The solver ends the process in " + request + " for 0.01 s, with code 3."},
        {"break", "error solver-exception: " + request + throws + "the spring broke"},
        {"throw at the end", "error solver-exception: blkTerminate" + throws + "the spring broke"},
        {"insist on the future", "error solver-exception: " + deposit + throws + "back in time"},
        {"report an error and throw at the end",
         "error solver-error: The solver reports in " + request + ": the spring broke, " +
             "error solver-exception: blkTerminate, called inside MessageHandler, throws an exception."},
        {"level 7", "error message-level: A message has the level 7 in " + request + ": the spring is gone"},
        {"level 5 at the start", "error message-level: A message has the level 5 in blkStart: boom"},
        {"level -1", "warning message-ignored: A message has the level -1 in " + request + ": (a null pointer)"},
        {"send null", "warning message-text: A message in " + request + " is a null pointer."},
        {"send Latin-1", "warning message-text: A message in " + request + " is not UTF-8: \"d\\xe4mpfer\"."},
        {"start without outputs", "warning no-initial-outputs: blkStart does not write output port 1, signal 0."},
        {"request without outputs",
         "error output-not-written: " + request + " does not write output port 1, signal 0."},
        {"no derivatives",
         "warning derivative-not-written: " + request + " does not write all derivatives of output port 1."},
        {"not a number",
         "error output-not-finite: " + request + " leaves no finite number in output port 1, signal 0."},
        {"ask for port 3", "error port-out-of-range: GetOutputPortRealSignalPtrs is asked for port 3 of 3 (from 0)."},
        {"null handle", "error wrong-handle: GetNumInputPorts is called with a null handle in " + request + "."},
        {"foreign handle", "error wrong-handle: GetNumInputPorts is called with a foreign handle in " + request + "."},
        {"write past a port",
         "error foreign-write: " + request + " writes into real variable 10, which is in no port."},
        {"write past the values",
         "error foreign-write: " + request + " writes past the end of the FMU's real variables."},
        {"write the record", "error record-written: " + request + " changes the record of its handle."},
        {"ask in a thread", "error other-thread: GetFinalTimei is called from a thread of the solver."},
        {"ask when unloaded", "error outside-call: GetFinalTimei is called outside the entry points."},
        {"leave a thread", "warning thread-left: A thread of the solver is still there when the run is over."},
        {"leave the model file",
         "warning model-file-left: The solver leaves the generated model file, resources/QuarterCar.xml."},
        {"alter the locale",
         "warning locale-changed: " + request + " changes the process's locale from \"C\" to \"C.UTF-8\"."},
        {"alter the directory",
         "warning directory-changed: " + request + " changes the process's working directory to \"/\"."},
        {"alter the rounding", "warning floating-point-changed: " + request +
                                   " changes the process's floating-point environment: the rounding, the rounding of "
                                   "long double."},
    };
    for (const auto& [misbehaviour, findings] : misbehaviours)
        EXPECT_EQ(findingsAfter(std::string("SOLVER=--solver; misbehave '") + misbehaviour + "'", true), findings);
    EXPECT_EQ(findingsAfter("SOLVER='--solver --time-limit 1'; misbehave hang", true),
              "error solver-hang: The solver did not return within 1 s, in " + request + " for 0.01 s.");
}

TEST(DoctorOfSolvers, DrivesTheSolverAsMastersDo) {
    const std::pair<const char*, std::string> misbehaviours[] = {
        {"stay on flat roads",
         "error solver-error: With the input \"z_road\" at 0.01: The solver reports in " + deposit + ": a bump"},
        {"write an input",
         "error input-written: With the input \"z_road\" at 0.01: " + request + " writes into input port 0."},
        {"go on after a reset",
         "error run-differs: After a reset: output port 0, signal 0 is 3 instead of 1 at 0.01 s."},
        {"have one run",
         "error solver-error: Beside a second instance: The solver reports in blkStart: there is a run"},
        {"count all runs",
         "error run-differs: Beside a second instance: output port 0, signal 0 is 2 instead of 1 at 0.01 s."},
        {"remember the folder", "error solver-error: In another folder: The solver reports in blkStart: no model"},
        {"fail late", "error solver-crash: The solver ends the process in " + request +
                          " for 1.01 s (In long use): Segmentation fault."},
        {"leave a file open in each run", "warning descriptors-grow: In long use: 15 runs leave 15 more files open."},
        {"leave a file open in each step",
         "warning descriptors-grow: In long use: 360 steps leave 360 more files open."},
    };
    for (const auto& [misbehaviour, findings] : misbehaviours)
        EXPECT_EQ(findingsAfter(std::string("SOLVER=--solver; misbehave '") + misbehaviour + "'", true), findings);
    for (const char* misbehaviour : {"leak in each run", "leak in each step"})
        EXPECT_EQ(findingsAfter(std::string("SOLVER=--solver; misbehave '") + misbehaviour + "'"),
                  "warning memory-grows");
}

TEST(DoctorOfSolvers, TriesEachParameterAndInput) {
    const std::string refuses = "error value-refused: The translator refuses the ",
                      csv = ": fmu_batch: QuarterCar.csv:1: ";
    const std::pair<const char*, std::string> mistakes[] = {
        {"sed -i s/^m_c$/mm_c/ car/resources/mv.par", refuses + "parameter \"m_c\", for the solver \"mm_c\"" + csv},
        {"sed -i s/^z_road$/road/ car/resources/mv.par", refuses + "input \"z_road\", for the solver \"road\"" + csv},
        {"sed -i '/\"m_w\"/d; s/${m_w}/40/' $MODEL.mdl", refuses + "parameter \"m_w\"" + csv},
        {"misbehave 'refuse other masses'",
         "warning value-fails: With another value of the parameter \"m_c\": The solver reports in blkStart: too heavy"},
        {"misbehave; SOLVER='--solver --time-limit 5'; rm root/$BATCH; printf '#!/bin/sh\\n[ -s $2 ] && sleep 60; cp "
         "$1 "
         "QuarterCar.xml' > root/$BATCH; chmod +x root/$BATCH",
         refuses + "input \"z_road\": The translator did not return within 5 s, in the translation."},
        {"misbehave; rm root/$BATCH; printf '#!/bin/sh\\nsed /m_c/s/400/$(sed -n s/^m_c,.//p $2)/ $1 > "
         "QuarterCar.xml' > root/$BATCH; chmod +x root/$BATCH",
         "warning value-without-effect: The model file is the same whatever value the parameter \"m_w\" has."},
        {"misbehave; rm root/$BATCH; printf '#!/bin/sh\\ncp $1 QuarterCar.xml' > root/$BATCH; chmod +x root/$BATCH",
         "warning value-without-effect: The model file is the same whatever value the parameter \"m_c\" has, as with "
         "all other parameters."},
    };
    for (const auto& [script, findings] : mistakes)
        EXPECT_EQ(findingsAfter(std::string("SOLVER=--solver; ") + script, true).substr(0, findings.size()), findings)
            << script;
    EXPECT_EQ(findingsAfter("\"$PROGRAM\" pack \"$DEMO/models/squeezer/squeezer.toml\" -o s.fmu > packed; FMU=s\n"
                            "SOLVER='--solver --time-limit 10'; \"$PYTHON\" -m zipfile -e s.fmu s\n"
                            "sed -i s/^m2$/mm2/ s/resources/mv.par"),
              "warning content-changed, error value-refused");
}

TEST(DoctorOfSolvers, ShowsWhatTheSolverDoes) {
    const std::pair<const char*, const char*> shown[] = {
        {"",
         "\nderivatives         largest distance from the differences of the values, beside the largest derivative\n"
         "                    output port 0: first "},
        {"", "\nsignals             port                     variable  unit  at 0 s  at 4 s\n"
             "                    input port 0, signal 0   z_road    m     0       0.01\n"
             "                    output port 0, signal 0  z_c       m     0       0.0100407\n"},
        {"", "\nsolver              driven through 20 of 20 runs in a row, with 1008 steps of 0.01 s in all\n"},
        {"", "\n\ncar: nothing wrong found in the environment, the FMU's files, the installation, the solver\n"},
        {"misbehave",
         "\n                    output port 1, signal 0  z_w       m     height of the wheel  0       400\n"},
        {"misbehave", "\n                    output port 0: first 1e+04 beside 0; second 0 throughout\n"},
        {"misbehave 'make whole steps only'",
         "\nderivatives         not compared: the solver does not make small steps\n"},
        {"misbehave 'talk and crash'", "the last words\n"},
        {"sed -i 17s/[0-9]*$/100/ car/resources/fmu2ts.par",
         "not examined: the solver, since there are errors in resources/fmu2ts.par\n"},
        {"FMU=", "error: --solver needs an FMU: "},
        {"script -qec '\"$PROGRAM\" doctor --solver car' /dev/null; exit",
         "\r\x1b[Kdriving the solver through many runs (at most 60 s) ...\r\x1b[K"},
    };
    const std::string good = printedAfter("SOLVER=--solver");
    for (const auto& [script, text] : shown)
        EXPECT_NE((*script == '\0' ? good : printedAfter(std::string("SOLVER=--solver; ") + script)).find(text),
                  std::string::npos)
            << script << text;
}

TEST(DoctorOfSolvers, LeavesTheFmuAsItIs) {
    EXPECT_EQ(
        printedAfter("find car -type f -exec sha256sum {} + > before; \"$PROGRAM\" doctor --solver car > found 2>&1\n"
                     "find car -type f -exec sha256sum {} + | diff before - && echo same; exit"),
        "same\n");
}

TEST(DoctorOfSolvers, LeavesNothingBehindWhenItIsEnded) {
    EXPECT_EQ(printedAfter("misbehave hang; mkdir t; export TMPDIR=$PWD/t\n"
                           "\"$PROGRAM\" doctor --solver --time-limit 1000 car.fmu > /dev/null 2>&1 & until ls -d "
                           "t/*/resources/*.csv; do sleep 0.1; "
                           "done > /dev/null 2>&1\nkill $!; wait $! 2> /dev/null || echo $?; ls t; exit"),
              "143\n");
}

} // namespace
