// Instances of one library on eight threads. A program of its own, which the preset "thread" runs with ThreadSanitizer.
#include <atomic>
#include <barrier>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "fmi/fmi2.h"
#include "fmi/instance/fmu_instance.h"
#include "resources/model_generation.h"
#include "resources/parameter_files.h"
#include "tests/tools/test_bed.h"

// Takes the place of the C library's: the sanitizers refuse RTLD_DEEPBIND.
extern "C" [[gnu::visibility("default")]] void* dlopen(const char* file, int mode) noexcept {
    const auto open = reinterpret_cast<void* (*)(const char*, int)>(dlsym(RTLD_NEXT, "dlopen"));
    return open(file, mode & ~RTLD_DEEPBIND);
}

namespace {

constexpr int nThreads = 8, nRounds = 5;

/// Where threads wait for each other: all of them after each phase of a life, and one half of them in the middle of an
/// instantiation, before the parameter files are read. The two halves are in different phases.
std::barrier<> phaseEnd(nThreads);
std::barrier<> halfInstantiates[] = {std::barrier<>(nThreads / 2), std::barrier<>(nThreads / 2)};
thread_local int half = 0;

std::atomic<int> nErrors{0};

/// Takes messages. The only warning is that of a directory, in the middle of an instantiation.
void take(fmi2ComponentEnvironment, fmi2String, fmi2Status status, fmi2String, fmi2String, ...) {
    if (status == fmi2Warning)
        halfInstantiates[half].arrive_and_wait();
    else
        ++nErrors;
}

const fmi2CallbackFunctions callbacks{take, std::calloc, std::free, nullptr, nullptr};

/// What the solver of the start on this thread found in the value file.
thread_local std::string startedWith;

class Threads : public testing::Test, protected TestBed {
protected:
    Threads() {
        commonDirectory.set("/elsewhere");
        files.make();
        solver.record = [](const std::string&) {};
        solver.during(Entry::start).run([this](void*, TScicosAccessAPI2&) {
            startedWith = contentOf(files.resources / "Model.csv");
            fs::remove(files.resources / "Model.xml");
        });
    }

    /// Ends the program, since the other threads would wait for ever.
    static void require(bool succeeded) {
        if (!succeeded) throw std::runtime_error("an instance does not start");
    }

    /// One life of an instance in three phases: instantiation, a run, after a reset another run with another value.
    void live(double value) {
        const fmi2Component instance =
            fmi2Instantiate("unit", fmi2CoSimulation, "g", files.location.c_str(), &callbacks, fmi2False, fmi2True);
        require(instance != nullptr);
        phaseEnd.arrive_and_wait();
        run(instance, value);
        phaseEnd.arrive_and_wait();
        EXPECT_EQ(fmi2Reset(instance), fmi2OK);
        run(instance, value + 0.5);
        fmi2FreeInstance(instance);
        phaseEnd.arrive_and_wait();
    }

    void run(fmi2Component instance, double value) {
        const fmi2ValueReference set = 18, read = 3;
        double output = 0;
        EXPECT_EQ(fmi2SetReal(instance, &set, 1, &value), fmi2OK);
        require(fmi2EnterInitializationMode(instance) == fmi2OK);
        EXPECT_EQ(startedWith, "r18, " + std::to_string(value) + "\n");
        EXPECT_EQ(fmi2ExitInitializationMode(instance), fmi2OK);
        for (int step = 0; step < 10; ++step) EXPECT_EQ(fmi2DoStep(instance, value + step, 1, fmi2True), fmi2OK);
        EXPECT_EQ(fmi2GetReal(instance, &read, 1, &output), fmi2OK);
        EXPECT_EQ(output, value + 10);
    }

    template <typename Work>
    static void onThreads(const Work& work) {
        std::vector<std::thread> threads;
        for (int i = 0; i < nThreads; ++i) threads.emplace_back([&work, i] { work(i); });
        for (std::thread& thread : threads) thread.join();
    }
};

} // namespace

TEST_F(Threads, InstancesInOneFolderLiveAtOnceAndGetTheirOwnValues) {
    onThreads([this](int i) {
        half = i % 2;
        if (half == 1) phaseEnd.arrive_and_wait();
        for (int round = 0; round < nRounds; ++round) live(100 * i + round);
        if (half == 0) phaseEnd.arrive_and_wait();
    });
    EXPECT_EQ(nErrors, 0);
    EXPECT_EQ(fs::current_path(), directory);
}

TEST_F(Threads, ModelFilesOfSeveralFoldersAreGeneratedAtOnce) {
    const FmuFiles folders[nThreads];
    onThreads([&](int i) {
        const FmuFiles& own = folders[i];
        own.make();
        const fmi2Component instance =
            fmi2Instantiate("unit", fmi2CoSimulation, "g", own.location.c_str(), &callbacks, fmi2False, fmi2False);
        const fmi2ValueReference vr = 0;
        const double value = i;
        EXPECT_EQ(fmi2SetReal(instance, &vr, 1, &value), fmi2OK);
        phaseEnd.arrive_and_wait();
        EXPECT_EQ(fmu_generate_xml(own.location.c_str(), static_cast<FmuInstance*>(instance)), 0);
        EXPECT_EQ(contentOf(own.resources / "Model.csv"), "r0, " + std::to_string(value) + "\n");
        fmi2FreeInstance(instance);
    });
}

TEST_F(Threads, ParameterFilesAreReadAtOnce) {
    onThreads([&](int) {
        for (int n = 0; n < 100; ++n) {
            FmuParRecord record;
            EXPECT_EQ(fread_par((files.resources / "fmu2ts.par").c_str(), &record), 2);
        }
    });
}
