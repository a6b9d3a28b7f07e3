// An interface library under the test's command. It reaches every operation by its slot number and every member by its
// offset, as a compiled solver does, and knows nothing of the FMU's headers.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>

#include "tests/scripted_solver.h"

namespace {

constexpr int finalTime = 4, nInputs = 5, nOutputs = 6, inputWidth = 7, outputWidth = 8, inputs = 9, outputs = 10,
              message = 11, inputLabel = 12, outputLabel = 13, serverAddress = 14, serverPort = 15, dots = 16,
              dotDots = 17, isLoaded = 21, errorCode = 22;

struct OwnException {
    std::string text = std::string(100, 'x');
};

template <typename Result, typename... Arguments>
Result call(void* access, int slot, Arguments... arguments) {
    void** table = *static_cast<void***>(access);
    return reinterpret_cast<Result (*)(void*, Arguments...)>(table[slot])(access, arguments...);
}

double* port(void* handle, void* access, int slot, int number) { return call<double*>(access, slot, handle, number); }

/// The index of a port's first value among the reals.
std::string at(void* handle, void* access, int slot, int number) {
    double* reals = *reinterpret_cast<double**>(static_cast<char*>(handle) + 40);
    return "@" + std::to_string(port(handle, access, slot, number) - reals);
}

std::string text(double number) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, " %g", number);
    return buffer;
}

void play(int entry, void* handle, void* access, const std::string& line) {
    const auto& script = *reinterpret_cast<SolverScript*>(std::strtoull(std::getenv(scriptVariable), nullptr, 16));
    script.record(line.c_str());
    if (script.report[entry] != 0) call<void>(access, message, handle, "100%s of it\n", script.report[entry] - 10);
    if (script.raise[entry] == 1) throw std::runtime_error("solver");
    if (script.raise[entry] == 2) throw 7;
    if (script.raise[entry] == 3) throw OwnException();
}

} // namespace

extern "C" {

[[gnu::visibility("default")]] void blkTerminate(void* handle, void* access, double time) {
    play(3, handle, access, "terminate" + text(time));
}

[[gnu::visibility("default")]] void blkDepositPlantInput(void* handle, int flag, void* access, double time) {
    std::string line = "deposit" + text(flag) + text(time) + ":";
    for (int i = 0; i < call<int>(access, nInputs, handle); ++i)
        for (int k = 0; k < call<int>(access, inputWidth, handle, i); ++k)
            line += text(port(handle, access, inputs, i)[k]);
    play(1, handle, access, line);
}

[[gnu::visibility("default")]] void blkRequestPlantOutput(void* handle, void* access, double time) {
    for (int i = 0; i < call<int>(access, nOutputs, handle); ++i)
        for (int k = 0; k < call<int>(access, outputWidth, handle, i); ++k)
            for (const auto& [slot, offset] : {std::pair(outputs, 0.0), {dots, 100.0}, {dotDots, 200.0}})
                port(handle, access, slot, i)[k] = offset + time + 10 * i + k;
    play(2, handle, access, "request" + text(time));
}

[[gnu::visibility("default")]] void blkStart(void* handle, void* access) {
    std::string line = "start";
    for (int slot = 0; slot < 4; ++slot) // model file, result file, additional library, address
        line += " " + std::string(call<char*>(access, slot, handle)) + ";";
    line += text(call<double>(access, finalTime, handle)) + "; in";
    for (int i = 0; i < call<int>(access, nInputs, handle); ++i)
        line += text(call<int>(access, inputWidth, handle, i)) + at(handle, access, inputs, i);
    line += "; out";
    for (int i = 0; i < call<int>(access, nOutputs, handle); ++i)
        line += text(call<int>(access, outputWidth, handle, i)) + at(handle, access, outputs, i) +
                at(handle, access, dots, i) + at(handle, access, dotDots, i);
    call<void>(access, inputLabel, handle, 0, "label");
    call<void>(access, outputLabel, handle, 0, "label");
    char* address = nullptr;
    int number = 0, addressStatus = 0, portStatus = 0;
    call<void>(access, serverAddress, handle, &address, &addressStatus);
    call<void>(access, serverPort, handle, &number, &portStatus);
    line += "; '" + std::string(address) + "'" + text(addressStatus) + text(number) + text(portStatus) + "; ";
    const void* const entries[] = {reinterpret_cast<void*>(blkStart), reinterpret_cast<void*>(blkRequestPlantOutput),
                                   reinterpret_cast<void*>(blkDepositPlantInput),
                                   reinterpret_cast<void*>(blkTerminate)};
    const bool known = std::memcmp(static_cast<char*>(access) + 16, entries, sizeof entries) == 0; // as members
    line += std::to_string(known && call<bool>(access, isLoaded)) + std::to_string(call<int>(access, errorCode));
    play(0, handle, access, line);
}

} // extern "C"
