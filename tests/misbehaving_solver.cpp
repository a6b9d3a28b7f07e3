// An interface library that does one thing wrong, named by the environment variable MISBEHAVIOUR; without it, nothing.
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>

#include <unistd.h>

#include "plant/access_interface.h"

namespace {

using Access = TScicosAccessAPI2;

bool does(const std::string& misbehaviour) {
    const char* chosen = std::getenv("MISBEHAVIOUR");
    return chosen != nullptr && chosen == misbehaviour;
}

struct Run {
    void* handle = nullptr;
    Access* access = nullptr;

    Run() {
        if (does("crash when loaded")) std::raise(SIGSEGV);
    }
    ~Run() {
        if (does("ask when unloaded")) access->GetFinalTimei(handle);
    }
} run;

void writeOutputs(void* handle, Access* access, bool derivatives) {
    for (int i = 0; i < access->GetNumOutputPorts(handle); ++i)
        for (int k = 0; k < access->GetOutputPortWidth(handle, i); ++k) {
            access->GetOutputPortRealSignalPtrs(handle, i)[k] = does("not a number") ? std::nan("") : 0;
            if (!derivatives) continue;
            access->GetOutputPortRealSignalDotPtrs(handle, i)[k] = 0;
            access->GetOutputPortRealSignalDotDotPtrs(handle, i)[k] = 0;
        }
}

/// What is done wrong in requests.
void misbehave(void* handle, Access* access) {
    if (does("crash")) std::raise(SIGSEGV);
    if (does("hang")) pause();
    if (does("exit")) _exit(3);
    if (does("throw")) throw std::runtime_error("the spring broke");
    if (does("throw 7")) throw 7;
    if (does("report an error")) access->MessageHandler(handle, "the spring broke", 2);
    if (does("warn")) access->MessageHandler(handle, "the spring creaks", 1);
    if (does("level 7")) access->MessageHandler(handle, "the spring is gone", 7);
    if (does("ask for port 3")) access->GetOutputPortRealSignalPtrs(handle, 3);
    if (does("null handle")) access->GetNumInputPorts(nullptr);
    if (does("foreign handle")) access->GetNumInputPorts(&run);
    if (does("write an input")) *access->GetInputPortRealSignalPtrs(handle, 0) = 0;
    if (does("write behind a port")) access->GetOutputPortRealSignalDotDotPtrs(handle, 2)[1] = 0;
    if (does("write before the values")) access->GetInputPortRealSignalPtrs(handle, 0)[-1] = 0;
    if (does("write behind the values")) access->GetInputPortRealSignalPtrs(handle, 0)[15] = 0;
    if (does("write the record")) static_cast<double*>(handle)[25] = 1;
    if (does("ask in a thread")) std::thread([=] { access->GetFinalTimei(handle); }).join();
    if (does("leave a thread")) std::thread([] { std::this_thread::sleep_for(std::chrono::minutes(1)); }).detach();
}

} // namespace

void blkStart(void* handle, Access* access) {
    run.handle = handle;
    run.access = access;
    if (!does("start without outputs")) writeOutputs(handle, access, true);
}

void blkDepositPlantInput(void* /*handle*/, int /*flag*/, Access* /*access*/, double time) {
    static double last = 0;
    if (does("insist on the future") && time < last) throw std::runtime_error("back in time");
    last = time;
}

void blkRequestPlantOutput(void* handle, Access* access, double /*time*/) {
    misbehave(handle, access);
    if (!does("request without outputs")) writeOutputs(handle, access, !does("request without derivatives"));
}

void blkTerminate(void* /*handle*/, Access* /*access*/, double /*time*/) {
    if (does("throw at the end")) throw std::runtime_error("the spring broke");
}
