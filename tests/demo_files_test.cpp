// The files of the demo's solver: what fmu_batch writes, which model files the solver removes, where results go.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/demo_solver.h"

namespace {

using testing::HasSubstr;
using testing::UnorderedElementsAre;

const char* const keepModel = "TESSARO_DEMO_KEEP_MODEL";

std::vector<std::string> namesIn(const Folder& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder.path)) names.push_back(entry.path().filename());
    return names;
}

std::ptrdiff_t linesOf(const fs::path& file) {
    const std::string content = contentOf(file);
    return std::count(content.begin(), content.end(), '\n');
}

long residentPages() {
    std::ifstream numbers("/proc/self/statm");
    long size = 0, resident = 0;
    numbers >> size >> resident;
    return resident;
}

TEST(ModelFile, OnlyOneThatFmuBatchMadeIsRemoved) {
    const struct {
        const char* name;
        bool made, hasTemplate, keep;
        std::size_t inputPorts; ///< the model has 1
        bool stays;
    } cases[] = {
        {"made by fmu_batch", true, true, false, 1, false},
        {"made by fmu_batch, for a start that fails", true, true, false, 2, false},
        {"made by fmu_batch, to be kept", true, true, true, 1, true},
        {"made by fmu_batch, without the template to make it again", true, false, false, 1, true},
        {"made by hand", false, true, false, 1, true},
    };
    for (const auto& [name, made, hasTemplate, keep, inputPorts, stays] : cases) {
        const Folder folder;
        const fs::path model = quarterCar(folder), original = folder.path / "QuarterCar.mdl";
        EXPECT_THAT(contentOf(model), HasSubstr("version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- Made by fmu_batch"));
        if (!made) fs::copy_file(original, model, fs::copy_options::overwrite_existing);
        if (!hasTemplate) fs::remove(original);
        if (keep) setenv(keepModel, "1", 1);
        Instance car(model);
        car.inputs.resize(inputPorts);
        car.start();
        unsetenv(keepModel);
        if (inputPorts == 1)
            EXPECT_EQ(car.messages[2], "") << name;
        else
            EXPECT_THAT(car.messages[2], HasSubstr("set the environment variable TESSARO_DEMO_KEEP_MODEL to keep it."));
        EXPECT_EQ(fs::exists(model), stays) << name;
        car.terminate();
    }
}

TEST(DemoReset, AThousandBeginAtRestAndTakeNoMemory) {
    const Folder folder;
    fs::copy_file(fs::path(TESSARO_DEMO_MODELS) / "quarter_car/QuarterCar.mdl", folder.path / "QuarterCar.xml");
    Instance car(folder.path / "QuarterCar.xml", folder.path / "result.csv");
    long before = 0;
    for (int i = 0; i < 1100; ++i) {
        if (i == 100) before = residentPages();
        car.start();
        ASSERT_EQ(car.outputs[4], 0) << "at rest again";
        car.deposit(0.05, 0);
        car.request(0.01);
    }
    EXPECT_LT(residentPages() - before, 250) << "pages, a quarter of one for each run";
    EXPECT_THAT(namesIn(folder), UnorderedElementsAre("QuarterCar.xml", "result.csv"));
    EXPECT_EQ(car.messages[1] + car.messages[2], "");
    car.terminate();
}

TEST(ResultFile, EachOfSeveralRunsAtOnceHasOneOfItsOwn) {
    const Folder results;
    std::vector<Folder> folders(8);
    std::vector<std::unique_ptr<Instance>> cars;
    for (std::size_t i = 0; i < 8; ++i) {
        const fs::path model = quarterCar(folders[i], i % 2 == 0 ? "" : "m_c, 800\n");
        cars.push_back(std::make_unique<Instance>(model, results.path / "run.csv"));
    }

    std::vector<std::thread> threads;
    for (auto& car : cars)
        threads.emplace_back([&car] {
            car->start();
            for (int i = 0; i < 20; ++i) {
                car->deposit(0.05, 0.01 * i);
                car->request(0.01 * (i + 1));
            }
        });
    for (std::thread& thread : threads) thread.join();

    EXPECT_THAT(namesIn(results), UnorderedElementsAre("run.csv", "run_2.csv", "run_3.csv", "run_4.csv", "run_5.csv",
                                                       "run_6.csv", "run_7.csv", "run_8.csv"));
    std::size_t moved = 0;
    EXPECT_NE(cars[0]->outputs, cars[1]->outputs) << "a car of another mass";
    for (std::size_t i = 0; i < 8; ++i) {
        Instance& car = *cars[i];
        EXPECT_EQ(car.outputs, cars[i % 2]->outputs);
        EXPECT_EQ(car.messages[2], "");
        if (!car.messages[1].empty()) ++moved;
        car.terminate(); // the others' runs go on
        EXPECT_THAT(car.messages[0], HasSubstr("The run of 'QuarterCar' ended at 0.2 s.\n"));
    }
    EXPECT_EQ(moved, 7U) << "all runs but one say which file they write";
    for (const std::string& name : namesIn(results)) EXPECT_EQ(linesOf(results.path / name), 22) << name;

    Instance next(quarterCar(folders.front()), results.path / "run.csv");
    next.start();
    next.terminate();
    EXPECT_EQ(contentOf(results.path / "run.csv"), "time [s],z_road [m],z_c [m],z_w [m],F_s [N]\n0,0,0,0,0\n")
        << "the file of a run that is over is replaced";
    EXPECT_EQ(next.messages[1], "");
}

TEST(ResultFile, IsLeftOutWhenItCannotBeOpened) {
    const Folder folder;
    Instance car(quarterCar(folder), folder.path);
    car.start();
    car.terminate();
    EXPECT_EQ(car.messages[1], "The result file '" + folder.path.string() +
                                   "' can't be opened: Is a directory. The run goes on without it.\n");
}

