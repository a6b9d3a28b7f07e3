// Steps the demo's model alternately through the FMU and with its solver alone, and prints the mean nanoseconds of a
// step for each: cosimulation FOLDER RUNS. FOLDER is the unpacked FMU, KORVAN_FMU_ROOT the demo's installation.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <limits>
#include <numeric>

#include "benchmarks/fmu.h"
#include "plant/access_interface.h"

namespace {

constexpr int nSteps = 400;
constexpr double stepSize = 0.01;
constexpr double roadHeight = 0.05;

/// One input and three outputs, laid out as in `resources/fmu2ts.par`.
class Ports final : public TScicosAccessAPI2 {
public:
    explicit Ports(std::string folder) : model_(std::move(folder) + "/resources/QuarterCar.xml") {}

    char* GetStringParamInputName(void*) override { return model_.data(); }
    char* GetStringParamOutputName(void*) override { return result_.data(); }
    char* GetStringParamSubdllName(void*) override { return empty_.data(); }
    char* GetStringParamIPadress(void*) override { return empty_.data(); }
    double GetFinalTimei(void*) override { return nSteps * stepSize; }
    int GetNumInputPorts(void*) override { return 1; }
    int GetNumOutputPorts(void*) override { return 3; }
    int GetInputPortWidth(void*, int) override { return 1; }
    int GetOutputPortWidth(void*, int) override { return 1; }
    double* GetInputPortRealSignalPtrs(void*, int) override { return reals.data(); }
    double* GetOutputPortRealSignalPtrs(void*, int port) override { return &reals[1 + 3 * index(port)]; }
    double* GetOutputPortRealSignalDotPtrs(void*, int port) override { return &reals[2 + 3 * index(port)]; }
    double* GetOutputPortRealSignalDotDotPtrs(void*, int port) override { return &reals[3 + 3 * index(port)]; }
    void MessageHandler(void*, const char* text, int level) override {
        if (level > 1) throw std::runtime_error(text);
    }

    std::array<double, 10> reals{};

private:
    static std::size_t index(int port) { return static_cast<std::size_t>(port); }

    std::string model_, result_ = "./QuarterCar_result.csv", empty_;
};

using Times = std::array<double, nSteps>;

/// Makes the steps and keeps the shortest time of each, in nanoseconds.
template <typename Step>
void timed(Times& least, const Step& step) {
    for (int n = 0; n < nSteps; ++n) {
        const auto start = std::chrono::steady_clock::now();
        step(n);
        const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - start;
        double& kept = least[static_cast<std::size_t>(n)];
        kept = std::min(kept, time.count());
    }
}

void throughFmu(Times& least, const std::string& folder) {
    Model model(folder);
    model.instantiate();
    const unsigned input = 0, outputs[] = {1, 4, 7};
    model.start();
    double read[3];
    timed(least, [&](int n) {
        fmu().setReal(model.instance, &input, 1, &roadHeight);
        if (fmu().doStep(model.instance, n * stepSize, stepSize, fmi2True) != fmi2OK)
            throw std::runtime_error("a step failed");
        fmu().getReal(model.instance, outputs, 3, read);
    });
}

void bySolver(Times& least, const Library& library, const std::string& folder) {
    const decltype(&blkStart) start = library["blkStart"];
    const decltype(&blkDepositPlantInput) deposit = library["blkDepositPlantInput"];
    const decltype(&blkRequestPlantOutput) request = library["blkRequestPlantOutput"];
    const decltype(&blkTerminate) terminate = library["blkTerminate"];
    Ports ports(folder);
    start(&ports, &ports);
    timed(least, [&](int n) {
        ports.reals[0] = roadHeight;
        deposit(&ports, 1, &ports, n * stepSize);
        request(&ports, &ports, (n + 1) * stepSize);
    });
    terminate(&ports, &ports, nSteps * stepSize);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    const Library solver(std::getenv("KORVAN_FMU_ROOT") + std::string("/plsolvers/tessaro/bin/linux64/tscicos.so"));
    Times fmuTimes, solverTimes;
    for (Times* times : {&fmuTimes, &solverTimes}) times->fill(std::numeric_limits<double>::max());
    for (int run = std::atoi(argv[2]); run > 0; --run) {
        throughFmu(fmuTimes, argv[1]);
        bySolver(solverTimes, solver, argv[1]);
    }
    for (const Times& times : {fmuTimes, solverTimes})
        std::printf("%.0f\n", std::accumulate(times.begin(), times.end(), 0.0) / nSteps);
}
