#include "tool/doctor/solver/session.h"

#include <cstdlib>
#include <typeinfo>

#include <cxxabi.h>
#include <fmt/format.h>

#include "tool/doctor/solver/process_state.h"
#include "tool/fmu/location.h"
#include "tool/os/files.h"
#include "tool/os/user_error.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

/// The class of the exception that is being handled.
std::string exceptionType() {
    const std::type_info* type = abi::__cxa_current_exception_type();
    if (type == nullptr) return "unknown type";
    const MallocText name(abi::__cxa_demangle(type->name(), nullptr, nullptr, nullptr));
    return name != nullptr ? name.get() : type->name();
}

/// Where the solver may write its results: nowhere but in the copies, one of which is the working directory.
std::string resultFileOf(const ShapeFile& shape, const fs::path& resources, const std::string& prefix) {
    const std::string name(shape.resultFile.value_or(""));
    const std::size_t slash = name.find_last_of("/\\");
    if (slash != std::string::npos) return "./" + prefix + name.substr(slash + 1);
    return encodedLocation(resources) + "/" + prefix + (name.empty() ? std::string(defaultResultFile) : name);
}

} // namespace

Session::Session(const SessionContext& context, const fs::path& resources, const std::string& resultPrefix)
    : context_(context), model_(resources / context.plan.modelFile),
      instance_(context.plan.shape, resources, resultFileOf(context.plan.shape, resources, resultPrefix),
                context.plan.orders) {}

bool Session::start() {
    if (!provideModel()) return false;
    instance_.reset();
    const EntryPoints& entryPoints = context_.library.entryPoints();
    auto& access = *accesses_.emplace_back(std::make_unique<RecordingAccess>(instance_, context_.report, entryPoints));
    if (!enter(startName, "", [&] { entryPoints.start(handle(), &access); })) return false;
    instance_.record().state = stateStepComplete;
    instance_.record().plant = &access;
    return true;
}

/// As the FMU has the translator make it, before each start that does not find it.
bool Session::provideModel() {
    if (isRegularFile(model_)) return true;
    try {
        writeNewFile(model_, context_.plan.model);
        return true;
    } catch (const UserError& error) {
        context_.report.add("model-not-made", error.what());
        return false;
    }
}

bool Session::step(double size) {
    const double time = instance_.record().time;
    const double end = time + size;
    if (!deposit(time, fmt::format(" at {:.9g} s", time))) return false;
    const auto request = [&] { context_.library.entryPoints().request(handle(), accesses_.back().get(), end); };
    if (!enter(requestName, fmt::format(" for {:.9g} s", end), request)) return false;
    instance_.record().time = end;
    return true;
}

bool Session::steps(int number) {
    for (int i = 0; i < number; ++i)
        if (!step(context_.plan.stepSize)) return false;
    return true;
}

bool Session::end() {
    if (!deposit(0, " for time 0, as at the end of a run")) return false;
    return enter(terminateName, "", [&] {
        context_.library.entryPoints().terminate(handle(), accesses_.back().get(), instance_.record().time);
    });
}

void Session::drive() {
    for (const PortSignal& signal : context_.plan.signals)
        if (signal.port.isInput) setInput(signal, signal.driven);
}

void Session::setInput(const PortSignal& signal, double value) {
    instance_.setInput(signal.port.number, signal.index, value);
}

std::vector<double> Session::outputs(int order) const {
    std::vector<double> values;
    for (const PortSignal& signal : context_.plan.signals)
        if (!signal.port.isInput) values.push_back(instance_.output(signal.port.number, signal.index, order));
    return values;
}

bool Session::deposit(double time, const std::string& remark) {
    return enter(depositName, remark,
                 [&] { context_.library.entryPoints().deposit(handle(), 1, accesses_.back().get(), time); });
}

/// One call of an entry point under watch; false when the run is over after it.
template <typename Call>
bool Session::enter(const char* name, const std::string& remark, const Call& call) {
    SessionReport& report = context_.report;
    RecordingAccess& access = *accesses_.back();
    report.begin(name + remark);
    instance_.mark();
    access.setEntryPoint(name);
    const ProcessState before;
    const bool completed = completes(name, call) && access.getErrorCode() == 0;
    before.reportChanges(name, report);
    access.setEntryPoint(nullptr);
    report.begin("");

    const bool isStart = name == startName;
    if (completed && (isStart || name == requestName)) instance_.reportOmissions(name, isStart, report);
    instance_.reportWrites(name, report);
    return completed;
}

template <typename Call>
bool Session::completes(const char* name, const Call& call) {
    try {
        call();
        return true;
    } catch (const std::exception& error) {
        context_.report.add("solver-exception",
                            fmt::format("{} throws an exception, {}: {}", name, exceptionType(), error.what()));
    } catch (...) {
        context_.report.add("solver-exception", fmt::format("{} throws an exception, {}.", name, exceptionType()));
    }
    return false;
}

} // namespace tool
