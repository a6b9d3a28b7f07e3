// What a start of the solver does to the process and to others that start from the same folder: the working directory,
// the lock on the folder, signals.
#include <atomic>
#include <chrono>
#include <csignal>
#include <future>
#include <sstream>
#include <thread>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include "resources/model_generation.h"
#include "tests/tools/fmu_test.h"

using testing::ElementsAre;
using testing::StartsWith;

namespace {

/// An open file description of a folder, and with it a holder of locks.
class FolderDescriptor {
public:
    explicit FolderDescriptor(const fs::path& folder) : descriptor_(open(folder.c_str(), O_RDONLY | O_CLOEXEC)) {}
    ~FolderDescriptor() { close(descriptor_); }
    FolderDescriptor(const FolderDescriptor&) = delete;
    FolderDescriptor& operator=(const FolderDescriptor&) = delete;

    bool tryToLock() const { return flock(descriptor_, LOCK_EX | LOCK_NB) == 0; }
    void unlock() const { flock(descriptor_, LOCK_UN); }

private:
    const int descriptor_;
};

class Starting : public FmuTest {
protected:
    bool isLocked() const { return !FolderDescriptor(files.resources).tryToLock(); }

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

    const std::string notGenerated = setUpError("fmi2EnterInitializationMode: xml model not generated with fmu_batch "
                                                "call, wrong Environment variable KORVAN_FMU_ROOT defined?");
};

/// What a master calls in a library of a path.
class Calls {
public:
    explicit Calls(const std::string& path) : library_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {}
    ~Calls() { dlclose(library_); }
    Calls(const Calls&) = delete;
    Calls& operator=(const Calls&) = delete;

    template <typename Function>
    Function* find(Function*, const char* name) const {
        return reinterpret_cast<Function*>(dlsym(library_, name));
    }

private:
    void* const library_;

public:
    decltype(&fmi2Instantiate) instantiate = find(fmi2Instantiate, "fmi2Instantiate");
    decltype(&fmi2SetReal) setReal = find(fmi2SetReal, "fmi2SetReal");
    decltype(&fmi2EnterInitializationMode) enterInitializationMode =
        find(fmi2EnterInitializationMode, "fmi2EnterInitializationMode");
    decltype(&fmi2FreeInstance) freeInstance = find(fmi2FreeInstance, "fmi2FreeInstance");
};

/// Whether a thread of this process waits for a lock.
bool isWaitingForALock() {
    std::istringstream locks(contentOf("/proc/locks"));
    const std::string self = " " + std::to_string(getpid()) + " ";
    for (std::string line; std::getline(locks, line);)
        if (line.find("-> FLOCK") != std::string::npos && line.find(self) != std::string::npos) return true;
    return false;
}

/// How a signal is handled; as before at the end of the scope.
class SignalAction {
public:
    SignalAction(int number, void (*handler)(int)) : number_(number) {
        struct sigaction action {};
        action.sa_handler = handler;
        sigaction(number, &action, &former_);
    }
    ~SignalAction() { sigaction(number_, &former_, nullptr); }
    SignalAction(const SignalAction&) = delete;
    SignalAction& operator=(const SignalAction&) = delete;

    void (*current() const)(int) {
        struct sigaction action {};
        sigaction(number_, nullptr, &action);
        return action.sa_handler;
    }

private:
    const int number_;
    struct sigaction former_ {};
};

void reapChildren(int) {
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
}

std::atomic<int> nInterrupts{0};
void countInterrupt(int) { ++nInterrupts; }

} // namespace

TEST_F(Starting, TheWorkingDirectoryStaysWhileTheTranslatorRunsInTheResources) {
    instantiate();
    letTranslatorWait(files);
    std::future<fmi2Status> entered = enterOnAnotherThread();
    EXPECT_TRUE(waitFor([this] { return fs::exists(files.resources / "running"); }));
    EXPECT_EQ(fs::current_path(), directory);
    writeFile(files.resources / "go", "");
    EXPECT_EQ(entered.get(), fmi2OK);
}

TEST_F(Starting, TheFolderIsLockedUntilTheSolverHasStartedOrFailed) {
    const auto locked = [this](const Behaviour& behaviour) {
        bool isLockedDuringStart = false;
        instantiate();
        solver.during(Entry::start) = behaviour;
        const auto action = behaviour.action;
        solver.during(Entry::start).run([&, action](void* handle, TScicosAccessAPI2& access) {
            isLockedDuringStart = isLocked();
            if (action) action(handle, access);
        });
        enterInitialization();
        events();
        EXPECT_FALSE(isLocked());
        if (!isReleased()) release();
        return isLockedDuringStart;
    };
    EXPECT_TRUE(locked(Behaviour()));
    EXPECT_TRUE(locked(Behaviour().report(error, "no")));
    EXPECT_TRUE(locked(Behaviour().raise(Thrown::ownClass)));
    pid_t child = 0;
    EXPECT_TRUE(locked(Behaviour().run([&](void*, TScicosAccessAPI2&) {
        child = fork();
        if (child == 0) {
            pause();
            _exit(0);
        }
    }))) << "a process that the solver leaves behind has all descriptors";
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}

