// What a start of the solver does to the process and to others that start from the same folder: the working directory,
// the lock on the folder, signals.
#include <atomic>
#include <chrono>
#include <csignal>
#include <future>
#include <thread>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include "resources/model_generation.h"
#include "tests/tools/fmu_test.h"

using testing::ElementsAre;

namespace {

class Starting : public FmuTest {
protected:
    bool isLocked() const {
        const int folder = open(files.resources.c_str(), O_RDONLY | O_CLOEXEC);
        const bool isFree = flock(folder, LOCK_EX | LOCK_NB) == 0;
        close(folder);
        return !isFree;
    }

    std::future<fmi2Status> enterOnAnotherThread() {
        return std::async(std::launch::async, [this] { return enterInitialization(); });
    }

    /// Waits, ten seconds at most.
    static bool waitFor(const std::function<bool()>& condition) {
        for (int n = 0; n < 1000 && !condition(); ++n) std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return condition();
    }

    /// Makes the translator wait for the file "go", from when it has made the file "running" on.
    static void letTranslatorWait(const FmuFiles& ofFiles) {
        ofFiles.translateBy("touch running; while [ ! -e go ]; do sleep 0.01; done; cp $1 Model.xml");
    }
};

/// Handles a signal; as before at the end of the scope.
class SignalHandler {
public:
    SignalHandler(int number, void (*handler)(int)) : number_(number), former_(std::signal(number, handler)) {}
    ~SignalHandler() { std::signal(number_, former_); }
    SignalHandler(const SignalHandler&) = delete;
    SignalHandler& operator=(const SignalHandler&) = delete;

private:
    const int number_;
    void (*const former_)(int);
};

void reapChildren(int) {
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
}

std::atomic<int> nInterrupts{0};
void countInterrupt(int) { ++nInterrupts; }

} // namespace

TEST_F(Starting, TheFolderIsLockedUntilTheSolverHasStartedOrFailed) {
    for (const Behaviour& behaviour :
         {Behaviour(), Behaviour().report(error, "no"), Behaviour().raise(Thrown::ownClass)}) {
        bool isLockedDuringStart = false;
        pid_t child = 0;
        instantiate();
        solver.during(Entry::start) = behaviour;
        solver.during(Entry::start).run([&](void*, TScicosAccessAPI2&) {
            isLockedDuringStart = isLocked();
            child = fork();
            if (child == 0) {
                pause();
                _exit(0);
            }
        });
        enterInitialization();
        EXPECT_TRUE(isLockedDuringStart);
        EXPECT_FALSE(isLocked()) << "a process that outlives the solver has all descriptors";
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        if (!isReleased()) release();
    }
    events();
}

TEST_F(Starting, AStartWithinAStartDoesNotWaitForIt) {
    instantiate();
    fmi2Status inner = fmi2Error;
    int nStarts = 0;
    solver.during(Entry::start).run([&](void*, TScicosAccessAPI2&) {
        if (++nStarts != 1) return;
        const fmi2Component second =
            fmi2Instantiate("unit", type, "g", files.location.c_str(), &master.callbacks, 0, loggingOn);
        inner = fmi2EnterInitializationMode(second);
        fmi2FreeInstance(second);
    });
    EXPECT_EQ(enterInitialization(), fmi2OK);
    EXPECT_EQ(inner, fmi2OK);
}

TEST_F(Starting, AFolderThatMayNotBeReadOrWrittenServesButOneThatMayNotBeEnteredDoesNot) {
    instantiate();
    writeFile(files.resources / "Model.xml", "by hand");
    const auto generateWith = [&](fs::perms permissions) {
        fs::permissions(files.resources, permissions);
        const int result = withOwnersPermissions([&] { return fmu_generate_xml(files.location.c_str(), &record()); });
        fs::permissions(files.resources, fs::perms(0755));
        return result;
    };
    EXPECT_EQ(generateWith(fs::perms(0111)), 0);
    EXPECT_EQ(generateWith(fs::perms(0555)), 0);
    EXPECT_EQ(generateWith(fs::perms(0444)), -1);
    EXPECT_THAT(events(),
                ElementsAre(startError("Unable to read [" + files.resources.string() + ": Permission denied].")));
}