TEST(FmuBatch, TakesTheModelInTheSolversReadme) {
    const std::string readme = contentOf(fs::path(TESSARO_DEMO_MODELS) / "../solver/README.md"), fence = "```xml\n";
    const std::size_t begin = readme.find(fence) + fence.size();
    const Folder folder;
    writeFile(folder.path / "Pendulum.mdl", readme.substr(begin, readme.find("```", begin) - begin));
    writeFile(folder.path / "Pendulum.csv", "length, 0.9\ntorque, 1\n");
    EXPECT_EQ(translate(folder.path, "Pendulum.mdl Pendulum.csv"), std::pair(0, std::string()));
    Instance pendulum(folder.path / "Pendulum.xml");
    pendulum.widths = {2, 1};
    pendulum.start();
    EXPECT_EQ(pendulum.messages[2], "");
    pendulum.terminate();
}

TEST(FmuBatch, LeavesNoFileThatItCannotWriteCompletely) {
    const Folder folder;
    fs::remove(quarterCar(folder));
    const auto [code, log] = translate(folder.path, "QuarterCar.mdl QuarterCar.csv", "ulimit -f 1");
    EXPECT_EQ(code, 1);
    EXPECT_THAT(log, HasSubstr("can't be written: File too large"));
    EXPECT_THAT(namesIn(folder), UnorderedElementsAre("QuarterCar.mdl", "QuarterCar.csv", "log"));
}

TEST(FmuBatch, RefusesWhatItCannotTranslate) {
    const std::string text = R"(<mechanism name="Cart">
<parameter name="m" value="2" unit="kg"/>
<parameter name="who" value="cart"/><parameter name="note" value=""/>
<body name="cart" mass="0.5*${m}"><joint type="slider" axis="1 0 0"/></body>
<joint_spring name="s" to="${who}" stiffness="8"/>
<input><effort name="pull" joint="cart"/></input>
<output><coordinate name="x" joint="cart"/></output>
</mechanism>)";
    const struct {
        std::string values, from, to, says; ///< the template has `to` where it had `from`
    } cases[] = {
        {"m, 3\nmass, 1\n", "", "",
         "Cart.csv:2: 'mass' is neither a parameter nor an input of Cart.mdl; there are: m, note, pull, who"},
        {"x, 0.1\n", "", "", "Cart.csv:1: 'x' is neither"},
        {"m, 400,5\n", "", "", "Cart.csv:1: the value '400,5' of 'm' is not a number"},
        {"pull, nan\n", "", "", "Cart.csv:1: the value 'nan'"},
        {"m 400\n", "", "", "Cart.csv:1: 'm 400' is not of the form 'name, value'"},
        {"m, 1\nm, 2\n", "", "", "Cart.csv:2: 'm' is set a second time"},
        {"who, nobody\n", "", "", "Cart.mdl:5: to: there is no body 'nobody' above"},
        {"m, -1\n", "", "", "Cart.mdl:4: mass: -0.5 is negative"},
        {"m, 0\n", "", "", "Cart.mdl:1: body 'cart' needs a mass"},
        {"who, ca\x01rt\n", "", "", "Cart.csv:1: XML can't hold the value of 'who': it has"},
        {std::string("who, cart\0\n", 11), "", "", "Cart.csv:1: XML can't hold the value of 'who': it has"},
        {"m, 3\nwho, caf\xe9\n", "", "",
         "Cart.csv:2: XML can't hold the value of 'who': it has control characters or is not UTF-8"},
        {"", "${m}", "${n}", "Cart.mdl:4: mass: there is no parameter 'n' above"},
        {"", "${m}", "${m}*", "Cart.mdl:4: mass: '' is not a number"},
        {"", "</body>", "</boy>", "Cart.mdl:4: not well-formed XML: Opening and ending tag mismatch"},
        {"", "<joint_spring", "<spring", "Cart.mdl:5: unknown element <spring>"},
        {"", "stiffness", "stifness", "Cart.mdl:5: <joint_spring> has no attribute 'stifness'"},
        {"", " joint=\"cart\"", "", "Cart.mdl:6: <effort> needs the attribute 'joint'"},
        {"", "1 0 0", "1 0", "Cart.mdl:4: axis: '1 0' has 2 numbers instead of 3"},
    };
    for (const auto& [values, from, to, says] : cases) {
        const Folder folder;
        writeFile(folder.path / "Cart.csv", values);
        std::string changed = text;
        writeFile(folder.path / "Cart.mdl", changed.replace(changed.find(from), from.size(), to));
        const auto [code, log] = translate(folder.path, "Cart.mdl Cart.csv");
        EXPECT_EQ(code, 1) << says;
        EXPECT_EQ(log.substr(0, 11 + says.size()), "fmu_batch: " + says);
        EXPECT_EQ(std::distance(fs::directory_iterator(folder.path), {}), 3) << "the two files and the log: " << says;
    }

    const Folder folder;
    writeFile(folder.path / "Cart.mdl", text);
    EXPECT_EQ(translate(folder.path, "Cart.mdl no.csv"),
              std::pair(1, std::string("fmu_batch: no.csv: can't be read: No such file or directory\n")));
    EXPECT_EQ(translate(folder.path, "Cart.mdl").first, 2);
    writeFile(folder.path / "Cart.csv", "note, 1 < 2 & \"\u00e9\" > \t]]>\n");
    EXPECT_EQ(translate(folder.path, "Cart.mdl Cart.csv"), std::pair(0, std::string()));
    EXPECT_THAT(contentOf(folder.path / "Cart.xml"), HasSubstr("1 &lt; 2 &amp; &quot;\u00e9&quot; &gt; &#9;]]&gt;"));
}

} // namespace