TEST_F(Starting, TheFolderIsFreeAfterAFailedTranslationAndWhileItsProcessesGoOn) {
    for (const char* commands : {"exit 1", "sleep 2 >/dev/null 2>&1 & cp $1 Model.xml"}) {
        instantiate();
        files.translateBy(commands);
        enterInitialization();
        EXPECT_FALSE(isLocked()) << commands;
        release();
    }
    EXPECT_THAT(events(), ElementsAre(notGenerated, "start", "terminate at 0"));
}

TEST_F(Starting, WaitsForOthersThatStartFromTheSameFolder) {
    instantiate();
    std::atomic<bool> isStarted = false;
    solver.during(Entry::start).run([&](void*, TScicosAccessAPI2&) { isStarted = true; });
    const FolderDescriptor other(files.resources);
    ASSERT_TRUE(other.tryToLock());
    std::future<fmi2Status> entered = enterOnAnotherThread();
    EXPECT_TRUE(waitFor([&] { return isStarted || isWaitingForALock(); }));
    EXPECT_FALSE(isStarted);
    EXPECT_THAT(files.added(), testing::IsEmpty());
    other.unlock();
    EXPECT_EQ(entered.get(), fmi2OK);
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

TEST_F(Starting, AFolderThatMayNotBeReadServesButOneThatMayNotBeEnteredDoesNot) {
    instantiate();
    writeFile(files.resources / "Model.xml", "by hand");
    const auto generateWith = [&](fs::perms permissions) {
        fs::permissions(files.resources, permissions);
        const int result = withOwnersPermissions([&] { return fmu_generate_xml(files.location.c_str(), &record()); });
        fs::permissions(files.resources, fs::perms(0755));
        return result;
    };
    EXPECT_EQ(generateWith(fs::perms(0111)), 0);
    EXPECT_EQ(generateWith(fs::perms(0444)), -1);
    EXPECT_THAT(events(), ElementsAre(setUpError("fmi2EnterInitializationMode: Unable to read [" +
                                                 files.resources.string() + ": Permission denied].")));
}

TEST_F(Starting, TheTranslatorsEndIsWaitedForWhateverTheMasterDoesAboutItsChildren) {
    const auto enterWith = [this](void (*handler)(int)) {
        const SignalAction children(SIGCHLD, handler);
        instantiate();
        files.translateBy("sleep 0.2; cp $1 Model.xml");
        const fmi2Status result = enterInitialization();
        release();
        return result;
    };
    std::atomic<bool> isOver = false;
    std::thread reaper([&] { waitFor([&] { return isOver.load(); }); }); // receives the signal, too
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

TEST_F(Starting, AnInterruptDuringTheTranslationConcernsTheTranslatorOnly) {
    const SignalAction interrupt(SIGINT, countInterrupt);
    instantiate();
    files.translateBy("kill -INT " + std::to_string(getpid()) + "; cp $1 Model.xml");
    EXPECT_EQ(enterInitialization(), fmi2OK);
    EXPECT_EQ(nInterrupts, 0);
    EXPECT_EQ(interrupt.current(), countInterrupt);
    release();
    instantiate();
    files.translateBy("kill -INT $$; cp $1 Model.xml");
    EXPECT_EQ(enterInitialization(), fmi2Error);
    EXPECT_THAT(events(), ElementsAre("start", "terminate at 0", notGenerated));
}

TEST_F(Starting, TwoFmusOnTwoThreadsDoNotMoveEachOtherWhetherTheyShareALibraryOrNot) {
    for (const bool shared : {true, false}) {
        SCOPED_TRACE(shared ? "one library" : "a copy of the library for each");
        const SignalAction interrupt(SIGINT, countInterrupt);
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
        const Calls calls(shared ? TESSARO_LIBRARY : otherFiles.folder.path / "copy.so");
        root.set(otherFiles.root);
        const fmi2Component second =
            calls.instantiate("unit", type, "g", otherFiles.location.c_str(), &master.callbacks, 0, fmi2False);
        ASSERT_NE(second, nullptr);
        const double value = 2;
        const fmi2ValueReference vr = 0;
        calls.setReal(second, &vr, 1, &value);
        std::future<fmi2Status> secondEntered =
            std::async(std::launch::async, [&] { return calls.enterInitializationMode(second); });
        EXPECT_TRUE(waitFor([&] { return fs::exists(otherFiles.resources / "running"); }));
        writeFile(files.resources / "go", "");
        EXPECT_EQ(entered.get(), fmi2OK);
        if (shared) raise(SIGINT);
        EXPECT_EQ(nInterrupts, 0) << "a translator is still running";
        writeFile(otherFiles.resources / "go", "");
        EXPECT_EQ(secondEntered.get(), fmi2OK);
        EXPECT_EQ(interrupt.current(), countInterrupt);
        EXPECT_EQ(fs::current_path(), directory);
        EXPECT_EQ(contentOf(files.resources / "Model.csv"), "r0, 1.000000\n");
        EXPECT_EQ(contentOf(otherFiles.resources / "Model.csv"), "r0, 2.000000\n");
        calls.freeInstance(second);
        release();
    }
}