TEST_F(Starting, TheTranslatorsEndIsWaitedForWhateverTheMasterDoesAboutItsChildren) {
    const auto enterWith = [this](void (*handler)(int)) {
        const SignalHandler children(SIGCHLD, handler);
        instantiate();
        files.translateBy("sleep 0.2; cp $1 Model.xml");
        const fmi2Status result = enterInitialization();
        release();
        return result;
    };
    std::atomic<bool> isOver = false;
    std::thread reaper([&] { waitFor([&] { return isOver.load(); }); }); // also receives the signal
    EXPECT_EQ(enterWith(SIG_IGN), fmi2OK);
    EXPECT_EQ(enterWith(reapChildren), fmi2OK);
    isOver = true;
    reaper.join();
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGCHLD);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    EXPECT_EQ(enterWith(SIG_DFL), fmi2OK);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

TEST_F(Starting, AnInterruptEndsTheTranslator) {
    const SignalHandler interrupt(SIGINT, countInterrupt);
    instantiate();
    files.translateBy("kill -INT $$; cp $1 Model.xml");
    EXPECT_EQ(enterInitialization(), fmi2Error);
    EXPECT_THAT(events(), ElementsAre(notGenerated));
}

TEST_F(Starting, TwoFmusOnTwoThreadsDoNotMoveEachOtherWhetherTheyShareALibraryOrNot) {
    for (const bool shared : {true, false}) {
        SCOPED_TRACE(shared ? "one library" : "a copy of the library for each");
        const SignalHandler interrupt(SIGINT, countInterrupt);
        root.set(files.root);
        instantiate();
        letTranslatorWait(files);
        setReals({0}, {1});
        std::future<fmi2Status> entered = enterOnAnotherThread();
        ASSERT_TRUE(waitFor([this] { return fs::exists(files.resources / "running"); }));

        // The other FMU is in the middle of its start when the first one finishes.
        FmuFiles otherFiles;
        otherFiles.make();
        letTranslatorWait(otherFiles);
        fs::copy(TESSARO_LIBRARY, otherFiles.folder.path / "copy.so");
        void* library = dlopen(shared ? TESSARO_LIBRARY : (otherFiles.folder.path / "copy.so").c_str(), RTLD_NOW);
        const auto find = [library](auto* function, const char* name) {
            return reinterpret_cast<decltype(function)>(dlsym(library, name));
        };
        root.set(otherFiles.root);
        const fmi2Component second = find(fmi2Instantiate, "fmi2Instantiate")(
            "unit", type, "g", otherFiles.location.c_str(), &master.callbacks, 0, fmi2False);
        ASSERT_NE(second, nullptr);
        const double value = 2;
        const fmi2ValueReference vr = 0;
        find(fmi2SetReal, "fmi2SetReal")(second, &vr, 1, &value);
        const auto enter = find(fmi2EnterInitializationMode, "fmi2EnterInitializationMode");
        std::future<fmi2Status> secondEntered = std::async(std::launch::async, enter, second);
        EXPECT_TRUE(waitFor([&] { return fs::exists(otherFiles.resources / "running"); }));
        EXPECT_EQ(fs::current_path(), directory) << "while both translators run";
        writeFile(files.resources / "go", "");
        EXPECT_EQ(entered.get(), fmi2OK);
        if (shared) raise(SIGINT);
        EXPECT_EQ(nInterrupts, 0) << "a translator is still running";
        writeFile(otherFiles.resources / "go", "");
        EXPECT_EQ(secondEntered.get(), fmi2OK);
        EXPECT_EQ(std::signal(SIGINT, SIG_DFL), countInterrupt) << "handled again";
        EXPECT_EQ(contentOf(files.resources / "Model.csv"), "r0, 1.000000\n");
        EXPECT_EQ(contentOf(otherFiles.resources / "Model.csv"), "r0, 2.000000\n");
        find(fmi2FreeInstance, "fmi2FreeInstance")(second);
        dlclose(library);
        release();
    }
}
