// What `tessaro-fmu doctor` says of installations, FMUs and solvers with one fault each, and of those without.
#include <string>
#include <utility>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/support.h"

namespace {

/// Makes a healthy installation, "root", and the quarter car: packed as car.fmu, unpacked in the folder "car".
const char* const makeWorld = R"(set -e
cp -rs "$INSTALLATION" root
"$PROGRAM" pack "$DEMO/models/quarter_car/quarter_car.toml" --output car.fmu > /dev/null
"$PYTHON" -m zipfile -e car.fmu car
# What is changed in the folder counts as it is, not as a change of what was packed.
sed -i 's/ generationTool="[^"]*"//' car/modelDescription.xml car/resources/modelDescription.xml
)";
const char* const enterWorld = R"(set -e
export KORVAN_FMU_ROOT=$PWD/root
unset NUSOL_DLL_DIR KELDEX_PATH
TSCICOS=root/plsolvers/tessaro/bin/linux64/tscicos.so BATCH=io/translators/bin/linux64/fmu_batch
FMU=car MODEL=car/resources/QuarterCar DESCRIPTIONS='car/modelDescription.xml car/resources/modelDescription.xml'
misbehave() { ln -sf "$MISBEHAVING" $TSCICOS; export MISBEHAVIOUR="$1"; }
)";

/// Runs a shell script in a folder and gives what it prints.
std::string printedBy(const std::string& script, const fs::path& folder) {
    writeFile(folder / "script", script);
    [[maybe_unused]] const int status =
        std::system(("cd " + folder.string() + " && " SETTINGS " sh ./script > told 2>&1").c_str());
    return contentOf(folder / "told");
}

