#include "tool/doctor/solver/watched_instance.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include <fmt/format.h>

#include "tool/fmu/location.h"

namespace tool {

namespace {

// Not a number, so that its use shows in the outputs.
constexpr auto guard = std::bit_cast<double>(std::uint64_t{0x7ff8'7e55'a40f'3d0c});

std::uint64_t bitsOf(double value) { return std::bit_cast<std::uint64_t>(value); }

/// Turns some of the last bits: by at most 1e-12 of the value, or from 0 to next to nothing.
double marked(double value) { return std::bit_cast<double>(bitsOf(value) ^ std::uint64_t{0x2a5U}); }

/// As the library allocates them: the derivatives of a port at the end may go past the last variable.
std::size_t realsNeeded(const ShapeFile& shape, std::int64_t nReal) {
    for (const Port& port : shape.ports)
        if (port.width > 0) nReal = std::max(nReal, port.end());
    return static_cast<std::size_t>(nReal);
}

std::string locationOf(const std::filesystem::path& resources, std::string_view name) {
    return name.empty() ? "" : fmt::format("{}/{}", encodedLocation(resources), name);
}

} // namespace

WatchedInstance::WatchedInstance(const ShapeFile& shape, const std::filesystem::path& resources,
                                 const std::string& resultFile, const DerivativeOrders& orders)
    : orders_(orders), modelFile_(locationOf(resources, shape.modelFile.value_or(""))),
      subdll_(locationOf(resources, shape.solverFile.value_or(""))), address_(shape.address.value_or("")) {
    resultFile.copy(resultFile_.data(), resultFile_.size() - 1);
    record_.functions = log_.functions();
    record_.instanceName = record_.guid = name_.data();
    record_.loggingOn = fmi2True;
    record_.modelFilePath = modelFile_.data();
    record_.resultFileName = resultFile_.data();
    record_.subdllFilePath = subdll_.data();
    record_.ipAddress = address_.data();
    record_.endTime = shape.finalTime.value_or(0);
    record_.state = stateInstantiated;
    record_.fmuType = fmi2CoSimulation;
    record_.dirtyValues = fmi2True;
    setCounts(shape);
    placePorts(shape);
}

void WatchedInstance::reset() {
    std::fill_n(memory_.begin() + guardSize, slots_.size(), 0.0);
    record_.time = 0;
    record_.state = stateInstantiated;
}

void WatchedInstance::setCounts(const ShapeFile& shape) {
    const auto size = [&shape](Type type) { return static_cast<std::uint32_t>(shape.countOf(type).value_or(0)); };
    record_.nReal = size(Type::real);
    slots_.resize(realsNeeded(shape, record_.nReal));
    integers_.resize(record_.nInteger = size(Type::integer));
    booleans_.resize(record_.nBoolean = size(Type::boolean));
    strings_.resize(record_.nString = size(Type::string));
    memory_.assign(guardSize + slots_.size() + guardSize, guard);
    std::fill_n(memory_.begin() + guardSize, slots_.size(), 0.0);

    record_.realValues = memory_.data() + guardSize;
    record_.integerValues = integers_.data();
    record_.booleanValues = booleans_.data();
    record_.stringValues = strings_.data();
}

void WatchedInstance::placePorts(const ShapeFile& shape) {
    record_.nInputPorts = static_cast<std::uint32_t>(*shape.portCounts[0].value);
    record_.nOutputPorts = static_cast<std::uint32_t>(*shape.portCounts[1].value);
    record_.inputPortSize = inputWidths_.data();
    record_.outputPortSize = outputWidths_.data();
    record_.inputPortValues = inputs_.data();
    record_.outputPortValues = outputs_.data();
    record_.outputPortDots = first_.data();
    record_.outputPortDotDots = second_.data();
    for (const Port& port : shape.ports) port.isInput ? placeInput(port) : placeOutput(port);
}

/// The offset of a port of width 0 may be anything.
void WatchedInstance::placeInput(const Port& port) {
    const auto i = static_cast<std::size_t>(port.number);
    inputWidths_[i] = static_cast<std::uint32_t>(port.width);
    if (port.width == 0) return;
    inputs_[i] = record_.realValues + port.offset;
    place(port.offset, port, Use::input);
}

void WatchedInstance::placeOutput(const Port& port) {
    const auto i = static_cast<std::size_t>(port.number);
    outputWidths_[i] = static_cast<std::uint32_t>(port.width);
    if (port.width == 0) return;
    outputs_[i] = record_.realValues + port.offset;
    first_[i] = outputs_[i] + port.width;
    second_[i] = first_[i] + port.width;
    place(port.offset, port, Use::output);
    place(port.offset + port.width, port, Use::first);
    place(port.offset + 2 * port.width, port, Use::second);
}

void WatchedInstance::place(std::int64_t firstReal, const Port& port, Use use) {
    for (std::int64_t k = 0; k < port.width; ++k)
        slots_[static_cast<std::size_t>(firstReal + k)] = {use, port.number, static_cast<int>(k)};
}

/// Sets the mark, or takes it back.
void WatchedInstance::turnMark(std::size_t real) {
    if (slots_[real].use == Use::input) return;
    double& value = memory_[guardSize + real];
    value = marked(value);
}

void WatchedInstance::mark() {
    for (std::size_t k = 0; k < slots_.size(); ++k) turnMark(k);
    before_ = memory_;
    std::memcpy(recordBefore_.data(), &record_, sizeof record_);
}

void WatchedInstance::reportOmissions(std::string_view entryPoint, bool isStart, SessionReport& report) const {
    for (int i = 0; i < static_cast<int>(record_.nOutputPorts); ++i) {
        if (const std::string signals = unwritten(Use::output, i); !signals.empty()) {
            report.add(isStart ? RuleName("no-initial-outputs") : RuleName("output-not-written"),
                       fmt::format("{} does not write output port {}, {}.", entryPoint, i, signals));
        } else if (!isStart && hasNoDerivatives(i)) {
            report.add("derivative-not-written",
                       fmt::format("{} does not write all derivatives of output port {}.", entryPoint, i));
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

/// Only derivatives that masters can read count.
bool WatchedInstance::hasNoDerivatives(int port) const {
    const int order = orders_[static_cast<std::size_t>(port)];
    return (order >= 1 && !unwritten(Use::first, port).empty()) ||
           (order >= 2 && !unwritten(Use::second, port).empty());
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

void WatchedInstance::reportWrites(std::string_view entryPoint, SessionReport& report) {
    for (std::size_t k = 0; k < slots_.size(); ++k) {
        if (isChanged(guardSize + k))
            reportWrite(k, entryPoint, report);
        else
            turnMark(k);
    }
    const std::size_t end = guardSize + slots_.size();
    if (isChanged(0, guardSize))
        report.add("foreign-write", fmt::format("{} writes before the FMU's real variables.", entryPoint));
    if (isChanged(end, memory_.size()))
        report.add("foreign-write", fmt::format("{} writes past the end of the FMU's real variables.", entryPoint));
    std::fill_n(memory_.begin(), guardSize, guard);
    std::fill_n(memory_.end() - guardSize, guardSize, guard);

    RecordBytes record;
    std::memcpy(record.data(), &record_, sizeof record_);
    if (record != recordBefore_)
        report.add("record-written", fmt::format("{} changes the record of its handle.", entryPoint));
    std::memcpy(&record_, recordBefore_.data(), sizeof record_);
}

void WatchedInstance::reportWrite(std::size_t real, std::string_view entryPoint, SessionReport& report) const {
    const Slot& slot = slots_[real];
    if (slot.use == Use::input)
        report.add("input-written", fmt::format("{} writes into input port {}.", entryPoint, slot.port));
    else if (slot.use == Use::none)
        report.add("foreign-write",
                   fmt::format("{} writes into real variable {}, which is in no port.", entryPoint, real));
    else if (!std::isfinite(memory_[guardSize + real]))
        report.add("output-not-finite",
                   fmt::format("{} leaves no finite number in output port {}, signal {}{}.", entryPoint, slot.port,
                               slot.signal, slot.use == Use::output ? "" : ", a derivative"));
}

} // namespace tool
