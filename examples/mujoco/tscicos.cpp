// An interface library for the physics engine MuJoCo. The FMU's inputs are the model's actuators, its outputs the
// model's sensors, by their names; the numbers of an element that has several are NAME[0], NAME[1] and so on.
#include <cmath>
#include <cstdio>
#include <fstream>
#include <locale>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "plant/access_interface.h"
#include <mujoco/mujoco.h>

namespace {

/// The last line of a model file that the translator wrote for one run. Other model files are left alone.
const char* const mark = "<!-- written by fmu_batch for one run -->";

/// How far, in the model's time steps, a communication point may be from a multiple of them: masters add and round.
constexpr double tolerance = 0.01;

template <class... Parts>
std::runtime_error failure(const Parts&... parts) {
    std::ostringstream text;
    text.imbue(std::locale::classic()); // the process may use another decimal separator
    text.precision(12);
    (text << ... << parts);
    return std::runtime_error(text.str());
}

/// For whom the engine works on this thread; null outside of the entry points.
thread_local std::pair<void*, TScicosAccessAPI2*> current;

/// What received the engine's messages before this library was loaded. Returning from an error would end the process.
const mjfLogHandler otherReceiver = mju_setLogHandler([](const mjLogMessage* message) {
    if (current.second == nullptr) return otherReceiver(message);
    if (message->level == mjLOG_ERROR) throw failure(message->subject);
    if (message->level == mjLOG_WARNING) current.second->MessageHandler(current.first, message->subject, 1);
});

std::shared_ptr<mjModel> load(const std::string& path) {
    static std::mutex loading; // the engine doesn't promise to compile on several threads
    const std::lock_guard<std::mutex> lock(loading);
    char reason[1000] = "";
    const std::shared_ptr<mjSpec> spec(mj_parseXML(path.c_str(), nullptr, reason, sizeof reason), mj_deleteSpec);
    const std::shared_ptr<mjModel> model(spec ? mj_compile(spec.get(), nullptr) : nullptr, mj_deleteModel);
    std::string line, last;
    for (std::ifstream file(path); std::getline(file, line);) last = line;
    if (last == mark) std::remove(path.c_str());
    if (!model) throw failure("Can't read the model file ", path, ": ", spec ? mjs_getError(spec.get()) : reason);
    return model;
}

/// The element called "NAME", or "NAME[k]" if it has several numbers, and the address of the number.
std::pair<int, int> find(const mjModel& model, mjtObj type, mjtSize elements, const int* addresses, const int* counts,
                         const std::string& name) {
    std::string others;
    for (int e = 0; e < elements; ++e)
        for (int k = 0; k < counts[e]; ++k) {
            const char* element = mj_id2name(&model, type, e);
            std::string other = element != nullptr ? element : "(unnamed)";
            if (counts[e] > 1) other += "[" + std::to_string(k) + "]";
            if (other == name) return {e, addresses[e] + k};
            if (others.size() < 500) others += " " + other;
        }
    throw failure("The model has no ", mju_type2Str(type), " '", name, "'; it has:", others);
}

/// The simulation of one FMU instance.
class Run {
public:
    Run(void* handle, TScicosAccessAPI2* access) {
        const char* file = access->GetStringParamInputName(handle);
        const std::string path = file != nullptr ? file : "";
        model_ = load(path);
        data_.reset(mj_makeData(model_.get()), mj_deleteData);
        if (model_->nkey > 0) mj_resetDataKeyframe(model_.get(), data_.get(), 0);
        // A count, the inputs' names, then of each output port those of the values and of both derivatives.
        std::ifstream names(path.substr(0, path.rfind('/') + 1) + "mv.par");
        auto next = [&, name = std::string()]() mutable { return std::getline(names, name) ? name : ""; };
        next();
        const mjModel& m = *model_;
        for (int port = 0; port < access->GetNumInputPorts(handle); ++port)
            for (int k = 0; k < access->GetInputPortWidth(handle, port); ++k) {
                const auto found = find(m, mjOBJ_ACTUATOR, m.nactuator, m.actuator_ctrladr, m.actuator_ctrlnum, next());
                inputs_.emplace_back(access->GetInputPortRealSignalPtrs(handle, port) + k, data_->ctrl + found.second);
            }
        for (int port = 0; port < access->GetNumOutputPorts(handle); ++port) {
            const int width = access->GetOutputPortWidth(handle, port);
            double* const values = access->GetOutputPortRealSignalPtrs(handle, port);
            for (int k = 0; k < width; ++k) addOutput(next(), values + k, width);
            for (int k = 0; k < 2 * width; ++k) next();
        }
        writeOutputs();
    }

