// The demo solver's mechanics, as the FMU gets them from the built tscicos.so.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "tests/demo_solver.h"

namespace {

using testing::HasSubstr;

/// Compares two quarter cars' outputs and derivatives, relative to the size that they have on a road of 5 cm. That they
/// are exact is tested where the whole FMU runs in a master.
void expectSame(const Instance& car, const Instance& other) {
    const std::array<double, 9> size{0.1, 1, 10, 0.1, 3, 100, 2000, 1e5, 1e7};
    for (std::size_t i = 0; i < 9; ++i) EXPECT_NEAR(car.outputs[i], other.outputs[i], 1e-7 * size[i]) << "output " << i;
}

TEST(DemoSolver, OnlyInputsAndTheirDurationsMoveTheCar) {
    const Folder folder;
    const std::string values = "m_w, 50\nz_road, 0.02\n";
    Instance plain(quarterCar(folder, values));
    plain.start();
    Instance varied(quarterCar(folder, values));
    const CommaLocale comma; // numbers in files have a decimal point nevertheless
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
    EXPECT_THAT(plain.messages[2], HasSubstr("Outputs at 0.05 s are requested, but the run has reached"));
    plain.request(1);
    EXPECT_THAT(plain.messages[2], HasSubstr("There is no run"));
    plain.terminate();
    varied.terminate();
    varied.terminate();
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

/// The model of a crank of 0.1 m, a rod of 0.25 m and a slider, with some of its strings replaced by others.
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

// How closed mechanisms move is compared with an exact solution by `demo/run squeezer`.

TEST(DemoSolver, TheSpeedOfOneJointOfAClosedMechanismIsEnoughAndAllMayBeStated) {
    const std::string rod = "-0.69296\"", slider = "0.3331\"";
    const std::vector<std::pair<std::string, std::string>> all{{rod, rod + " speed=\"-40.73\""},
                                                               {slider, slider + " speed=\"-1.953\""}};
    for (const auto& changes : {decltype(all)(), all}) {
        const Folder folder;
        Instance crank(sliderCrank(folder, changes));
        crank.widths = {4};
        crank.start();
        EXPECT_THAT(crank.messages[0], HasSubstr("degrees of freedom: 1"));
        EXPECT_NEAR(crank.outputs[4], 30, 0.01);
        EXPECT_NEAR(crank.outputs[6], -1.953, 0.001);
    }
}

TEST(DemoSolver, AClosedMechanismFollowsADrivenJointEvenWhenClosedTwice) {
    const Folder folder;
    const std::string rail = R"(0.25 0 0"/><closure name="rail" to="rod" to_at="0.25 0 0" axis="1 0 0"/>)";
    Instance crank(sliderCrank(folder, {{"<effort", "<motion start=\"0.7\""}, {"0.25 0 0\" axis=\"0 0 1\"/>", rail}}));
    crank.widths = {4};
    crank.start();
    EXPECT_THAT(crank.messages[0], HasSubstr("degrees of freedom: 0"));
    double time = 0;
    for (const double angle : {0.7, 3.6, -2.0, 20.0}) {
        crank.deposit(angle, time);
        crank.request(time += 0.1);
        const double height = 0.1 * std::sin(angle);
        EXPECT_NEAR(crank.outputs[2], 0.1 * std::cos(angle) + std::sqrt(0.25 * 0.25 - height * height), 1e-12);
        EXPECT_NEAR(crank.outputs[0] + crank.outputs[1], -std::asin(4 * height), 1e-11) << "turns are counted";
        for (std::size_t k = 4; k < 12; ++k) EXPECT_NEAR(crank.outputs[k], 0, 1e-9) << "output " << k;
    }
}

TEST(DemoSolver, ClosuresThatDoNotFitSayWhere) {
    const std::string ball = R"(<closure name="ball" from="rod" from_at="0.25 0 0" to="slider"/><joint_spring)";
    const std::string motion = R"(<motion name="place" joint="slider" start="0.4"/></input><input><effort)";
    const std::string rod = R"(<motion name="rod" joint="rod"/></input><input><motion name="place" joint="slider"/>)";
    const struct {
        std::size_t inputs;
        std::vector<std::pair<std::string, std::string>> changes;
        std::string says;
    } cases[] = {
        {1, {{"0.3331", "0.39"}}, "Crank.xml:6: the ends of closure 'pin' are 0.0569 m apart at the start; joining"},
        {1, {{"\"slider\" to=", "\"ground\" from_at=\"0.4 0 0\" to="}}, "0.0669 m apart at the start, and no position"},
        {1, {{"0.3331\"", "0.3331\" speed=\"9\""}}, "Crank.xml:6: the speeds of the joints at the start don't fit"},
        {1, {{"<joint_spring", ball}}, "Crank.xml:7: closure 'ball' repeats what joints and closures above it require"},
        {2, {{"<effort", motion}, {"30", "0"}}, "at 0 s: 28.6 % of the way to them, the ends of closure 'pin' ("},
        {3, {{"<effort", rod + "</input><input><motion"}}, "Crank.xml:6: no free joint moves one end of closure 'pin'"},
        {1, {{R"("slider" to="rod" to_at="0.25 0 0")", R"("ground" to="crank")"}}, "the other (0 m apart): the joints"},
    };
    for (const auto& [inputs, changes, says] : cases) {
        const Folder folder;
        Instance crank(sliderCrank(folder, changes));
        crank.inputs.resize(inputs);
        crank.widths = {4};
        crank.start();
        EXPECT_THAT(crank.messages[2], HasSubstr(says));
    }
}

TEST(DemoSolver, AStartThatCannotWorkSaysWhy) {
    const Folder folder;
    const fs::path model = folder.path / "QuarterCar.xml";
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
        {"", {0}, 1, {1, 1, 1}, "has no model file"},
        {"/nowhere.xml", {0}, 1, {1, 1, 1}, "/nowhere.xml: can't be read: No such file or directory"},
    };
    for (const auto& [file, inputs, inputWidth, widths, says] : cases) {
        quarterCar(folder);
        Instance car(file);
        car.inputs = inputs;
        car.inputWidth = inputWidth;
        car.widths = widths;
        car.start();
        EXPECT_THAT(car.messages[2], HasSubstr(says));
        car.terminate();
    }
}

} // namespace
