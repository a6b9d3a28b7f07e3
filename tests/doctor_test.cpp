// What the doctor says of installations, FMUs and solvers with one fault each, and of those without.
#include <functional>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "packaging/doctor/doctor.h"
#include "packaging/user_error.h"
#include "tests/support.h"

namespace {

using namespace packaging;
using namespace std::string_literals;

const fs::path demo = TESSARO_DEMO_INSTALLATION;
const fs::path solver = "plsolvers/tessaro/bin/linux64/tscicos.so";
const fs::path translator = "io/translators/bin/linux64/fmu_batch";

/// Replaces a text in a file, which may be a link, by one of the same length or another.
void edit(const fs::path& file, const std::string& from, const std::string& to) {
    std::string content = contentOf(file);
    ASSERT_NE(content.find(from), std::string::npos) << from;
    const fs::perms mode = fs::status(file).permissions();
    for (std::size_t at = 0; (at = content.find(from, at)) != std::string::npos; at += to.size())
        content.replace(at, from.size(), to);
    fs::remove(file);
    writeFile(file, content);
    fs::permissions(file, mode);
}

void link(const fs::path& target, const fs::path& name) {
    fs::create_directories(name.parent_path());
    fs::remove(name);
    fs::create_symlink(target, name);
}

/// A healthy installation with the unpacked quarter car, in a folder that is the working directory.
struct World {
    World() {
        for (const fs::path& file : {solver, translator}) link(demo / file, root / file);
        fs::create_directories(root / "plsolvers/common/bin/linux64");
        fs::create_directory(unit);
        fs::copy(QUARTER_CAR, unit / "resources", fs::copy_options::recursive);
        fs::rename(unit / "resources/modelDescription.xml", unit / "modelDescription.xml");
        link(TESSARO_LIBRARY, unit / "binaries/linux64/QuarterCar.so");
        fs::current_path(folder.path);
        setenv("KORVAN_FMU_ROOT", root.c_str(), 1);
        unsetenv("NUSOL_DLL_DIR");
        unsetenv("KELDEX_PATH");
        options.fmu = unit;
    }
    ~World() { fs::current_path("/"); }
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    /// Severity and rule of each finding that isn't a note, a line each, and the sentence where it is asked for.
    std::string told(bool sentences = false) const {
        Findings findings;
        examine(options, findings);
        std::string lines;
        for (const Finding& finding : findings.all())
            if (finding.severity != Severity::note)
                lines += (finding.severity == Severity::error ? "error " : "warning ") + finding.rule +
                         (sentences ? ": " + finding.what : "") + "\n";
        return lines;
    }

