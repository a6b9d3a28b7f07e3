// A program linked to the installed library: calls utility functions, then runs the example's FMU and compares it with
// the exact motion. Argument: the unpacked FMU.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "fmi/fmi2.h"
#include "resources/location_prefix.h"
#include "resources/model_generation.h"
#include "resources/parameter_files.h"
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

void checkResources(const std::string& resources) {
    FmuParRecord ports;
    require(fread_par((resources + "/fmu2ts.par").c_str(), &ports) == 1 && ports.nReal == 7, "fread_par");
    char* path = nullptr;
    ConvertFmuLocationToPath(("file://" + resources).c_str(), &path);
    require(take(path) == resources, "ConvertFmuLocationToPath");
    require(fmu_generate_xml(resources.c_str(), nullptr) == -1, "fmu_generate_xml");
}

/// Steps the FMU under a force that is held over each step, and beside it the exact motion.
void checkMotion(const std::string& location, double mass) {
    constexpr double step = 0.01, stiffness = 50;
    constexpr fmi2ValueReference input = 0, outputs[] = {1, 2, 3}, parameter = 4;
    const double w = std::sqrt(stiffness / mass);
    const fmi2CallbackFunctions callbacks{receive, std::calloc, std::free, nullptr, nullptr};
    fmi2Component fmu =
        fmi2Instantiate("oscillator", fmi2CoSimulation, "any", location.c_str(), &callbacks, fmi2False, fmi2True);
    require(fmi2SetReal(fmu, &parameter, 1, &mass) == fmi2OK, "setting the mass");
    require(fmi2EnterInitializationMode(fmu) == fmi2OK && fmi2ExitInitializationMode(fmu) == fmi2OK, "start");

    double x = 0.1, v = 0;
    for (int n = 0; n < 200; ++n) {
        const double force = 10 * std::sin(3 * n * step), rest = force / stiffness, from = x - rest;
        require(fmi2SetReal(fmu, &input, 1, &force) == fmi2OK, "setting the force");
        require(fmi2DoStep(fmu, n * step, step, fmi2True) == fmi2OK, "step");

        x = rest + from * std::cos(w * step) + v / w * std::sin(w * step);
        v = v * std::cos(w * step) - from * w * std::sin(w * step);
        double values[3];
        require(fmi2GetReal(fmu, outputs, 3, values) == fmi2OK, "getting the outputs");
        require(std::fabs(values[0] - x) < 1e-7, "displacement");
        require(std::fabs(values[1] - v) < 1e-6, "velocity");
        require(std::fabs(values[2] - (force - stiffness * x) / mass) < 1e-5, "acceleration");
    }
    require(fmi2Terminate(fmu) == fmi2OK, "termination");
    fmi2FreeInstance(fmu);
}

} // namespace

int main(int /*count*/, char** arguments) {
    const std::string resources = std::string(arguments[1]) + "/resources";
    checkUtilities();
    checkResources(resources);
    for (const double mass : {2.0, 3.0}) // the second run isn't to find the first one's model file
        checkMotion(resources, mass);    // a path, since a URI cannot have spaces
}
