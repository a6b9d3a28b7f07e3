// Long and wide runs, with the process's memory before and after: long_runs STEPS CYCLES VARIABLES INSTANCES
#include <cmath>
#include <cstdio>
#include <fstream>

#include <malloc.h>

#include "tests/reliability/trial.h"

namespace {

/// The process's memory in KiB, after what is free was given back.
std::size_t residentKiB() {
    malloc_trim(0);
    std::size_t size = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return resident * 4;
}

void initialize(fmi2Component c) {
    require(fmi2SetupExperiment(c, 0, 0, 0, 0, 0) == fmi2OK, "no set-up");
    require(fmi2EnterInitializationMode(c) == fmi2OK && fmi2ExitInitializationMode(c) == fmi2OK, "not initialized");
}

fmi2Component start(Trial& trial) {
    fmi2Component c = trial.instantiate();
    initialize(c);
    return c;
}

/// Inputs, a step, outputs; the scripted solver's first output is the time.
void step(fmi2Component c, std::size_t number) {
    const fmi2ValueReference inputs[] = {0, 1, 2}, output[] = {3};
    const auto start = static_cast<double>(number);
    const double values[] = {start, 1, 2};
    double time = 0;
    require(fmi2SetReal(c, inputs, 3, values) == fmi2OK && fmi2DoStep(c, start, 1, 1) == fmi2OK, "step %zu", number);
    require(fmi2GetReal(c, output, 1, &time) == fmi2OK && time == start + 1, "outputs of step %zu", number);
}

void finish(fmi2Component c) {
    require(fmi2Terminate(c) == fmi2OK, "not terminated");
    fmi2FreeInstance(c);
}

/// Runs a part a little, so that what is allocated once is there, and then whole; prints what that adds to the memory.
template <typename Part>
void measure(const Trial& trial, const char* name, std::size_t little, std::size_t count, const Part& part) {
    part(little);
    const std::size_t before = residentKiB();
    part(count);
    const auto grown = static_cast<long>(residentKiB() - before);
    std::printf("%zu %s: %zu KiB before, %+ld KiB after\n", count, name, before, grown);
    require(grown < 1024, "memory grows");
    trial.requireNothingLeft();
}

/// As many reals as are wanted, each with a name and a start value; the value file must hold all of them.
void runWide(Trial& trial, std::size_t nVariables) {
    const std::size_t nReals = 19 + nVariables;
    std::string names = std::to_string(nReals) + "\n";
    for (std::size_t i = 0; i < nReals; ++i) names += "body_" + std::to_string(i) + ".stiffness\n";
    trial.files.parameters.nReal = std::to_string(nReals);
    trial.files.make();
    writeFile(trial.files.resources / "mv.par", names + "0\n0\n0\n");
    std::vector<fmi2ValueReference> references(nReals);
    std::vector<double> values(nReals);
    for (std::size_t i = 0; i < nReals; ++i)
        references[i] = static_cast<fmi2ValueReference>(i), values[i] = 0.5 * static_cast<double>(i);
    fmi2Component c = trial.instantiate();
    require(fmi2SetReal(c, references.data(), nReals, values.data()) == fmi2OK, "values not set");
    initialize(c);
    std::ifstream lines(trial.files.resources / "Model.csv");
    std::size_t n = 0;
    for (std::string line; std::getline(lines, line); ++n)
        require(line == textOf("body_%zu.stiffness, %.6f", n, values[n]), "value file: %s", line.c_str());
    require(n == nReals, "the value file has %zu lines", n);
    step(c, 0);
    finish(c);
}

} // namespace

int main(int count, char** arguments) {
    require(count == 5, "usage: long_runs STEPS CYCLES VARIABLES INSTANCES");
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    Trial trial;
    const auto number = [arguments](int i) { return std::size_t{std::stoul(arguments[i])}; };

    measure(trial, "instances one after the other, each with a translator's run", number(4) / 2, number(4),
            [&trial](std::size_t n) {
                for (std::size_t i = 0; i < n; ++i) {
                    fs::remove(trial.files.resources / "Model.xml");
                    fmi2Component c = start(trial);
                    step(c, i);
                    finish(c);
                }
            });
    measure(trial, "steps", 200, number(1), [&trial](std::size_t n) {
        fmi2Component c = start(trial);
        for (std::size_t i = 0; i < n; ++i) step(c, i);
        finish(c);
    });
    measure(trial, "cycles from instantiation to release", 200, number(2), [&trial](std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) finish(start(trial));
    });
    // The former run of the solver goes on at each reset, and keeps some hundred bytes.
    measure(trial, "runs of one instance, with resets between them", 1, 100, [&trial](std::size_t n) {
        fmi2Component c = start(trial);
        for (std::size_t i = 0; i < n; ++i) {
            step(c, i);
            require(fmi2Reset(c) == fmi2OK, "no reset");
            initialize(c);
        }
        finish(c);
    });
    measure(trial, "variables with names", number(3), number(3), [&trial](std::size_t n) { runWide(trial, n); });
}