    const Folder folder;
    const fs::path root = folder.path / "installation";
    fs::path unit = folder.path / "unit";
    DoctorOptions options;
};

/// Packs the quarter car as a user does.
void packTo(const fs::path& archive) {
    const std::string command = std::string(PACK) + " " + QUARTER_CAR + " " + TESSARO_LIBRARY + " " + archive.string();
    ASSERT_EQ(std::system(command.c_str()), 0);
}

/// Gives up the rights of the superuser for a moment, if this process has them.
struct OrdinaryUser {
    OrdinaryUser() {
        if (geteuid() == 0 && seteuid(65534) != 0) throw std::runtime_error("seteuid");
    }
    ~OrdinaryUser() { [[maybe_unused]] const int same = seteuid(getuid()); }
};

struct Fault {
    std::function<void(World&)> make;
    std::string told;
};

TEST(Doctor, NamesTheFaultOfAnInstallationOrAnFmuAndNothingElse) {
    const Fault faults[] = {
        {[](World&) {}, ""},
        {[](World& w) { w.options.fmu.clear(); }, ""},
        {[](World&) { unsetenv("KORVAN_FMU_ROOT"); }, "error root-unset\n"},
        {[](World&) { setenv("KORVAN_FMU_ROOT", std::string(1100, 'x').c_str(), 1); }, "error variable-too-long\n"},
        {[](World&) { setenv("KORVAN_FMU_ROOT", "~/installation", 1); }, "error root-missing\n"},
        {[](World&) { setenv("KORVAN_FMU_ROOT", "installation", 1); }, "error root-relative\n"},
        {[](World& w) {
             link(w.root, w.folder.path / "a$b");
             setenv("KORVAN_FMU_ROOT", (w.folder.path / "a$b").c_str(), 1);
         },
         "error root-characters\n"},
        {[](World&) { setenv("NUSOL_DLL_DIR", (demo / solver).parent_path().c_str(), 1); },
         "warning directory-differs\n"},
        {[](World&) { setenv("KELDEX_PATH", "installation", 1); },
         "warning directory-differs\nwarning directory-relative\n"},
        {[](World& w) { fs::remove_all(w.root / "plsolvers/common"); }, "warning common-folder-missing\n"},
        {[](World& w) { fs::remove(w.root / solver); }, "error library-missing\n"},
        {[](World& w) { edit(w.root / solver, "\177ELF", "PK\3\4"); }, "error library-kind\n"},
        {[](World& w) { edit(w.root / solver, "blkStart", "blkStarT"); }, "error entry-point-missing\n"},
        {[](World& w) { edit(w.root / solver, "libSimTKsimbody", "libSimTKnobody_"); }, "error library-dependency\n"},
        {[](World& w) {
             link(MISBEHAVING_SOLVER, w.root / solver);
             edit(w.root / solver, "\0raise"s, "\0raisf"s);
         },
         "warning library-undefined\n"},
        {[](World& w) {
             link(MISBEHAVING_SOLVER, w.root / solver);
             setenv("MISBEHAVIOUR", "crash when loaded", 1);
         },
         "error library-load\n"},
        {[](World& w) {
             link(demo / translator, w.root / "pldesktop" / translator);
             fs::remove(w.root / translator);
         },
         ""},
        {[](World& w) { fs::remove(w.root / translator); }, "error translator-missing\n"},
        {[](World& w) {
             edit(w.root / translator, "\177ELF", "\177ELF");
             fs::permissions(w.root / translator, fs::perms(0644));
         },
         "error translator-permission\n"},
        {[](World& w) {
             edit(w.root / translator, "\177ELF", "#!/no/such/shell\n");
             link(demo / translator, w.root / "pldesktop" / translator);
         },
         "warning translator-dependency\n"},
        {[](World& w) { edit(w.root / translator, "libxml2.so", "libxml0.so"); }, "error translator-dependency\n"},
        {[](World& w) { fs::remove(w.unit / "modelDescription.xml"); }, "error description-missing\n"},
        {[](World& w) { edit(w.unit / "modelDescription.xml", "modelName", "name"); }, "error model-name\n"},
        {[](World& w) { edit(w.unit / "modelDescription.xml", "\"QuarterCar\">", "\"QuarterCar\" x=\"\">"); },
         "error model-name\n"},
        {[](World& w) { fs::remove(w.unit / "resources/QuarterCar.mdl"); }, "error template-missing\n"},
        {[](World& w) { writeFile(w.unit / "resources/QuarterCar.xml", ""); }, "warning model-file-left\n"},
        {[](World& w) { fs::remove(w.unit / "resources/fmu2ts.par"); }, "error parameter-file\n"},
        {[](World& w) { edit(w.unit / "resources/fmu2ts.par", "./Quarter", "/none/Quarter"); },
         "warning result-not-writable\n"},
        {[](World& w) { fs::remove_all(w.unit / "binaries"); }, "error fmu-library-missing\n"},
        {[](World& w) {
             fs::rename(w.unit, w.folder.path / "\xc3\xbc unit");
             w.options.fmu = w.folder.path / "\xc3\xbc unit";
         },
         "warning location-characters\n"},
        {[](World& w) {
             const fs::path deep = w.folder.path / std::string(250, 'a') / std::string(250, 'b') /
                                   std::string(250, 'c') / std::string(230, 'd');
             fs::create_directories(deep);
             fs::rename(w.unit, deep / "unit");
             w.options.fmu = deep / "unit";
         },
         "error location-too-long\n"},
        {[](World& w) { // without a template, a model file in the archive is meant so, and no translator needed
             fs::rename(w.unit / "resources/QuarterCar.mdl", w.unit / "resources/QuarterCar.xml");
             fs::remove_all(w.root / "io");
         },
         ""},
    };
    for (const Fault& fault : faults) {
        SCOPED_TRACE(&fault - faults);
        World world;
        unsetenv("MISBEHAVIOUR");
        fault.make(world);
        EXPECT_EQ(world.told(), fault.told);
    }
}

TEST(Doctor, SaysWhoeverLacksTheRightToWrite) {
    World world;
    for (const fs::path& path : {world.folder.path, world.unit, world.unit / "resources"})
        fs::permissions(path, fs::perms(0555));
    {
        const OrdinaryUser user;
        EXPECT_EQ(world.told(), "error resources-not-writable\nwarning result-not-writable\n");
    }
    fs::permissions(world.unit / "resources", fs::perms(0755));
}

TEST(Doctor, ListsWhatItFoundForPeopleAndTools) {
    World world;
    world.options.fmu = world.folder.path / "QuarterCar.fmu";
    world.options.driveSolver = true;
    packTo(world.options.fmu);
    Findings findings;
    examine(world.options, findings);
    testing::internal::CaptureStdout();
    writeText(findings, "car", stdout);
    const std::string text = testing::internal::GetCapturedStdout();
    for (const std::string& line :
         {"\ninterface library   " + (world.root / solver).string() + "\n" + std::string(20, ' ') + "derived from ",
          "\nmodel               made from resources/QuarterCar.mdl at each start\n"s,
          "\nsolver              driven through 4 steps, the first of 0.01 s\n"s, "\ncar: nothing wrong found\n"s})
        EXPECT_NE(text.find(line), std::string::npos) << line << text;

    testing::internal::CaptureStdout();
    writeJson(findings, "car", stdout);
    const auto json = nlohmann::json::parse(testing::internal::GetCapturedStdout());
    EXPECT_EQ(json["errors"].get<int>() + json["warnings"].get<int>(), 0);
    EXPECT_EQ(json["findings"].size(), findings.all().size());
    EXPECT_EQ(json["findings"][0]["severity"], "note");
}

TEST(Doctor, NamesWhatASolverDoesWrong) {
    const std::string request = "blkRequestPlantOutput";
    const std::pair<const char*, std::string> misbehaviours[] = {
        {"nothing", ""},
        {"crash", "error solver-crash: The solver's process ends in " + request + " for 0.01 s: Segmentation fault.\n"},
        {"hang", "error solver-hang: The solver isn't back after 1 s, in " + request + " for 0.01 s.\n"},
        {"exit", "error solver-exit: The solver ends the process in " + request + " for 0.01 s, with code 3.\n"},
        {"throw",
         "error solver-exception: " + request + " throws an exception, std::runtime_error: the spring broke\n"},
        {"throw 7", "error solver-exception: " + request + " throws an exception, int.\n"},
        {"throw at the end",
         "error solver-exception: blkTerminate throws an exception, std::runtime_error: the spring broke\n"},
        {"insist on the future",
         "error solver-exception: blkDepositPlantInput throws an exception, std::runtime_error: back in time\n"},
        {"report an error", "error solver-error: The solver reports in " + request + ": the spring broke\n"},
        {"warn", "warning solver-warning: the spring creaks\n"},
        {"level 7", "warning message-level: A message has the level 7 in " + request + ": the spring is gone\n"},
        {"start without outputs", "warning no-initial-outputs: blkStart doesn't write output port 0, signal 0.\n"
                                  "warning no-initial-outputs: blkStart doesn't write output port 1, signal 0.\n"
                                  "warning no-initial-outputs: blkStart doesn't write output port 2, signal 0.\n"},
        {"ask for port 3", "error port-out-of-range: GetOutputPortRealSignalPtrs is asked for port 3; the FMU has 3 of "
                           "this kind, from 0 on.\n"},
        {"null handle", "error wrong-handle: GetNumInputPorts is called with a null handle in " + request + ".\n"},
        {"foreign handle",
         "error wrong-handle: GetNumInputPorts is called with a foreign handle in " + request + ".\n"},
        {"write an input", "error input-written: " + request + " writes into input port 0.\n"},
        {"write behind a port",
         "error foreign-write: " + request + " writes into real variable 10, which is in no port.\n"},
        {"write before the values", "error foreign-write: " + request + " writes before the FMU's real variables.\n"},
        {"write behind the values", "error foreign-write: " + request + " writes behind the FMU's real variables.\n"},
        {"write the record", "error record-written: " + request + " changes the record behind its handle.\n"},
        {"ask in a thread", "error other-thread: GetFinalTimei is called from a thread of the solver.\n"},
        {"ask when unloaded", "error outside-call: GetFinalTimei is called outside the entry points.\n"},
        {"leave a thread", "warning thread-left: The solver leaves a thread behind when the run is over.\n"},
    };
    World world;
    link(MISBEHAVING_SOLVER, world.root / solver);
    world.options.driveSolver = true;
    world.options.timeLimit = 1;
    for (const auto& [misbehaviour, told] : misbehaviours) {
        setenv("MISBEHAVIOUR", misbehaviour, 1);
        EXPECT_EQ(world.told(true), told) << misbehaviour;
    }
    const std::pair<const char*, std::string> ofEachPort[] = {
        {"request without outputs", "error output-not-written\n"},
        {"request without derivatives", "warning derivative-not-written\n"},
        {"not a number", "error output-not-finite\n"}};
    for (const auto& [misbehaviour, line] : ofEachPort) {
        setenv("MISBEHAVIOUR", misbehaviour, 1);
        const std::string told = world.told();
        EXPECT_EQ(told.substr(0, 3 * line.size()), line + line + line) << misbehaviour;
    }
    EXPECT_FALSE(fs::exists(world.unit / "resources/QuarterCar.xml")) << "the user's folder stays as it is";
}

TEST(Doctor, TellsWhatTheTranslatorSaysAndNeedsAnFmuToDriveASolver) {
    World world;
    world.options.driveSolver = true;
    edit(world.unit / "resources/QuarterCar.mdl", "<mechanism", "<machine");
    EXPECT_EQ(world.told(), "error model-not-made\n");
    edit(world.unit / "resources/fmu2ts.par", "\n15\n", "\n9\n");
    EXPECT_EQ(world.told(), "error port-layout\n");
    world.options.fmu.clear();
    EXPECT_THROW(world.told(), UserError);
}

} // namespace
