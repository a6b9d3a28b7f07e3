// The demo solver as the FMU drives it: the built tscicos.so and fmu_batch.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "plant/access_interface.h"
#include "tests/support.h"

namespace {

namespace fs = std::filesystem;

const fs::path installation = TESSARO_DEMO_INSTALLATION;

/// Runs fmu_batch in `folder`; gives its exit code and what it writes to its standard streams.
std::pair<int, std::string> translate(const fs::path& folder, const std::string& arguments) {
    const std::string program = (installation / "io/translators/bin/linux64/fmu_batch").string();
    const std::string command = "cd '" + folder.string() + "' && '" + program + "' " + arguments + " > log 2>&1";
    const int status = std::system(command.c_str());
    return {WEXITSTATUS(status), contentOf(folder / "log")};
}

/// The path of the quarter car's model file, made in `folder` from values.
fs::path quarterCar(const Folder& folder, const std::string& values = "") {
    fs::copy(fs::path(TESSARO_DEMO_MODELS) / "quarter_car/QuarterCar.mdl", folder.path);
    writeFile(folder.path / "QuarterCar.csv", values);
    if (const auto [code, log] = translate(folder.path, "QuarterCar.mdl QuarterCar.csv"); code != 0)
        throw std::runtime_error(log);
    return folder.path / "QuarterCar.xml";
}

/// An FMU instance as the solver sees it: its load of the library, its ports, and messages that end the run from level
/// 2 on. The ports are the quarter car's unless a test changes them.
class Instance : public TScicosAccessAPI2 {
public:
    explicit Instance(const fs::path& model, const fs::path& result = {}) : model_(model), result_(result) {
        library_ =
            dlopen((installation / "plsolvers/tessaro/bin/linux64/tscicos.so").c_str(), RTLD_LAZY | RTLD_DEEPBIND);
        if (library_ == nullptr) throw std::runtime_error(dlerror());
    }
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;
    ~Instance() { dlclose(library_); }

    char* GetStringParamInputName(void*) override { return model_.data(); }
    char* GetStringParamOutputName(void*) override { return result_.data(); }
    double GetFinalTimei(void*) override { return 4; }
    int GetNumInputPorts(void*) override { return static_cast<int>(inputs.size()); }
    int GetNumOutputPorts(void*) override { return static_cast<int>(widths.size()); }
    int GetInputPortWidth(void*, int port) override { return port < 1 ? inputWidth : 1; }
    int GetOutputPortWidth(void*, int port) override { return widths[static_cast<std::size_t>(port)]; }
    double* GetInputPortRealSignalPtrs(void*, int port) override { return &inputs[static_cast<std::size_t>(port)]; }
    double* GetOutputPortRealSignalPtrs(void*, int port) override {
        double* values = outputs.data();
        for (int i = 0; i < port; ++i) values += std::ptrdiff_t{3} * widths[static_cast<std::size_t>(i)];
        return values;
    }
    double* GetOutputPortRealSignalDotPtrs(void* handle, int port) override {
        return GetOutputPortRealSignalPtrs(handle, port) + GetOutputPortWidth(handle, port);
    }
    double* GetOutputPortRealSignalDotDotPtrs(void* handle, int port) override {
        return GetOutputPortRealSignalDotPtrs(handle, port) + GetOutputPortWidth(handle, port);
    }
    void MessageHandler(void*, const char* text, int level) override {
        messages[level] += std::string(text) + "\n";
        if (level >= 2) terminate();
    }

    void start() { call<void (*)(void*, TScicosAccessAPI2*)>("blkStart")(this, this); }
    void deposit(double road, double time) {
        inputs[0] = road;
        call<void (*)(void*, int, TScicosAccessAPI2*, double)>("blkDepositPlantInput")(this, 1, this, time);
    }
    void request(double time) {
        call<void (*)(void*, TScicosAccessAPI2*, double)>("blkRequestPlantOutput")(this, this, time);
    }
    void terminate() { call<void (*)(void*, TScicosAccessAPI2*, double)>("blkTerminate")(this, this, 0); }

    std::vector<double> inputs{0};
    int inputWidth = 1;
    std::vector<int> widths{1, 1, 1};
    std::array<double, 64> outputs{}; ///< port by port: values, first derivatives, second derivatives
    std::map<int, std::string> messages;

private:
    template <typename Function>
    Function call(const char* name) const {
        return reinterpret_cast<Function>(dlsym(library_, name));
    }

