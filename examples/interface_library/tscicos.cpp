// A complete interface library: a mass on a spring, pushed by the force that the FMU receives.
#include <cmath>
#include <cstdio>
#include <fstream>
#include <locale>
#include <map>
#include <mutex>
#include <string>

#include "plant/access_interface.h"

namespace {

/// mass x'' + stiffness x = force; kg, N/m, N, m, s.
struct Oscillator {
    double mass = 0, stiffness = 0, x = 0, velocity = 0, force = 0, time = 0;

    double acceleration() const { return (force - stiffness * x) / mass; }

    /// Equal steps of at most 0.1 ms up to `end`, all under the same force.
    void advance(double end) {
        if (!(end > time)) return;
        const double count = std::ceil((end - time) / 1e-4), step = (end - time) / count;
        for (double n = 0; n < count; ++n) {
            velocity += acceleration() * step / 2;
            x += velocity * step;
            velocity += acceleration() * step / 2;
        }
        time = end;
    }
};

/// All instances of a process share this library, perhaps on several threads: each run is kept under its handle.
bool runsAreGone = false;
struct Runs : std::map<void*, Oscillator> {
    ~Runs() { runsAreGone = true; }
} runs;
std::mutex runsMutex;

Oscillator* runOf(void* handle) {
    const std::lock_guard<std::mutex> lock(runsMutex);
    const auto found = runs.find(handle);
    return found != runs.end() ? &found->second : nullptr;
}

/// Reads the model file. One that fmu_batch made for this run is removed, so that the next run gets one of its own.
bool readModel(const std::string& path, Oscillator& run) {
    std::ifstream file(path);
    file.imbue(std::locale::classic());
    int values = 0;
    bool generated = false;
    for (std::string word; file >> word;) {
        if (word == "fmu_batch") generated = true;
        double* value = word == "mass"        ? &run.mass
                        : word == "stiffness" ? &run.stiffness
                        : word == "x0"        ? &run.x
                                              : nullptr;
        if (value != nullptr && file >> *value) ++values;
    }
    file.close();
    if (generated) std::remove(path.c_str());
    return values == 3;
}

void writeOutputs(void* handle, TScicosAccessAPI2* access, const Oscillator& run) {
    *access->GetOutputPortRealSignalPtrs(handle, 0) = run.x;
    *access->GetOutputPortRealSignalDotPtrs(handle, 0) = run.velocity;
    *access->GetOutputPortRealSignalDotDotPtrs(handle, 0) = run.acceleration();
}

} // namespace

extern "C" void blkStart(void* handle, TScicosAccessAPI2* access) {
    if (access->GetNumInputPorts(handle) != 1 || access->GetNumOutputPorts(handle) != 1)
        return access->MessageHandler(handle, "The oscillator needs one input and one output port", 2);
    Oscillator run;
    const char* name = access->GetStringParamInputName(handle);
    const std::string path = name != nullptr ? name : "";
    if (!readModel(path, run)) return access->MessageHandler(handle, ("Can't read the model file " + path).c_str(), 2);
    writeOutputs(handle, access, run);
    const std::lock_guard<std::mutex> lock(runsMutex);
    runs[handle] = run; // in place of an earlier run: after a reset there was no blkTerminate
}

extern "C" void blkDepositPlantInput(void* handle, int /*flag*/, TScicosAccessAPI2* access, double /*time*/) {
    if (Oscillator* run = runOf(handle)) run->force = *access->GetInputPortRealSignalPtrs(handle, 0);
}

extern "C" void blkRequestPlantOutput(void* handle, TScicosAccessAPI2* access, double time) {
    Oscillator* run = runOf(handle);
    if (run == nullptr) return;
    run->advance(time);
    writeOutputs(handle, access, *run);
}

extern "C" void blkTerminate(void* handle, TScicosAccessAPI2* /*access*/, double /*time*/) {
    if (runsAreGone) return; // a master may release its last instances when the process ends
    const std::lock_guard<std::mutex> lock(runsMutex);
    runs.erase(handle);
}
