// A program linked to the installed library: calls utility functions, then runs two instances of the example's FMU side
// by side and compares them with the exact motion. Argument: the unpacked FMU.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "fmi/fmi2.h"
#include "util/numbers.h"
#include "util/paths.h"
#include "util/text.h"

namespace {

void require(bool holds, const char* what) {
    if (holds) return;
    std::printf("failed: %s\n", what);
    std::exit(1);
}

/// Whatever the FMU reports here is a fault.
void receive(fmi2ComponentEnvironment, fmi2String, fmi2Status, fmi2String, fmi2String format, ...) {
    require(false, format);
}

std::string take(char* text) { return std::string(std::unique_ptr<char[]>(text).get()); }

void checkUtilities() {
    char path[] = "a\\b";
    FixPath(path);
    require(std::string(path) == "a/b", "FixPath");
    require(take(ChangeExtension("model.XML", "xml", "mdl")) == "model.mdl", "ChangeExtension");
    require(take(strndup("abcdef", 3)) == "abc", "strndup");
    require(std::fabs(fstrtod("1234567891234", nullptr) - 1234567890000.0) < 0.5, "fstrtod");
}

const fmi2CallbackFunctions callbacks{receive, std::calloc, std::free, nullptr, nullptr};
constexpr double stopTime = 2, step = 0.01, mass = 2, stiffness = 50;

/// An instance under a force of its own, held over each step, and beside it the exact motion.
class Instance {
public:
    Instance(const std::string& location, double amplitude) : amplitude_(amplitude) {
        fmu_ =
            fmi2Instantiate("oscillator", fmi2CoSimulation, "any", location.c_str(), &callbacks, fmi2False, fmi2True);
        require(fmi2SetupExperiment(fmu_, fmi2False, 0, 0, fmi2True, stopTime) == fmi2OK, "set-up");
        require(fmi2EnterInitializationMode(fmu_) == fmi2OK, "initialization");
        compare();
        require(fmi2ExitInitializationMode(fmu_) == fmi2OK, "end of initialization");
    }
    Instance(const Instance&) = delete;

    ~Instance() {
        require(fmi2Terminate(fmu_) == fmi2OK, "termination");
        fmi2FreeInstance(fmu_);
    }

    void advance(int n) {
        const fmi2ValueReference reference = 0;
        force_ = amplitude_ * std::sin(3 * n * step);
        require(fmi2SetReal(fmu_, &reference, 1, &force_) == fmi2OK, "setting the force");
        require(fmi2DoStep(fmu_, n * step, step, fmi2True) == fmi2OK, "step");

        const double w = std::sqrt(stiffness / mass), rest = force_ / stiffness, from = x_ - rest;
        x_ = rest + from * std::cos(w * step) + v_ / w * std::sin(w * step);
        v_ = v_ * std::cos(w * step) - from * w * std::sin(w * step);
        compare();
    }

private:
    void compare() const {
        const fmi2ValueReference references[] = {1, 2, 3};
        double values[3];
        require(fmi2GetReal(fmu_, references, 3, values) == fmi2OK, "getting the outputs");
        require(std::fabs(values[0] - x_) < 1e-7, "displacement");
        require(std::fabs(values[1] - v_) < 1e-6, "velocity");
        require(std::fabs(values[2] - (force_ - stiffness * x_) / mass) < 1e-5, "acceleration");
    }

    fmi2Component fmu_;
    double amplitude_, force_ = 0, x_ = 0.1, v_ = 0;
};

} // namespace

int main(int /*count*/, char** arguments) {
    checkUtilities();

    const std::string location = "file://" + std::string(arguments[1]) + "/resources";
    Instance pushed(location, 10), left(location, 0);
    for (int n = 0; n < std::lround(stopTime / step); ++n) {
        pushed.advance(n);
        left.advance(n);
    }
}