    void* library_;
    std::string model_, result_;
};

/// Holds two quarter cars' outputs with their derivatives against each other, as large as they get on a road of 5 cm.
/// That they are exact is seen where the whole FMU runs in a master.
void expectSame(const Instance& car, const Instance& other) {
    const std::array<double, 9> size{0.1, 1, 10, 0.1, 3, 100, 2000, 1e5, 1e7};
    for (std::size_t i = 0; i < 9; ++i) EXPECT_NEAR(car.outputs[i], other.outputs[i], 1e-7 * size[i]) << "output " << i;
}

TEST(DemoSolver, OnlyInputsAndTheirDurationsMoveTheCar) {
    const Folder folder;
    const fs::path model = quarterCar(folder, "m_w, 50\nz_road, 0.02\n");
    Instance plain(model), varied(model);
    plain.start();
    const CommaLocale comma; // numbers in files have a full stop all the same
    varied.start();
    expectSame(plain, varied);
    EXPECT_NEAR(varied.outputs[5], 150000 * 0.02 / 50, 1e-9) << "pushed by the road's start value";

    constexpr double start = 1e6; // masters need not start at 0
    double time = 0;
    for (const double road : {0.05, -0.02, 0.0, 0.03}) {
        plain.deposit(road, time);
        varied.deposit(road, start + time);
        for (const double part : {0.01, 5e-7, 0.0, 0.05}) {
            const double speed = varied.outputs[4];
            varied.request(start + (time += part));
            EXPECT_EQ(varied.outputs[4] != speed, part > 0) << part;
        }
        varied.deposit(road, 0); // as at the end of a run without a stop time
        varied.deposit(road, 1e9);
        plain.request(time);
        expectSame(plain, varied);
    }
    EXPECT_EQ(varied.messages[1] + varied.messages[2], "");

    plain.request(0.05);
    EXPECT_NE(plain.messages[2].find("Outputs at 0.05 s are requested, but the run has reached"), std::string::npos);
    plain.request(1);
    EXPECT_NE(plain.messages[2].find("There is no run"), std::string::npos);
    plain.terminate();
    varied.terminate();
    varied.terminate();
}

TEST(DemoSolver, RunsOfSeveralInstancesKeepApart) {
    const Folder light, heavy;
    const fs::path lightModel = quarterCar(light), heavyModel = quarterCar(heavy, "m_c, 800\n");
    Instance first(lightModel, light.path / "result.csv"), second(heavyModel, heavy.path), alone(heavyModel);
    first.start();
    second.start();
    for (int i = 0; i < 5; ++i) {
        first.deposit(0.05, 0.01 * i);
        second.deposit(-0.01, 0.01 * i);
        first.request(0.01 * (i + 1));
        if (i == 4) first.terminate(); // the other goes on
        second.request(0.01 * (i + 1));
    }
    alone.start();
    alone.deposit(-0.01, 0);
    alone.request(0.05);
    expectSame(second, alone);
    second.terminate();
    alone.terminate();

    EXPECT_NE(first.messages[0].find("The run of 'QuarterCar' ended at 0.05 s.\n"), std::string::npos);
    const std::string result = contentOf(light.path / "result.csv");
    EXPECT_EQ(result.substr(0, result.find("\n0.01,")), "time [s],z_road [m],z_c [m],z_w [m],F_s [N]\n0,0,0,0,0");
    EXPECT_EQ(std::count(result.begin(), result.end(), '\n'), 7);
    EXPECT_EQ(second.messages[1], "The result file '" + heavy.path.string() +
                                      "' can't be opened: Is a directory. The run goes on without it.\n");
}

TEST(DemoSolver, APendulumOnASpringObeysItsEquations) {
    const Folder folder;
    writeFile(folder.path / "pendulum.xml", R"(<mechanism name="pendulum">
        <gravity acceleration="0 -9.81 0"/>
        <body name="arm" mass="2" centre="0 -0.5 0"><joint type="pin" axis="0 0 1" coordinate="3" speed="4"/></body>
        <point_spring name="s" from_at="1 0 0" to="arm" to_at="0 -1 0" stiffness="20" damping="0.5" rest="0.3"/>
        <input><effort name="torque" joint="arm"/></input>
        <output><coordinate name="phi" joint="arm"/><point name="x" body="arm" at="0 -1 0" component="x"/></output>
        <output><spring_force name="F" spring="s"/></output></mechanism>)");
    Instance pendulum(folder.path / "pendulum.xml");
    pendulum.widths = {2, 1};
    pendulum.start();
    double largest = 0;
    for (int i = 0; i < 100; ++i) {
        pendulum.deposit(i < 50 ? 30 : 0, 0.01 * i);
        pendulum.request(0.01 * (i + 1));

        const auto& y = pendulum.outputs; // phi, x, phi', x', phi'', x'', F, F', F''
        const double s = std::sin(y[0]), c = std::cos(y[0]), w = y[2], a = y[4];
        const double length = std::sqrt(2 - 2 * s), rate = -c * w / length; // of the spring, as 1 + 1 - 2 sin(phi)
        const double acceleration = (s * w * w - c * a - rate * rate) / length;
        const double force = 20 * (length - 0.3) + 0.5 * rate;
        const double torque = pendulum.inputs[0] - 2 * 9.81 * 0.5 * s + force * c / length;
        const double forceRate = 20 * rate + 0.5 * acceleration;
        const double torqueRate = -9.81 * c * w + (forceRate * c - force * s * w - force * c * rate / length) / length;
        const double jerk = (c * w * w * w + 3 * s * w * a - c * torqueRate / 0.5 - 3 * rate * acceleration) / length;
        EXPECT_NEAR(a, torque / (2 * 0.25), 1e-8 * 100) << i;
        EXPECT_NEAR(y[1], s, 1e-12) << i;
        EXPECT_NEAR(y[3], c * w, 1e-8) << i;
        EXPECT_NEAR(y[5], c * a - s * w * w, 1e-8 * 100) << i;
        EXPECT_NEAR(y[6], force, 1e-8 * 10) << i;
        EXPECT_NEAR(y[7], forceRate, 1e-8 * 100) << i;
        EXPECT_NEAR(y[8], 20 * acceleration + 0.5 * jerk, 1e-4 * 1000)
            << i; // a difference, at times on a very short spring
        largest = std::max(largest, y[0]);
    }
    EXPECT_GT(largest, 7) << "angles count whole turns";
    pendulum.terminate();
}

/// The model of a crank of 0.1 m, a rod of 0.25 m and a slider, with some of its texts replaced by others.
fs::path sliderCrank(const Folder& folder, const std::vector<std::pair<std::string, std::string>>& changes = {}) {
    std::string text = R"(<mechanism name="Crank">
<body name="crank" mass="1" inertia="0.02"><joint type="pin" axis="0 0 1" coordinate="0.5" speed="30"/></body>
<body name="rod" mass="0.5" inertia="0.01">
  <joint type="pin" parent="crank" axis="0 0 1" at="0.1 0 0" coordinate="-0.69296"/></body>
<body name="slider" mass="2"><joint type="slider" axis="1 0 0" coordinate="0.3331"/></body>
<closure name="pin" from="slider" to="rod" to_at="0.25 0 0" axis="0 0 1"/>
<joint_spring name="s" to="slider" stiffness="500" damping="8" rest="-0.3"/>
<input><effort name="torque" joint="crank"/></input>
<output><coordinate name="phi" joint="crank"/><coordinate name="psi" joint="rod"/>
  <coordinate name="x" joint="slider"/><spring_force name="F" spring="s"/></output></mechanism>)";
    for (const auto& [from, to] : changes) text.replace(text.find(from), from.size(), to);
    writeFile(folder.path / "Crank.xml", text);
    return folder.path / "Crank.xml";
}

