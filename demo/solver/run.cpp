#include "demo/solver/run.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "demo/solver/generated_model.h"
#include "demo/solver/model_reader.h"

namespace solver {

namespace {

std::string orEmpty(const char* string) { return string != nullptr ? string : ""; }

template <typename Description>
std::string namesOf(const std::vector<Description>& signals) {
    std::string names;
    for (const Description& signal : signals) names += (names.empty() ? "" : ", ") + signal.name;
    return names;
}

template <typename Description>
std::string portNames(const std::vector<std::vector<Description>>& ports) {
    std::string names;
    for (const auto& port : ports) names += fmt::format("{}({})", names.empty() ? "" : " ", namesOf(port));
    return names;
}

XmlDocument readModelFile(const std::string& path) {
    if (path.empty()) throw std::runtime_error("The FMU has no model file: its parameter file fmu2ts.par names none.");
    return XmlDocument(path);
}

/// Returns whether the file was removed.
bool removeIfGenerated(const XmlDocument& model, const Host& host) {
    try {
        return removeGenerated(model);
    } catch (const std::exception& error) {
        host.warn(fmt::format("The model file {} was made for this run and can't be removed: later runs from the same "
                              "folder will use its parameters. {}",
                              model.path(), error.what()));
        return false;
    }
}

template <typename Description>
void checkPortCount(const std::vector<std::vector<Description>>& ports, int described, const char* direction,
                    const std::string& modelPath) {
    if (described == static_cast<int>(ports.size())) return;
    throw std::runtime_error(fmt::format("The FMU describes {} {} ports, but the model file {} has {}: {}. Make the "
                                         "FMU's parameter file fmu2ts.par and the model's template agree.",
                                         described, direction, modelPath, ports.size(), portNames(ports)));
}

template <typename Description>
void checkPort(const std::vector<Description>& signals, int width, const double* values, const char* direction,
               int port, const std::string& modelPath) {
    if (width != static_cast<int>(signals.size()))
        throw std::runtime_error(fmt::format(
            "The FMU describes {} signals at {} port {}, but the model file {} has {} there: {}. Make the FMU's "
            "parameter file fmu2ts.par and the model's template agree.",
            width, direction, port + 1, modelPath, signals.size(), namesOf(signals)));
    if (values == nullptr)
        throw std::runtime_error(fmt::format("The FMU gives no address for {} port {}.", direction, port + 1));
}

/// Parameters can be valid one by one and still not make a mechanism; only the multibody library finds that out.
std::unique_ptr<Mechanism> makeMechanism(const Model& model, const std::string& modelPath) {
    try {
        return std::make_unique<Mechanism>(model);
    } catch (const ClosureError&) {
        throw;
    } catch (const std::exception& error) {
        throw std::runtime_error(fmt::format(
            "No mechanism can be made of the model file {}. Does every body that no input drives have a mass, and "
            "an inertia where it turns? The solver says: {}",
            modelPath, error.what()));
    }
}

/// Times that differ only by rounding are the same to a master.
bool isSameMoment(double a, double b) {
    return std::abs(a - b) <= 16 * std::numeric_limits<double>::epsilon() * std::max(1.0, std::abs(a));
}

} // namespace

Run::Run(const Host& host) : host_(host), modelPath_(orEmpty(host.access->GetStringParamInputName(host.handle))) {
    XmlDocument document = readModelFile(modelPath_);
    const bool removed = removeIfGenerated(document, host_);
    try {
        model_ = readModel(document);
        start();
    } catch (const std::exception& error) {
        if (!removed) throw;
        throw std::runtime_error(fmt::format("{} (The model file was made for this run and is removed; set the "
                                             "environment variable TESSARO_DEMO_KEEP_MODEL to keep it.)",
                                             error.what()));
    }
}

void Run::start() {
    connectPorts();
    mechanism_ = makeMechanism(model_, modelPath_);
    openResultFile();
    reportStart();

    std::vector<double> start = portInputs();
    std::size_t next = 0;
    for (const auto& port : inputs_)
        for (const Input& signal : port.signals) {
            if (signal.start) start[next] = *signal.start;
            ++next;
        }
    checkFinite(start);
    inputValues_ = start;
    mechanism_->setInputs(inputValues_);
    writeOutputs();
}

void Run::connectPorts() {
    TScicosAccessAPI2& access = *host_.access;
    void* handle = host_.handle;
    checkPortCount(model_.inputPorts, access.GetNumInputPorts(handle), "input", modelPath_);
    checkPortCount(model_.outputPorts, access.GetNumOutputPorts(handle), "output", modelPath_);

    for (int i = 0; const auto& signals : model_.inputPorts) {
        inputs_.push_back({signals, access.GetInputPortRealSignalPtrs(handle, i), nullptr, nullptr});
        checkPort(signals, access.GetInputPortWidth(handle, i), inputs_.back().values, "input", i, modelPath_);
        ++i;
    }
    for (int i = 0; const auto& signals : model_.outputPorts) {
        outputs_.push_back({signals, access.GetOutputPortRealSignalPtrs(handle, i),
                            access.GetOutputPortRealSignalDotPtrs(handle, i),
                            access.GetOutputPortRealSignalDotDotPtrs(handle, i)});
        checkPort(signals, access.GetOutputPortWidth(handle, i), outputs_.back().values, "output", i, modelPath_);
        ++i;
    }
}

void Run::openResultFile() {
    resultPath_ = orEmpty(host_.access->GetStringParamOutputName(host_.handle));
    if (resultPath_.empty()) return;

    std::string header = "time [s]";
    for (const auto& port : inputs_)
        for (const Input& signal : port.signals) header += fmt::format(",{} [{}]", signal.name, signal.unit);
    for (const auto& port : outputs_)
        for (const Output& signal : port.signals) header += fmt::format(",{} [{}]", signal.name, signal.unit);

    results_ = std::make_unique<ResultFile>(resultPath_, header);
    if (results_->path() != resultPath_)
        host_.warn(fmt::format("Another run is still writing the result file '{}'; this run writes '{}'.", resultPath_,
                               results_->path()));
    resultPath_ = results_->path();
    dropFailedResults();
}

void Run::dropFailedResults() {
    if (results_->failure().empty()) return;
    host_.warn(results_->failure() + " The run goes on without it.");
    results_.reset();
}

void Run::reportStart() const {
    host_.inform(fmt::format("Mechanism '{}' of {}: bodies: {}; degrees of freedom: {}; springs: {}; input ports: {}; "
                             "output ports: {}; final time {} s; result file: {}.",
                             model_.name, modelPath_, model_.bodies.size() - 1, mechanism_->degreesOfFreedom(),
                             model_.springs.size(), inputs_.empty() ? "none" : portNames(model_.inputPorts),
                             outputs_.empty() ? "none" : portNames(model_.outputPorts),
                             host_.access->GetFinalTimei(host_.handle), results_ ? resultPath_ : "none"));
}

std::vector<double> Run::portInputs() const {
    std::vector<double> values;
    for (const auto& port : inputs_) values.insert(values.end(), port.values, port.values + port.signals.size());
    return values;
}

void Run::checkFinite(const std::vector<double>& inputs) const {
    std::size_t next = 0;
    for (const auto& port : inputs_)
        for (const Input& signal : port.signals)
            if (!std::isfinite(inputs[next++]))
                throw std::runtime_error(fmt::format("The input {} is {} at {} s; it must be finite.", signal.name,
                                                     inputs[next - 1], mechanism_->time()));
}

void Run::deposit(double time) {
    std::vector<double> inputs = portInputs();
    checkFinite(inputs);
    if (!advanced_ && std::isfinite(time)) mechanism_->setTime(time);
    inputValues_ = std::move(inputs);
    mechanism_->setInputs(inputValues_);
}

void Run::request(double time) {
    const double reached = mechanism_->time();
    if (!std::isfinite(time) || (time < reached && !isSameMoment(time, reached)))
        throw std::runtime_error(fmt::format(
            "Outputs at {} s are requested, but the run has reached {} s and can't go back.", time, reached));

    advanced_ = true;
    if (!isSameMoment(time, reached)) mechanism_->advanceTo(time);
    writeOutputs();
}

void Run::writeOutputs() {
    mechanism_->measure(signals_);
    outputValues_.clear();
    std::size_t next = 0;
    for (const auto& port : outputs_)
        for (std::size_t i = 0; i < port.signals.size(); ++i) {
            const Signal& signal = signals_[next++];
            port.values[i] = signal.value;
            if (port.first != nullptr) port.first[i] = signal.first;
            if (port.second != nullptr) port.second[i] = signal.second;
            outputValues_.push_back(signal.value);
        }
    if (!results_) return;
    results_->addRow(mechanism_->time(), inputValues_, outputValues_);
    dropFailedResults();
}

void Run::finish() {
    if (results_) {
        results_->close();
        if (!results_->failure().empty()) host_.warn(results_->failure());
    }
    host_.inform(fmt::format("The run of '{}' ended at {} s.", model_.name, mechanism_->time()));
}

} // namespace solver
