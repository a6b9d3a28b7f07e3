#include "tool/doctor/solver/session.h"

#include <chrono>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <system_error>
#include <typeinfo>

#include <cxxabi.h>
#include <dlfcn.h>
#include <fmt/format.h>

#include "tool/doctor/solver/recording_access.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr const char* startName = "blkStart";
constexpr const char* depositName = "blkDepositPlantInput";
constexpr const char* requestName = "blkRequestPlantOutput";
constexpr const char* terminateName = "blkTerminate";

template <typename Function>
void resolve(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
}

/// The class of the exception that is being handled.
std::string exceptionType() {
    const std::type_info* type = abi::__cxa_current_exception_type();
    if (type == nullptr) return "unknown type";
    const MallocText name(abi::__cxa_demangle(type->name(), nullptr, nullptr, nullptr));
    return name != nullptr ? name.get() : type->name();
}

class Session {
public:
    Session(const SessionPlan& plan, SessionReport& report, const EntryPoints& entryPoints)
        : plan_(plan), report_(report), entryPoints_(entryPoints),
          instance_(plan.shape, plan.resources, plan.resultFile, plan.orders), access_(instance_, report, entryPoints) {
    }

    void run() {
        if (!start()) return;
        for (int i = 0; i < nSessionSteps; ++i)
            if (!step(i + 1 < nSessionSteps ? plan_.stepSize : plan_.stepSize / 2)) return;
        if (!deposit(0, " for time 0, as at the end of a run")) return;
        enter(terminateName, "", [&] { entryPoints_.terminate(handle(), &access_, instance_.record().time); });
    }

private:
    void* handle() { return &instance_.record(); }

    bool start() {
        if (!enter(startName, "", [&] { entryPoints_.start(handle(), &access_); })) return false;
        instance_.record().state = stateStepComplete;
        instance_.record().plant = &access_;
        return true;
    }

    bool deposit(double time, const std::string& remark) {
        return enter(depositName, remark, [&] { entryPoints_.deposit(handle(), 1, &access_, time); });
    }

    bool step(double size) {
        const double time = instance_.record().time;
        const double end = time + size;
        if (!deposit(time, fmt::format(" at {} s", time))) return false;
        if (!enter(requestName, fmt::format(" for {} s", end), [&] { entryPoints_.request(handle(), &access_, end); }))
            return false;
        instance_.record().time = end;
        report_.step();
        return true;
    }

    /// One call of an entry point under watch; false when the run is over after it.
    template <typename Call>
    bool enter(const char* name, const std::string& remark, const Call& call) {
        report_.begin(name + remark);
        instance_.mark();
        access_.setEntryPoint(name);
        const bool completed = completes(name, call) && access_.getErrorCode() == 0;
        access_.setEntryPoint(nullptr);
        report_.begin("");

        const bool isStart = name == startName;
        if (completed && (isStart || name == requestName)) instance_.reportOmissions(name, isStart, report_);
        instance_.reportWrites(name, report_);
        return completed;
    }

    template <typename Call>
    bool completes(const char* name, const Call& call) {
        try {
            call();
            return true;
        } catch (const std::exception& error) {
            report_.add("solver-exception",
                        fmt::format("{} throws an exception, {}: {}", name, exceptionType(), error.what()));
        } catch (...) {
            report_.add("solver-exception", fmt::format("{} throws an exception, {}.", name, exceptionType()));
        }
        return false;
    }

    const SessionPlan& plan_;
    SessionReport& report_;
    EntryPoints entryPoints_;
    WatchedInstance instance_;
    RecordingAccess access_;
};

/// A thread that has ended may be seen for a moment still.
bool hasOtherThreads() {
    for (int patience = 50; patience > 0; --patience) {
        std::error_code ignored;
        const fs::directory_iterator threads("/proc/self/task", ignored);
        if (std::distance(fs::begin(threads), fs::end(threads)) <= 1) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

} // namespace

void runSession(const SessionPlan& plan, SessionReport& report) {
    report.begin("loading");
    void* library = dlopen(plan.library.c_str(), RTLD_LAZY | RTLD_DEEPBIND);
    if (library == nullptr) return;
    EntryPoints entryPoints;
    resolve(library, startName, entryPoints.start);
    resolve(library, requestName, entryPoints.request);
    resolve(library, depositName, entryPoints.deposit);
    resolve(library, terminateName, entryPoints.terminate);

    const auto session = std::make_unique<Session>(plan, report, entryPoints);
    session->run();
    if (hasOtherThreads()) report.add("thread-left", "A thread of the solver is still there when the run is over.");

    report.begin("unloading the library");
    dlclose(library);
    report.begin("");
    report.end();
}

} // namespace tool