/// The slider's position and the rod's tilt, each with its derivatives by the crank's angle.
std::array<double, 6> positionsAt(double phi) {
    const double s = 0.1 * std::sin(phi), c = 0.1 * std::cos(phi), root = std::sqrt(0.25 * 0.25 - s * s);
    const double slope = -s * c / root, bend = (s * s - c * c - slope * slope) / root;
    return {c + root, slope - s, bend - c, -std::asin(4 * s), -c / root, (s + c * slope / root) / root};
}

TEST(DemoSolver, ASliderCrankObeysItsEquations) {
    const Folder folder;
    Instance crank(sliderCrank(folder));
    crank.widths = {4};
    crank.start();
    EXPECT_NE(crank.messages[0].find(" 1 degrees of freedom"), std::string::npos) << crank.messages[0];
    EXPECT_NEAR(crank.outputs[4], 30, 0.01) << "the speed of the crank stays, the others follow";
    for (int i = 0; i < 300; ++i) {
        crank.deposit(i < 150 ? 5 : -3, 1e-3 * i);
        crank.request(1e-3 * i);
        const auto y = crank.outputs; // phi, psi, x, F, then their first, then their second derivatives
        const auto [x, x1, x2, tilt, tilt1, tilt2] = positionsAt(y[0]);
        const double w = y[4], a = y[8], force = 500 * (0.3 - x) - 8 * x1 * w;
        const double inertia = 0.02 + 0.5 * 0.1 * 0.1 + 0.01 * tilt1 * tilt1 + 2 * x1 * x1;
        const double torque = crank.inputs[0] + force * x1 - (0.01 * tilt1 * tilt2 + 2 * x1 * x2) * w * w;
        EXPECT_NEAR(y[0] + y[1], tilt, 1e-10) << i;
        EXPECT_NEAR(y[2], x, 1e-10) << i;
        EXPECT_NEAR(y[3], force, 1e-9 * 100) << i;
        EXPECT_NEAR(y[6], x1 * w, 1e-9 * 10) << i;
        EXPECT_NEAR(a, torque / inertia, 1e-9 * 1000) << i;
        EXPECT_NEAR(y[10], x2 * w * w + x1 * a, 1e-9 * 1000) << i;
        crank.request(1e-3 * i + 1e-5);
        EXPECT_NEAR((crank.outputs[7] - y[7]) / 1e-5, (crank.outputs[11] + y[11]) / 2, 1e-5 * 1e6) << i;
    }
    EXPECT_GT(crank.outputs[0], 7) << "angles count whole turns";
}

