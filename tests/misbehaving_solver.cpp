// An interface library that does wrong what is named by the environment variable MISBEHAVIOUR.
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>

#include "plant/access_interface.h"

#ifdef STREAMING // all else as it should be
#include <iostream>
std::ostream* stream = &std::cout;
#endif

namespace {

using Access = TScicosAccessAPI2;

bool does(const std::string& misbehaviour) {
    const char* chosen = std::getenv("MISBEHAVIOUR");
    return chosen != nullptr && std::string(chosen).find(misbehaviour) != std::string::npos;
}

struct Run {
    Run() { does("crash when loaded") ? std::raise(SIGSEGV) : 0; }
    ~Run() { does("ask when unloaded") ? access->GetFinalTimei(handle) : 0; }

    void* handle = nullptr;
    Access* access = nullptr;
} run;

/// Outputs and derivatives are 0 but where the misbehaviour is to leave port 1 alone.
void writeOutputs(void* handle, Access* access, bool all, bool derivatives) {
    for (int i = 0; i < access->GetNumOutputPorts(handle); ++i) {
        if (all || i != 1) *access->GetOutputPortRealSignalPtrs(handle, i) = 0;
        if (!derivatives && i == 1) continue;
        *access->GetOutputPortRealSignalDotPtrs(handle, i) = *access->GetOutputPortRealSignalDotDotPtrs(handle, i) = 0;
    }
}

void misbehave(void* handle, Access* access) {
    if (does("talk")) std::printf("%0*d\nthe last words\n", 3 << 20, 0);
    if (does("crash")) std::raise(SIGSEGV);
    if (does("hang")) pause();
    if (does("exit")) _exit(3);
    if (does("break")) throw std::runtime_error("the spring broke");
    if (does("report an error")) access->MessageHandler(handle, "the spring broke", 2);
    if (does("level 7")) access->MessageHandler(handle, "the spring is gone", 7);
    if (does("level -1")) access->MessageHandler(handle, nullptr, -1);
    if (does("not a number")) *access->GetOutputPortRealSignalPtrs(handle, 1) = std::nan("");
    if (does("ask for port 3")) access->GetOutputPortRealSignalPtrs(handle, 3);
    if (does("null handle")) access->GetNumInputPorts(nullptr);
    if (does("foreign handle")) access->GetNumInputPorts(&run);
    if (does("write an input")) *access->GetInputPortRealSignalPtrs(handle, 0) = 0;
    if (does("write behind a port")) access->GetOutputPortRealSignalDotDotPtrs(handle, 2)[1] = 0;
    if (does("write behind the values")) access->GetInputPortRealSignalPtrs(handle, 0)[15] = 0;
    if (does("write the record")) static_cast<double*>(handle)[25] = 1;
    if (does("ask in a thread")) std::thread([=] { access->GetFinalTimei(handle); }).join();
    if (does("leave a thread")) std::thread([] { pause(); }).detach();
}

} // namespace

void blkStart(void* handle, Access* access) {
    run.handle = handle;
    run.access = access;
    if (!does("leave the model file")) std::remove(access->GetStringParamInputName(handle));
    writeOutputs(handle, access, !does("start without outputs"), true);
    if (does("level 5 at the start")) access->MessageHandler(handle, "boom", 5);
}

void blkDepositPlantInput(void* /*handle*/, int /*flag*/, Access* /*access*/, double time) {
    static int deposits = 0;
    if (deposits++ > 0 && time <= 0 && does("insist on the future")) throw std::runtime_error("back in time");
}

void blkRequestPlantOutput(void* handle, Access* access, double /*time*/) {
    writeOutputs(handle, access, !does("request without outputs"), !does("no derivatives"));
    misbehave(handle, access);
}

void blkTerminate(void* /*handle*/, Access* /*access*/, double /*time*/) {
    if (does("throw at the end")) throw std::runtime_error("the spring broke");
}
