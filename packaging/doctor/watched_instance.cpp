#include "packaging/doctor/watched_instance.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include <fmt/format.h>

#include "packaging/doctor/locations.h"

namespace packaging {

namespace {

// Not a number, so that its use shows in the outputs.
constexpr auto guard = std::bit_cast<double>(std::uint64_t{0x7ff8'7e55'a40f'3d0c});

std::uint64_t bitsOf(double value) { return std::bit_cast<std::uint64_t>(value); }

/// Turns some of the last bits, of inputs others than of outputs: a solver may pass its inputs on.
double marked(double value, bool isInput) {
    return std::bit_cast<double>(bitsOf(value) ^ std::uint64_t{isInput ? 0x1U : 0x2a5U});
}

void ignoreMessage(fmi2ComponentEnvironment, fmi2String, fmi2Status, fmi2String, fmi2String, ...) {}

bool arePossible(int nPorts, const std::int32_t (&widths)[maxPorts], const std::int32_t (&offsets)[maxPorts],
                 std::int64_t blocks, std::int64_t nReal) {
    if (nPorts < 0 || nPorts > maxPorts) return false;
    for (int i = 0; i < nPorts; ++i)
        if (widths[i] != 0 && (widths[i] < 0 || offsets[i] < 0 || offsets[i] + blocks * widths[i] > nReal))
            return false;
    return true;
}

std::string locationOf(const std::filesystem::path& resources, std::string_view name) {
    return name.empty() ? "" : fmt::format("{}/{}", encodedLocation(resources), name);
}

} // namespace

bool hasUsableLayout(const FmuParRecord& parameters) {
    for (const std::int32_t count : {parameters.nReal, parameters.nInteger, parameters.nBoolean, parameters.nString})
        if (count < 0) return false;
    return arePossible(parameters.nInputPorts, parameters.inputPortWidth, parameters.inputPortOffset, 1,
                       parameters.nReal) &&
           arePossible(parameters.nOutputPorts, parameters.outputPortWidth, parameters.outputPortOffset, 3,
                       parameters.nReal);
}

WatchedInstance::WatchedInstance(const FmuParRecord& parameters, const std::filesystem::path& resources,
                                 const std::string& resultFile)
    : functions_{ignoreMessage, std::calloc, std::free, nullptr, nullptr},
      slots_(static_cast<std::size_t>(parameters.nReal)), integers_(static_cast<std::size_t>(parameters.nInteger)),
      booleans_(static_cast<std::size_t>(parameters.nBoolean)), strings_(static_cast<std::size_t>(parameters.nString)),
      modelFile_(locationOf(resources, parameterText(parameters, parameters.inputName))),
      subdll_(locationOf(resources, parameterText(parameters, parameters.subdllName))),
      address_(parameterText(parameters, parameters.ipAddress)) {
    memory_.assign(guardSize + slots_.size() + guardSize, guard);
    std::fill_n(memory_.begin() + guardSize, slots_.size(), 0.0);
    resultFile.copy(resultFile_.data(), resultFile_.size() - 1);

    record_.functions = &functions_;
    record_.instanceName = record_.guid = name_.data();
    record_.loggingOn = fmi2True;
    record_.realValues = memory_.data() + guardSize;
    record_.integerValues = integers_.data();
    record_.booleanValues = booleans_.data();
    record_.stringValues = strings_.data();
    record_.nReal = static_cast<std::uint32_t>(parameters.nReal);
    record_.nInteger = static_cast<std::uint32_t>(parameters.nInteger);
    record_.nBoolean = static_cast<std::uint32_t>(parameters.nBoolean);
    record_.nString = static_cast<std::uint32_t>(parameters.nString);
    record_.modelFilePath = modelFile_.data();
    record_.resultFileName = resultFile_.data();
    record_.subdllFilePath = subdll_.data();
    record_.ipAddress = address_.data();
    record_.endTime = parameters.finalTime;
    record_.state = stateInstantiated;
    record_.fmuType = fmi2CoSimulation;
    record_.dirtyValues = fmi2True;
    placePorts(parameters);
}

void WatchedInstance::placePorts(const FmuParRecord& parameters) {
    record_.nInputPorts = static_cast<std::uint32_t>(parameters.nInputPorts);
    record_.nOutputPorts = static_cast<std::uint32_t>(parameters.nOutputPorts);
    record_.inputPortSize = inputWidths_.data();
    record_.outputPortSize = outputWidths_.data();
    record_.inputPortValues = inputs_.data();
    record_.outputPortValues = outputs_.data();
    record_.outputPortDots = first_.data();
    record_.outputPortDotDots = second_.data();

    for (std::size_t i = 0; i < record_.nInputPorts; ++i) {
        const std::int32_t width = parameters.inputPortWidth[i];
        inputWidths_[i] = static_cast<std::uint32_t>(width);
        if (width == 0) continue; // its offset may be anything
        inputs_[i] = record_.realValues + parameters.inputPortOffset[i];
        place(parameters.inputPortOffset[i], width, Use::input, static_cast<int>(i));
    }
    for (std::size_t i = 0; i < record_.nOutputPorts; ++i) {
        const std::int32_t width = parameters.outputPortWidth[i];
        const std::int32_t offset = parameters.outputPortOffset[i];
        outputWidths_[i] = static_cast<std::uint32_t>(width);
        if (width == 0) continue;
        outputs_[i] = record_.realValues + offset;
        first_[i] = outputs_[i] + width;
        second_[i] = first_[i] + width;
        place(offset, width, Use::output, static_cast<int>(i));
        place(offset + width, width, Use::first, static_cast<int>(i));
        place(offset + 2 * width, width, Use::second, static_cast<int>(i));
    }
}

void WatchedInstance::place(int firstReal, int width, Use use, int port) {
    for (int k = 0; k < width; ++k)
        slots_[static_cast<std::size_t>(firstReal) + static_cast<std::size_t>(k)] = {use, port, k};
}

/// Sets the mark, or takes it back.
void WatchedInstance::turnMark(std::size_t real) {
    double& value = memory_[guardSize + real];
    value = marked(value, slots_[real].use == Use::input);
}

void WatchedInstance::mark() {
    for (std::size_t k = 0; k < slots_.size(); ++k) turnMark(k);
    before_ = memory_;
    std::memcpy(recordBefore_.data(), &record_, sizeof record_);
}

void WatchedInstance::tellOmissions(std::string_view entryPoint, bool isStart, SessionReport& report) const {
    for (int i = 0; i < static_cast<int>(record_.nOutputPorts); ++i) {
        if (const std::string signals = unwritten(Use::output, i); !signals.empty()) {
            report.tell(isStart ? "no-initial-outputs" : "output-not-written",
                        fmt::format("{} doesn't write output port {}, {}.", entryPoint, i, signals));
        } else if (!isStart && !(unwritten(Use::first, i) + unwritten(Use::second, i)).empty()) {
            report.tell("derivative-not-written",
                        fmt::format("{} doesn't write all derivatives of output port {}.", entryPoint, i));
        }
    }
}

bool WatchedInstance::isChanged(std::size_t position) const {
    return bitsOf(memory_[position]) != bitsOf(before_[position]);
}

bool WatchedInstance::isChanged(std::size_t begin, std::size_t end) const {
    while (begin < end && !isChanged(begin)) ++begin;
    return begin < end;
}

/// The signals of a port that still bear their marks; empty when there is none.
std::string WatchedInstance::unwritten(Use use, int port) const {
    std::string list;
    for (std::size_t k = 0; k < slots_.size(); ++k) {
        const Slot& slot = slots_[k];
        if (slot.use != use || slot.port != port || isChanged(guardSize + k)) continue;
        list += fmt::format("{}{}", list.empty() ? "signal " : ", ", slot.signal);
    }
    return list;
}

void WatchedInstance::tellWrites(std::string_view entryPoint, SessionReport& report) {
    for (std::size_t k = 0; k < slots_.size(); ++k) {
        if (isChanged(guardSize + k))
            tellWrite(k, entryPoint, report);
        else
            turnMark(k);
    }
    const std::size_t end = guardSize + slots_.size();
    if (isChanged(0, guardSize))
        report.tell("foreign-write", fmt::format("{} writes before the FMU's real variables.", entryPoint));
    if (isChanged(end, memory_.size()))
        report.tell("foreign-write", fmt::format("{} writes behind the FMU's real variables.", entryPoint));
    std::fill_n(memory_.begin(), guardSize, guard);
    std::fill_n(memory_.end() - guardSize, guardSize, guard);

    RecordBytes record;
    std::memcpy(record.data(), &record_, sizeof record_);
    if (record != recordBefore_)
        report.tell("record-written", fmt::format("{} changes the record behind its handle.", entryPoint));
    std::memcpy(&record_, recordBefore_.data(), sizeof record_);
}

void WatchedInstance::tellWrite(std::size_t real, std::string_view entryPoint, SessionReport& report) const {
    const Slot& slot = slots_[real];
    if (slot.use == Use::input)
        report.tell("input-written", fmt::format("{} writes into input port {}.", entryPoint, slot.port));
    else if (slot.use == Use::none)
        report.tell("foreign-write",
                    fmt::format("{} writes into real variable {}, which is in no port.", entryPoint, real));
    else if (!std::isfinite(memory_[guardSize + real]))
        report.tell("output-not-finite",
                    fmt::format("{} leaves no finite number in output port {}, signal {}{}.", entryPoint, slot.port,
                                slot.signal, slot.use == Use::output ? "" : ", a derivative"));
}

} // namespace packaging