TEST(DemoSolver, AClosedMechanismFollowsADrivenJointEvenWhenClosedTwice) {
    const Folder folder;
    const std::string rail = R"(0.25 0 0"/><closure name="rail" to="rod" to_at="0.25 0 0" axis="1 0 0"/>)";
    Instance crank(sliderCrank(folder, {{"<effort", "<motion start=\"0.7\""}, {"0.25 0 0\" axis=\"0 0 1\"/>", rail}}));
    crank.widths = {4};
    crank.start();
    EXPECT_NE(crank.messages[0].find(" 0 degrees of freedom"), std::string::npos) << crank.messages[0];
    double time = 0;
    for (const double angle : {0.7, 3.6, -2.0, 20.0}) {
        crank.deposit(angle, time);
        crank.request(time += 0.1);
        EXPECT_NEAR(crank.outputs[2], positionsAt(angle)[0], 1e-12);
        EXPECT_NEAR(crank.outputs[0] + crank.outputs[1], positionsAt(angle)[3], 1e-11) << "turns are counted";
        for (std::size_t k = 4; k < 12; ++k) EXPECT_NEAR(crank.outputs[k], 0, 1e-9) << "output " << k;
    }
}

TEST(DemoSolver, ClosuresThatDoNotFitSayWhere) {
    const std::string ball = R"(<closure name="ball" from="rod" from_at="0.25 0 0" to="slider"/><joint_spring)";
    const std::string motion = R"(<motion name="place" joint="slider" start="0.4"/></input><input><effort)";
    const struct {
        std::vector<std::pair<std::string, std::string>> changes;
        std::string says;
    } cases[] = {
        {{{"0.3331", "0.39"}}, "Crank.xml:6: the ends of closure 'pin' are 0.0569 m apart at the start; joining"},
        {{{"\"slider\" to=", "\"ground\" from_at=\"0.4 0 0\" to="}}, "0.0669 m apart at the start, and no position"},
        {{{"0.3331\"", "0.3331\" speed=\"9\""}}, "Crank.xml:6: the speeds of the joints at the start don't fit"},
        {{{"<joint_spring", ball}}, "Crank.xml:7: closure 'ball' repeats what joints and closures above it demand"},
        {{{"<effort", motion}, {"30", "0"}}, "at 0 s: 28.6 % of the way to them, the ends of closure 'pin' ("},
    };
    for (const auto& [changes, says] : cases) {
        const Folder folder;
        Instance crank(sliderCrank(folder, changes));
        crank.inputs.resize(changes.size()), crank.widths = {4}; // one input more where the slider is driven
        crank.start();
        EXPECT_NE(crank.messages[2].find(says), std::string::npos) << says << "\nbut got: " << crank.messages[2];
    }
}

