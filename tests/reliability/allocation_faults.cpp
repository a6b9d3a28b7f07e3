// Fails each allocation of a whole co-simulation in turn, once or from then on: the master's, or the process heap's.
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <functional>

#include "tests/reliability/trial.h"

namespace {

/// The process heap's allocations, counted from 1 outside of the master's functions; none is counted while 0.
std::size_t nHeap = 0, heapFailFrom = 0, heapFailTo = 0;
std::atomic<long> nHeapBlocks{0}; ///< in use, the master's own among them

void* counted(void* block) {
    if (block != nullptr) ++nHeapBlocks;
    return block;
}

bool heapFails() {
    if (heapFailFrom == 0 || Master::inside) return false;
    ++nHeap;
    const bool fails = nHeap >= heapFailFrom && nHeap < heapFailTo;
    if (fails) errno = ENOMEM;
    return fails;
}

} // namespace

// These take the place of the C library's, except in libraries opened with RTLD_DEEPBIND.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);

void __libc_free(void* block);

void* malloc(std::size_t size) { return heapFails() ? nullptr : counted(__libc_malloc(size)); }
void* calloc(std::size_t count, std::size_t size) {
    return heapFails() ? nullptr : counted(__libc_calloc(count, size));
}
void* realloc(void* block, std::size_t size) {
    if (heapFails()) return nullptr;
    void* moved = __libc_realloc(block, size);
    return block == nullptr ? counted(moved) : moved;
}
void free(void* block) {
    if (block != nullptr) --nHeapBlocks;
    __libc_free(block);
}
}

namespace {

/// One co-simulation from instantiation to release, whatever fails on the way; most of it is called even on a dead
/// handle. True when nothing failed.
bool simulate(Trial& trial) {
    const fmi2ValueReference strings[] = {0, 1}, reals[] = {0, 1, 2};
    const fmi2String texts[] = {"result", "a text"};
    double values[] = {0.25, 0.5, 0.75};
    fmi2Component c = trial.instantiate();
    bool whole = fmi2SetString(c, strings, 2, texts) == fmi2OK;
    whole &= fmi2Reset(c) == fmi2OK;
    whole &= fmi2SetReal(c, reals, 3, values) == fmi2OK;
    if (c != nullptr && !whole) fmi2Reset(c);
    whole &= fmi2EnterInitializationMode(c) == fmi2OK;
    whole &= fmi2ExitInitializationMode(c) == fmi2OK;
    for (int step = 0; step < 3; ++step) {
        whole &= fmi2DoStep(c, step, 1, fmi2True) == fmi2OK;
        whole &= fmi2GetReal(c, reals, 3, values) == fmi2OK;
        whole &= fmi2SetString(c, strings, 2, texts) == fmi2OK;
    }
    fmi2Terminate(c);
    fmi2FreeInstance(c);
    return whole;
}

/// The kind of allocations that fail.
struct Kind {
    const char* name;
    std::function<void(std::size_t from, std::size_t count)> arm;
    std::function<std::size_t()> disarm; ///< gives how many there were
};

/// One run in which the n-th allocation fails, and a clean one. False when the run is over before.
bool tryFault(Trial& trial, const Kind& kind, std::size_t n, std::size_t count, bool modelThere, int& nSilent) {
    const fs::path model = trial.files.resources / "Model.xml";
    modelThere ? writeFile(model, "by hand") : static_cast<void>(fs::remove(model));
    trial.master.takeEvents();
    kind.arm(n, count);
    const bool whole = simulate(trial), reached = kind.disarm() >= n;
    trial.requireNothingLeft();
    require(!fs::exists("Model.csv"), "another folder's model was generated");
    require(!modelThere || contentOf(model) == "by hand", "the model file was replaced");
    require(reached || whole, "a run without a fault failed");
    const auto events = trial.master.takeEvents();
    const auto isError = [](const std::string& event) { return event.starts_with("error"); };
    nSilent += !whole && std::none_of(events.begin(), events.end(), isError);
    if (!modelThere) fs::remove(model);
    require(simulate(trial), "the next instance does not work");
    require(fs::exists(model), "the next instance has no model file");
    trial.master.takeMemoryCalls();
    return reached;
}

/// All faults of a kind, a second time: what is in use afterwards must be what was in use before.
void tryAll(Trial& trial, const Kind& kind) {
    for (const std::size_t count : {1U, UINT_MAX})
        for (const bool modelThere : {false, true}) {
            long nBefore = 0;
            int nSilent = 0;
            std::size_t n = 1;
            for (int round = 0; round < 2; ++round) {
                trial.master.takeEvents();
                nBefore = nHeapBlocks;
                for (n = 1, nSilent = 0; tryFault(trial, kind, n, count, modelThere, nSilent);) ++n;
            }
            trial.master.takeEvents();
            const long nLost = nHeapBlocks - nBefore;
            std::printf("%s, %s, model file %s: %zu faults, %d without an error message, %ld blocks lost\n", kind.name,
                        count == 1 ? "one" : "all from one on", modelThere ? "there" : "generated", n - 1, nSilent,
                        nLost);
            require(nLost == 0, "memory is lost");
        }
}

} // namespace

int main() {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    Trial trial;
    trial.master.recording = true;
    // The master works among the resources of another FMU, which is none of this one's business.
    const fs::path other = trial.files.folder.path / "other/resources";
    writeFile(other / "../modelDescription.xml", "modelName=\"Model\"");
    writeFile(other / "Model.mdl", "template");
    fs::current_path(other);
    trial.directory = other;
    for (int i = 0; i < 70; ++i) simulate(trial); // until as many streams are held open as ever will be

    std::size_t nBefore = 0;
    Master& master = trial.master;
    tryAll(trial, {"allocateMemory",
                   [&](std::size_t from, std::size_t count) {
                       nBefore = master.nAllocations();
                       master.failAllocation(from, count);
                   },
                   [&] { return master.failNoAllocation(), master.nAllocations() - nBefore; }});
    tryAll(trial,
           {"process heap",
            [](std::size_t from, std::size_t count) { nHeap = 0, heapFailTo = from + count, heapFailFrom = from; },
            [] { return heapFailFrom = 0, nHeap; }});
}