/// What the doctor prints after a script that begins in a copy of the healthy world.
std::string printedAfter(const std::string& script) {
    static const Folder world;
    static const std::string made = printedBy(makeWorld, world.path);
    const Folder folder;
    fs::copy(world.path, folder.path, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    return made + printedBy(enterWorld + script + "\n$AS \"$PROGRAM\" doctor $OPTIONS $SOLVER ${FMU:+\"$FMU\"}\n",
                            folder.path);
}

/// Severity and rule of each finding that isn't a note, and what it says when that is asked for.
std::string toldAfter(const std::string& script, bool sentences = false) {
    const std::string printed = printedAfter("OPTIONS=--json\n" + script);
    const auto told = nlohmann::json::parse(printed, nullptr, false);
    if (told.is_discarded()) return printed;
    std::string text;
    for (const auto& finding : told["findings"])
        if (finding["severity"] != "note")
            text += (text.empty() ? "" : ", ") + finding["severity"].get<std::string>() + " " +
                    finding["rule"].get<std::string>() + (sentences ? ": " + finding["what"].get<std::string>() : "");
    return text;
}

TEST(Doctor, NamesTheFaultOfAnInstallationOrAnFmuAndNothingElse) {
    const std::pair<const char*, const char*> faults[] = {
        {"", ""},
        {"FMU=", ""},
        {"FMU=car.fmu; SOLVER=--solver", ""},
        {"unset KORVAN_FMU_ROOT", "error root-unset"},
        {"KORVAN_FMU_ROOT=$(printf %01100d 0)", "error variable-too-long"},
        {"KORVAN_FMU_ROOT='~/root'", "error root-missing"},
        {"KORVAN_FMU_ROOT=root", "error root-relative"},
        {"ln -s root 'a$b'; KORVAN_FMU_ROOT=$PWD/'a$b'", "error root-characters"},
        {"export NUSOL_DLL_DIR=$PWD/root; ln -s $PWD/$TSCICOS root", "warning directory-differs"},
        {"export KELDEX_PATH=root", "warning directory-differs, warning directory-relative"},
        {"rm -r root/plsolvers/common", "warning common-folder-missing"},
        {"rm $TSCICOS", "error interface-library-missing"},
        {"echo > root/text; ln -sf ../../../../text $TSCICOS", "error library-unusable"},
        {"sed -i s/blkStart/blkStarT/ $TSCICOS", "error entry-point-missing"},
        {"sed -i s/libSimTKsimbody/libSimTKnobody_/ $TSCICOS", "error library-dependency"},
        {"misbehave; sed -i 's/\\x00raise\\x00/\\x00raisf\\x00/' $TSCICOS", "warning library-undefined"},
        {"ln -sf \"$STREAMING\" $TSCICOS", "warning library-streams"},
        {"misbehave 'crash when loaded'", "error library-load"},
        {"mkdir root/pldesktop; mv root/io root/pldesktop", ""},
        {"rm root/$BATCH", "error translator-missing"},
        {"sed -i s/x/x/ root/$BATCH; chmod -x root/$BATCH", "error translator-permission"},
        {"sed -i '1s/.ELF../PK/' root/$BATCH; sed -i '1s/^/\\x7f''ELF1/' root/$BATCH", "error translator-kind"},
        {"sed -i s/libxml2.so/libxml0.so/ root/$BATCH", "error translator-dependency"},
        {"mkdir root/pldesktop; cp -r root/io root/pldesktop; sed -i 1s,^,#!/none\\n, root/$BATCH",
         "warning translator-dependency"},
        {"rm root/$BATCH; printf '#!/bin/sh\r\n' > root/$BATCH; chmod +x root/$BATCH", "error translator-dependency"},
        {"rm car/modelDescription.xml car/resources/modelDescription.xml", "error description-missing"},
        {"rm car/modelDescription.xml", "warning description-copy-only"},
        {"rm car/modelDescription.xml; cd car; \"$PYTHON\" -m zipfile -c ../rootless.fmu *; cd ..; FMU=rootless.fmu",
         "error description-missing"},
        {"echo '<' >> car/modelDescription.xml", "error xml-malformed"},
        {"sed -i '/modelName=/s/>/ author=\"\">/' $DESCRIPTIONS", "error model-name-scan"},
        {"rm $MODEL.mdl", "error template-missing"},
        {"touch $MODEL.xml", "warning model-file-present"},
        {"mv $MODEL.mdl $MODEL.xml; rm root/$BATCH", "warning model-file-present"},
        // What check finds, doctor finds.
        {"rm car/resources/fmu2ts.par", "error parameter-file-missing"},
        {"sed -i 's/$/\\r/' car/resources/fmu2ts.par", "error parameter-carriage-return"},
        {"echo >> car/resources/fmu2ts.par", "warning lines-extra"},
        {"sed -i 6s/.*/99999999999/ car/resources/fmu2ts.par", "error parameter-number"},
        {"rm car/resources/mv.par; SOLVER=--solver", "error parameter-file-missing"},
        {"sed -i s,./Quarter,/none/Quarter, car/resources/fmu2ts.par", "warning result-not-writable"},
        {"rm -r car/binaries", "error library-missing"},
        {"mv car/binaries/linux64/*.so car/binaries/linux64/x.so", "error library-missing"},
        {"sed -i 's/modelIdentifier=\"/&lib_/' $DESCRIPTIONS; cd car/binaries/linux64\n"
         "mv *.so lib_QuarterCar.so; cd ../../..",
         ""},
        {"sed -i 's/libxml2.so/libxml0.so/' car/binaries/linux64/*.so", "error library-dependency"},
        {"FMU='\xc3\xbc car'; mv car \"$FMU\"", "warning location-characters"},
        {"export TMPDIR=$PWD/'\xc3\xbc'; mkdir \"$TMPDIR\"; FMU=car.fmu", "warning location-characters"},
        {"export TMPDIR=/none; FMU=car.fmu", "error temporary-folder"},
        {"d=$(printf %0200d 0); FMU=$d/$d/$d/$d/$d/car; mkdir -p $FMU; cp -r car/* $FMU", "error location-too-long"},
        {"AS='setpriv --bounding-set -dac_override,-dac_read_search'; trap 'chmod 755 . car/resources' EXIT\n"
         "chmod 555 . car/resources",
         "warning result-not-writable, error resources-not-writable"},
        {"SOLVER=--solver; sed -i s/mechanism/machine/ $MODEL.mdl", "error model-not-made"},
        {"cp -rL \"$DEMO/models/quarter_car\" model; sed -i '/^..output/aderivatives = 0' model/quarter_car.toml\n"
         "\"$PROGRAM\" pack model/quarter_car.toml -o plain.fmu > packed; FMU=plain.fmu SOLVER=--solver\n"
         "misbehave 'no derivatives'",
         ""},
        {"SOLVER=--solver; sed -i 17s/[0-9]*$/100/ car/resources/fmu2ts.par", "error port-range"},
    };
    for (const auto& [script, told] : faults) EXPECT_EQ(toldAfter(script), told) << script;
}

TEST(Doctor, ListsWhatItFound) {
    const std::string text = printedAfter("SOLVER=--solver") + printedAfter("SOLVER=--solver; FMU=");
    const std::string indent(20, ' '),
        end = "\nsolver              driven through 4 of 4 steps, the first of 0.01 s\n\n";
    EXPECT_NE(text.find("\n" + indent + "derived from KORVAN_FMU_ROOT; loads, has its four functions\n"), text.npos)
        << text;
    EXPECT_NE(text.find(end +
                        "car: nothing wrong found in the environment, the installation, the FMU's files, the solver\n"
                        "error: --solver needs an FMU: "),
              text.npos)
        << text;
    const std::string stopped = printedAfter("SOLVER=--solver; misbehave 'level 5 at the start'");
    EXPECT_EQ(stopped.find("driven through"), stopped.npos) << stopped;
}

TEST(Doctor, NamesWhatASolverDoesWrong) {
    const std::string call = "blkRequestPlantOutput", throws = " throws an exception, std::runtime_error: ";
    const std::pair<const char*, std::string> misbehaviours[] = {
        {"nothing", ""},
        {"crash", "error solver-crash: The solver ends the process in " + call + " for 0.01 s: Segmentation fault."},
        {"hang", "error solver-hang: The solver did not return within 1 s, in " + call + " for 0.01 s."},
        {"exit", "error solver-exit: The solver ends the process in " + call + " for 0.01 s, with code 3."},
        {"break", "error solver-exception: " + call + throws + "the spring broke"},
        {"throw at the end", "error solver-exception: blkTerminate" + throws + "the spring broke"},
        {"insist on the future", "error solver-exception: blkDepositPlantInput" + throws + "back in time"},
        {"report an error and throw at the end",
         "error solver-error: The solver reports in " + call + ": the spring broke, " +
             "error solver-exception: blkTerminate, called inside MessageHandler, throws an exception."},
        {"level 7", "error message-level: A message has the level 7 in " + call + ": the spring is gone"},
        {"level 5 at the start", "error message-level: A message has the level 5 in blkStart: boom"},
        {"level -1", "warning message-ignored: A message has the level -1 in " + call + ": (the text is null)"},
        {"start without outputs", "warning no-initial-outputs: blkStart does not write output port 1, signal 0."},
        {"request without outputs", "error output-not-written: " + call + " does not write output port 1, signal 0."},
        {"no derivatives",
         "warning derivative-not-written: " + call + " does not write all derivatives of output port 1."},
        {"not a number", "error output-not-finite: " + call + " leaves no finite number in output port 1, signal 0."},
        {"ask for port 3", "error port-out-of-range: GetOutputPortRealSignalPtrs is asked for port 3 of 3 (from 0)."},
        {"null handle", "error wrong-handle: GetNumInputPorts is called with a null handle in " + call + "."},
        {"foreign handle", "error wrong-handle: GetNumInputPorts is called with a foreign handle in " + call + "."},
        {"write an input", "error input-written: " + call + " writes into input port 0."},
        {"write behind a port", "error foreign-write: " + call + " writes into real variable 10, which is in no port."},
        {"write behind the values",
         "error foreign-write: " + call + " writes past the end of the FMU's real variables."},
        {"write the record", "error record-written: " + call + " changes the record of its handle."},
        {"ask in a thread", "error other-thread: GetFinalTimei is called from a thread of the solver."},
        {"ask when unloaded", "error outside-call: GetFinalTimei is called outside the entry points."},
        {"leave a thread", "warning thread-left: A thread of the solver is still there when the run is over."},
        {"leave the model file",
         "warning model-file-left: The solver leaves the generated model file, resources/QuarterCar.xml."},
    };
    for (const auto& [misbehaviour, told] : misbehaviours)
        EXPECT_EQ(toldAfter(std::string("SOLVER='--solver --time-limit 1'; misbehave '") + misbehaviour + "'", true),
                  told);
}

TEST(Doctor, SaysWhatHelpsAndWhatItSaw) {
    const std::pair<const char*, const char*> told[] = {
        {"sed -i s,./Quarter,results/Quarter, car/resources/fmu2ts.par", "Make the folder, "},
        {"sed -i 's,./Quarter,~/Quarter,' car/resources/fmu2ts.par", "~ and $VARIABLES are not expanded here"},
        {"sed -i s/x/x/ root/$BATCH; chmod -x root/$BATCH", "chmod +x '"},
        {"SOLVER=--solver; sed -i 17s/[0-9]*$/100/ car/resources/fmu2ts.par",
         "not examined: the solver, since there are errors in resources/fmu2ts.par\n"},
        {"SOLVER=--solver; misbehave 'talk and crash'", "the last words\n"},
    };
    for (const auto& [script, text] : told) EXPECT_NE(printedAfter(script).find(text), std::string::npos) << script;
}

TEST(Doctor, LeavesNothingBehindWhenItIsEnded) {
    EXPECT_EQ(printedAfter("misbehave hang; mkdir t; export TMPDIR=$PWD/t\n"
                           "\"$PROGRAM\" doctor --solver --time-limit 1000 car.fmu > /dev/null & until ls -d "
                           "t/*/resources/*.xml; do sleep 0.1; "
                           "done > /dev/null 2>&1\nkill $!; wait $! 2> /dev/null || echo $?; ls t; exit"),
              "143\n");
}

} // namespace