TEST(DemoSolver, AStartThatCannotWorkSaysWhy) {
    const Folder folder;
    const fs::path model = quarterCar(folder);
    const struct {
        fs::path model;
        std::vector<double> inputs;
        int inputWidth;
        std::vector<int> widths;
        std::string says;
    } cases[] = {
        {model, {0}, 1, {1, 1}, "describes 2 output ports, but the model file"},
        {model, {0, 0}, 1, {1, 1, 1}, "describes 2 input ports, but the model file"},
        {model, {0}, 1, {1, 1, 4}, "describes 4 signals at output port 3, but the model"},
        {model, {0}, 2, {1, 1, 1}, "describes 2 signals at input port 1, but the model"},
        {"", {0}, 1, {1, 1, 1}, "names no model file"},
        {"/nowhere.xml", {0}, 1, {1, 1, 1}, "/nowhere.xml: can't be read: No such file or directory"},
    };
    for (const auto& [file, inputs, inputWidth, widths, says] : cases) {
        Instance car(file);
        car.inputs = inputs, car.inputWidth = inputWidth, car.widths = widths;
        car.start();
        EXPECT_NE(car.messages[2].find(says), std::string::npos) << says << "\nbut got: " << car.messages[2];
        car.terminate();
    }
}

TEST(FmuBatch, RefusesWhatItCannotTranslate) {
    const std::string text = R"(<mechanism name="Cart">
<parameter name="m" value="2" unit="kg"/>
<parameter name="who" value="cart"/>
<body name="cart" mass="0.5*${m}"><joint type="slider" axis="1 0 0"/></body>
<joint_spring name="s" to="${who}" stiffness="8"/>
<input><effort name="pull" joint="cart"/></input>
<output><coordinate name="x" joint="cart"/></output>
</mechanism>)";
    const struct {
        std::string values, from, to, says; ///< the template has `to` where it had `from`
    } cases[] = {
        {"m, 3\nmass, 1\n", "", "",
         "Cart.csv:2: 'mass' is neither a parameter nor an input of Cart.mdl; these are: m, pull, who"},
        {"x, 0.1\n", "", "", "Cart.csv:1: 'x' is neither"},
        {"m, 400,5\n", "", "", "Cart.csv:1: the value '400,5' of 'm' isn't a number"},
        {"pull, nan\n", "", "", "Cart.csv:1: the value 'nan'"},
        {"m 400\n", "", "", "Cart.csv:1: 'm 400' isn't of the form 'name, value'"},
        {"m, 1\nm, 2\n", "", "", "Cart.csv:2: 'm' is set a second time"},
        {"who, nobody\n", "", "", "Cart.mdl:5: to: there is no body 'nobody' above"},
        {"m, -1\n", "", "", "Cart.mdl:4: mass: -0.5 is negative"},
        {"m, 0\n", "", "", "Cart.mdl:1: body 'cart' needs a mass"},
        {"", "${m}", "${n}", "Cart.mdl:4: mass: no parameter 'n' is declared above"},
        {"", "${m}", "${m}*", "Cart.mdl:4: mass: '' isn't a number"},
        {"", "</body>", "</boy>", "Cart.mdl:4: isn't well-formed XML: Opening and ending tag mismatch"},
        {"", "<joint_spring", "<spring", "Cart.mdl:5: <spring> isn't known"},
        {"", "stiffness", "stifness", "Cart.mdl:5: <joint_spring> has no attribute 'stifness'"},
        {"", " joint=\"cart\"", "", "Cart.mdl:6: <effort> lacks the attribute 'joint'"},
        {"", "1 0 0", "1 0", "Cart.mdl:4: axis: '1 0' has 2 numbers, but 3 are needed"},
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
}

} // namespace
