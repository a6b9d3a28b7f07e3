// An interface library that does wrong what is named by the environment variable MISBEHAVIOUR.
#include <cfenv>
#include <clocale>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <map>
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

struct Latest {
    Latest() { does("crash when loaded") ? std::raise(SIGSEGV) : 0; }
    ~Latest() { does("ask when unloaded") ? access->GetFinalTimei(handle) : 0; }

    void* handle = nullptr;
    Access* access = nullptr;
} latest;

std::map<void*, int> requests; ///< since the start, by the handles of the runs
int allRequests = 0;           ///< since the latest start

/// Values are the number of requests, with derivatives of 0, but where the misbehaviour is to leave port 1 alone.
void writeOutputs(void* handle, Access* access, bool all, bool derivatives) {
    for (int i = 0; i < access->GetNumOutputPorts(handle); ++i) {
        if (all || i != 1)
            *access->GetOutputPortRealSignalPtrs(handle, i) = does("count all runs") ? allRequests : requests[handle];
        if (!derivatives && i == 1) continue;
        *access->GetOutputPortRealSignalDotPtrs(handle, i) = *access->GetOutputPortRealSignalDotDotPtrs(handle, i) = 0;
    }
}

void leak(std::size_t size) {
    static void* volatile leaked = nullptr; // or nothing would be allocated
    leaked = std::malloc(size);
    std::memset(leaked, 1, size);
}

void open() { ::open("/dev/null", O_RDONLY); }

void misbehave(void* handle, Access* access) {
    if (does("talk")) std::printf("%0*d\nthe last words\n", 3 << 20, 0);
    if (does("crash")) std::raise(SIGSEGV);
    if (does("hang")) pause();
    if (does("fail late") && requests[handle] > 100) std::raise(SIGSEGV);
    if (does("exit")) _exit(3);
    if (does("break")) throw std::runtime_error("the spring broke");
    if (does("report an error")) access->MessageHandler(handle, "the spring broke", 2);
    if (does("level 7")) access->MessageHandler(handle, "the spring is gone", 7);
    if (does("level -1")) access->MessageHandler(handle, nullptr, -1);
    if (does("send null")) access->MessageHandler(handle, nullptr, 0);
    if (does("send Latin-1")) access->MessageHandler(handle, "d\xe4mpfer", 0);
    if (does("not a number")) *access->GetOutputPortRealSignalPtrs(handle, 1) = std::nan("");
    if (does("ask for port 3")) access->GetOutputPortRealSignalPtrs(handle, 3);
    if (does("null handle")) access->GetNumInputPorts(nullptr);
    if (does("foreign handle")) access->GetNumInputPorts(&latest);
    if (does("write an input")) *access->GetInputPortRealSignalPtrs(handle, 0) = 0;
    if (does("write past a port")) access->GetOutputPortRealSignalDotDotPtrs(handle, 2)[1] = 0;
    if (does("write past the values")) access->GetInputPortRealSignalPtrs(handle, 0)[15] = 0;
    if (does("write the record")) static_cast<double*>(handle)[25] = 1;
    if (does("ask in a thread")) std::thread([=] { access->GetFinalTimei(handle); }).join();
    if (does("leave a thread") && allRequests == 1) std::thread([] { pause(); }).detach();
    if (does("alter the locale")) std::setlocale(LC_ALL, "C.UTF-8");
    if (does("alter the directory")) [[maybe_unused]]
        const int result = chdir("/");
    if (does("alter the rounding")) std::fesetround(FE_UPWARD);
    if (does("leak in each step")) leak(4 << 10);
    if (does("leave a file open in each step")) open();
}

/// What is wrong with a start; empty when nothing is.
std::string problemOf(void* handle, const std::string& model) {
    static const std::string firstModel = model;
    std::ifstream file(does("remember the folder") ? firstModel : model);
    const std::string content{std::istreambuf_iterator<char>(file), {}};
    if (does("remember the folder") && content.empty()) return "no model";
    if (does("refuse other masses") && content.find("value=\"400\"") == std::string::npos) return "too heavy";
    if (does("have one run") && requests.size() > requests.count(handle)) return "there is a run";
    return "";
}

} // namespace

void blkStart(void* handle, Access* access) {
    latest.handle = handle;
    latest.access = access;
    allRequests = 0;
    const char* model = access->GetStringParamInputName(handle);
    if (const std::string problem = problemOf(handle, model); !problem.empty())
        return access->MessageHandler(handle, problem.c_str(), 2);
    if (!does("leave the model file")) std::remove(model);
    if (!does("go on after a reset")) requests[handle] = 0;
    writeOutputs(handle, access, !does("start without outputs"), true);
    access->SetOutputPortLabel(handle, 1, "height of the wheel");
    if (does("level 5 at the start")) access->MessageHandler(handle, "boom", 5);
    if (does("leak in each run")) leak(64 << 10);
    if (does("leave a file open in each run")) open();
}

void blkDepositPlantInput(void* handle, int /*flag*/, Access* access, double time) {
    static int deposits = 0;
    if (deposits++ > 0 && time <= 0 && does("insist on the future")) throw std::runtime_error("back in time");
    const double road = *access->GetInputPortRealSignalPtrs(handle, 0);
    if (std::fpclassify(road) == FP_SUBNORMAL || (road != 0 && does("stay on flat roads")))
        access->MessageHandler(handle, "a bump", 2);
}

void blkRequestPlantOutput(void* handle, Access* access, double time) {
    const double steps = time / 0.01;
    if (does("make whole steps only") && std::abs(steps - std::round(steps)) > 1e-6)
        return access->MessageHandler(handle, "half a step", 2);
    ++requests[handle];
    ++allRequests;
    writeOutputs(handle, access, !does("request without outputs"), !does("no derivatives"));
    misbehave(handle, access);
}

void blkTerminate(void* handle, Access* /*access*/, double /*time*/) {
    requests.erase(handle);
    if (does("throw at the end")) throw std::runtime_error("the spring broke");
}
