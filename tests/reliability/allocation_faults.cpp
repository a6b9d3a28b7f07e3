// Fails each allocation of a whole co-simulation in turn, once or from then on: the master's, or the process heap's.
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <utility>

#include "tests/reliability/small_master.h"

using namespace small_master;

namespace {

/// The process heap's allocations, counted from 1 outside of the master's functions; none is counted while 0.
std::size_t nHeap = 0, heapFailFrom = 0, heapFailTo = 0;
std::atomic<long> nHeapBlocks{0}; ///< in use, the master's own among them

void* counted(void* block) {
    if (block != nullptr) ++nHeapBlocks;
    return block;
}

bool heapFails() {
    if (heapFailFrom == 0 || inMaster) return false;
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

struct Outcome {
    bool instantiated = false, initialized = false, finished = false;
    bool whole() const { return instantiated && initialized && finished; }
};

/// One co-simulation from instantiation to release, whatever fails on the way; most of it is called even on a dead
/// handle.
Outcome simulate(const FmuFiles& files) {
    Outcome outcome;
    const fmi2ValueReference strings[] = {0, 1}, reals[] = {0, 1, 2};
    const fmi2String texts[] = {"result", "a text"};
    double values[] = {0.25, 0.5, 0.75};
    fmi2Component c = fmi2Instantiate("unit", fmi2CoSimulation, "{guid}", files.location.c_str(), &callbacks, 0, 1);
    outcome.instantiated = c != nullptr;
    const bool set = fmi2SetString(c, strings, 2, texts) == fmi2OK && fmi2SetReal(c, reals, 3, values) == fmi2OK;
    if (c != nullptr && !set) fmi2Reset(c);
    outcome.initialized = fmi2EnterInitializationMode(c) == fmi2OK && fmi2ExitInitializationMode(c) == fmi2OK;
    outcome.finished = set;
    for (int step = 0; step < 3; ++step)
        outcome.finished = fmi2DoStep(c, step, 1, fmi2True) == fmi2OK && fmi2GetReal(c, reals, 3, values) == fmi2OK &&
                           fmi2SetString(c, strings, 2, texts) == fmi2OK && outcome.finished;
    fmi2Terminate(c);
    fmi2FreeInstance(c);
    return outcome;
}

struct Figures {
    int nFaults = 0, nRefused = 0, nSilent = 0;
};

/// One run with faults, and a clean one. False when the run is over before the fault.
template <typename Arm, typename Disarm>
bool tryFault(const FmuFiles& files, bool modelThere, Figures& figures, const Arm& arm, const Disarm& disarm) {
    const fs::path model = files.resources / "Model.xml", directory = fs::current_path();
    modelThere ? writeFile(model, "by hand") : static_cast<void>(fs::remove(model));
    const std::size_t nDescriptors = countDescriptors();
    heard.clear();
    arm();
    const Outcome outcome = simulate(files);
    const bool reached = disarm();
    requireNothingLeft(nDescriptors, directory);
    require(!fs::exists("Model.csv"), "another folder's model was generated");
    require(!modelThere || contentOf(model) == "by hand", "the model file was replaced");
    if (!reached) require(outcome.whole(), "a run without a fault failed");
    figures.nFaults += reached;
    figures.nRefused += !outcome.whole();
    const bool told = std::any_of(heard.begin(), heard.end(), [](const auto& line) { return line[0] == '3'; });
    figures.nSilent += !outcome.whole() && !told;
    if (!modelThere) fs::remove(model);
    require(simulate(files).whole(), "the next instance does not work");
    require(fs::exists(model), "the next instance has no model file");
    return reached;
}

/// All faults of a kind, a second time: what is in use afterwards must be what was in use before.
template <typename Try>
void tryAll(const char* name, const Try& tryOne) {
    for (const auto& [mode, nFailing] : {std::pair("one", 1UL), {"all from one on", UINT_MAX + 0UL}})
        for (const bool modelThere : {false, true}) {
            long nBefore = 0;
            Figures figures;
            for (int round = 0; round < 2; ++round) {
                heard = {}, nBefore = nHeapBlocks;
                figures = {};
                for (std::size_t n = 1; tryOne(n, n + nFailing, modelThere, figures);) ++n;
            }
            heard = {};
            const long nLost = nHeapBlocks - nBefore;
            std::printf("%s, %s, model file %s: %d faults, %d runs refused (%d without an error message), %ld blocks "
                        "lost\n",
                        name, mode, modelThere ? "there" : "generated", figures.nFaults, figures.nRefused,
                        figures.nSilent, nLost);
            require(nLost == 0, "memory is lost");
        }
}

} // namespace

int main() {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const FmuFiles files;
    enterInstallation(files);
    recording = true;
    // The master works among the resources of another FMU, which is none of this one's business.
    writeFile(files.folder.path / "other/modelDescription.xml", "modelName=\"Model\"");
    writeFile(files.folder.path / "other/resources/Model.mdl", "template");
    fs::current_path(files.folder.path / "other/resources");
    for (int i = 0; i < 70; ++i) simulate(files); // until as many streams are held open as ever will be

    tryAll("allocateMemory", [&files](std::size_t from, std::size_t to, bool modelThere, Figures& figures) {
        return tryFault(
            files, modelThere, figures, [&] { nAllocations = 0, failFrom = from, failTo = to; },
            [&] { return failTo = 0, nAllocations >= from; });
    });
    tryAll("process heap", [&files](std::size_t from, std::size_t to, bool modelThere, Figures& figures) {
        return tryFault(
            files, modelThere, figures, [&] { nHeap = 0, heapFailTo = to, heapFailFrom = from; },
            [&] { return heapFailFrom = 0, nHeap >= from; });
    });
}