    void takeInputs(double time) {
        begin_ = time;
        for (const auto& [from, to] : inputs_) *to = *from;
    }

    void advance(double end) {
        const double dt = model_->opt.timestep;
        if (stepsUntil(begin_) != steps_)
            throw failure("The step begins at ", begin_, " s, but the run is at ", dt * static_cast<double>(steps_),
                          " s");
        const long long target = stepsUntil(end);
        if (target <= steps_)
            throw failure("The step from ", begin_, " s to ", end, " s is not a multiple of the model's time step, ",
                          dt, " s");
        for (; steps_ < target; ++steps_) mj_step(model_.get(), data_.get());
        writeOutputs();
    }

private:
    /// `value` is followed by its first and its second derivative, each at a distance of `width`.
    void addOutput(const std::string& name, double* value, int width) {
        const mjModel& m = *model_;
        const auto [s, address] = find(m, mjOBJ_SENSOR, m.nsensor, m.sensor_adr, m.sensor_dim, name);
        outputs_.emplace_back(data_->sensordata + address, value);
        // A sensor that is limited or late doesn't move as its joint does.
        if (m.sensor_type[s] != mjSENS_JOINTPOS || m.sensor_cutoff[s] > 0 || m.sensor_historyadr[s] >= 0) return;
        outputs_.emplace_back(data_->qvel + m.jnt_dofadr[m.sensor_objid[s]], value + width);
        outputs_.emplace_back(data_->qacc + m.jnt_dofadr[m.sensor_objid[s]], value + 2 * width);
    }

    /// `time` in whole steps of the model, -1 when it is between two. Counted from 0, so no rounding adds up.
    long long stepsUntil(double time) const {
        const double steps = time / model_->opt.timestep, whole = std::round(steps);
        return std::abs(steps - whole) <= tolerance && whole < 1e15 ? static_cast<long long>(whole) : -1;
    }

    /// Evaluates the sensors, which the engine's step leaves at its beginning. The run goes on as without it.
    void writeOutputs() {
        mj_forward(model_.get(), data_.get());
        mj_checkAcc(model_.get(), data_.get());
        for (const int bad : {mjWARN_BADQPOS, mjWARN_BADQVEL, mjWARN_BADQACC, mjWARN_BADCTRL})
            if (data_->warning[bad].number > 0) // the engine has started anew from its initial state
                throw failure("The simulation became unstable in the step that began at ", begin_, " s");
        for (const auto& [from, to] : outputs_) *to = *from;
    }

    std::shared_ptr<mjModel> model_;
    std::shared_ptr<mjData> data_;
    std::vector<std::pair<const double*, double*>> inputs_, outputs_; ///< from, to
    double begin_ = 0;                                                ///< of the step, in seconds
    long long steps_ = 0;
};

std::map<void*, std::shared_ptr<Run>> runs;
std::mutex runsMutex;

std::shared_ptr<Run> runOf(void* handle) {
    const std::lock_guard<std::mutex> lock(runsMutex);
    return runs.count(handle) > 0 ? runs[handle] : nullptr;
}

/// The body of an entry point: what `work` throws ends the run, with its text in the master's log.
template <class Work>
void perform(void* handle, TScicosAccessAPI2* access, const Work& work) {
    std::string reason;
    current = {handle, access};
    try {
        work();
    } catch (const std::exception& exception) {
        reason = exception.what();
    }
    current = {};
    if (!reason.empty()) access->MessageHandler(handle, reason.c_str(), 2);
}

} // namespace

extern "C" void blkStart(void* handle, TScicosAccessAPI2* access) {
    perform(handle, access, [=] {
        const auto run = std::make_shared<Run>(handle, access);
        const std::lock_guard<std::mutex> lock(runsMutex);
        runs[handle] = run;
    });
}

extern "C" void blkDepositPlantInput(void* handle, int, TScicosAccessAPI2*, double time) {
    if (const auto run = runOf(handle)) run->takeInputs(time);
}

extern "C" void blkRequestPlantOutput(void* handle, TScicosAccessAPI2* access, double time) {
    if (const auto run = runOf(handle)) perform(handle, access, [=] { run->advance(time); });
}

extern "C" void blkTerminate(void* handle, TScicosAccessAPI2*, double) {
    const std::lock_guard<std::mutex> lock(runsMutex);
    runs.erase(handle);
}
