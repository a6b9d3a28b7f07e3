// An interface library under the test's command, see scripted_solver.h. It writes outputs from which port, signal and
// time can be seen: value k of output port i is time + 10 i + k, its derivatives are greater by 100 and 200.
#include "tests/tools/scripted_solver.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace {

struct OwnClass {
    std::string text = std::string(100, 'x');
};

std::string shown(double number) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", number);
    return text;
}

void play(Entry entry, void* handle, TScicosAccessAPI2* access, const std::string& call) {
    auto& script = *reinterpret_cast<SolverScript*>(std::strtoull(std::getenv(scriptVariable), nullptr, 16));
    script.record(call);
    const Behaviour& behaviour = script.during(entry);
    if (behaviour.action) behaviour.action(handle, *access);
    if (behaviour.reports) access->MessageHandler(handle, behaviour.text.c_str(), behaviour.level);
    if (behaviour.thrown == Thrown::standardException) throw std::runtime_error("solver");
    if (behaviour.thrown == Thrown::number) throw 7;
    if (behaviour.thrown == Thrown::ownClass) throw OwnClass();
}

} // namespace

void blkStart(void* handle, TScicosAccessAPI2* access) { play(Entry::start, handle, access, "start"); }

void blkDepositPlantInput(void* handle, int flag, TScicosAccessAPI2* access, double time) {
    std::string call = "deposit at " + shown(time) + ":";
    for (int i = 0; i < access->GetNumInputPorts(handle); ++i)
        for (int k = 0; k < access->GetInputPortWidth(handle, i); ++k)
            call += " " + shown(access->GetInputPortRealSignalPtrs(handle, i)[k]);
    if (flag != 1) call += " with flag " + std::to_string(flag);
    play(Entry::deposit, handle, access, call);
}

void blkRequestPlantOutput(void* handle, TScicosAccessAPI2* access, double time) {
    for (int i = 0; i < access->GetNumOutputPorts(handle); ++i)
        for (int k = 0; k < access->GetOutputPortWidth(handle, i); ++k) {
            access->GetOutputPortRealSignalPtrs(handle, i)[k] = time + 10 * i + k;
            access->GetOutputPortRealSignalDotPtrs(handle, i)[k] = 100 + time + 10 * i + k;
            access->GetOutputPortRealSignalDotDotPtrs(handle, i)[k] = 200 + time + 10 * i + k;
        }
    play(Entry::request, handle, access, "request at " + shown(time));
}

void blkTerminate(void* handle, TScicosAccessAPI2* access, double time) {
    play(Entry::terminate, handle, access, "terminate at " + shown(time));
}
