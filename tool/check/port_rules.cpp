#include <algorithm>

#include "tool/check/rules.h"

namespace tool {

namespace {

/// Where a real is: a port and which of its blocks, 0 for the values, 1 and 2 for the derivatives.
struct Slot {
    const Port* port = nullptr; ///< null outside of all ports
    int block = 0;
};

Slot slotOf(const ShapeFile& shape, std::int64_t reference) {
    for (const Port& port : shape.ports)
        if (reference >= port.offset && reference < port.end())
            return {&port, static_cast<int>((reference - port.offset) / port.width)};
    return {};
}

/// Whether the ports' blocks are within the reals and do not overlap.
bool checkBlocks(const ShapeFile& shape, Report& report) {
    bool areFine = true;
    std::vector<Port> sorted;
    for (const Port& port : shape.ports) {
        const Place place{shapeFileName, offsetLineOf(port)};
        if (port.width == 0)
            report.add("port-empty", {shapeFileName, offsetLineOf(port) - 1}, "The width of {} is 0.", port.name());
        else
            sorted.push_back(port);
        if (const auto nReal = shape.countOf(Type::real); nReal && port.offset + port.width > *nReal) {
            report.add("port-range", place, "{} takes reals {} to {}, but there are {}.", port.name(), port.offset,
                       port.offset + port.width - 1, *nReal);
            areFine = false;
        }
    }
    std::ranges::sort(sorted, {}, &Port::offset);
    for (std::size_t i = 1; i < sorted.size(); ++i) {
        const Port &before = sorted[i - 1], &port = sorted[i];
        if (port.offset >= before.end()) continue;
        report.add("port-overlap", {shapeFileName, offsetLineOf(port)},
                   "{} begins at real {}, but {} takes reals {} to {}.", port.name(), port.offset, before.name(),
                   before.offset, before.end() - 1);
        areFine = false;
    }
    return areFine;
}

using References = std::vector<std::int64_t>;

/// Value references of the reals of a causality, sorted and each once.
References referencesOf(const ModelDescription& description, Causality causality) {
    References references;
    for (const DescribedVariable& variable : description.variables)
        if (variable.type == Type::real && variable.reference && variable.causality == causality)
            references.push_back(*variable.reference);
    std::ranges::sort(references);
    references.erase(std::unique(references.begin(), references.end()), references.end());
    return references;
}

/// The solver reads what is in an input port, and writes what is in an output port. Other variables may share an
/// input's value.
void checkVariableInPort(const DescribedVariable& variable, const Port& port, const References& inputs,
                         Report& report) {
    const bool isFine = port.isInput ? std::ranges::binary_search(inputs, std::int64_t{*variable.reference}) &&
                                           variable.causality != Causality::parameter
                                     : !variable.isSettable();
    if (!isFine)
        report.add("port-causality", placeOf(variable), "{} is in {}, and its causality is {}.",
                   inQuotes(variable.name), port.name(), textAttribute(*variable.element, "causality", "local"));
}

void checkVariableOutside(const DescribedVariable& variable, Report& report) {
    const bool isExchanged = variable.causality == Causality::input || variable.causality == Causality::output;
    if (isExchanged)
        report.add("port-none", placeOf(variable), "The {} {} is not in a port.",
                   textAttribute(*variable.element, "causality"), inQuotes(variable.name));
    else if (variable.causality != Causality::parameter)
        report.add("value-unserved", placeOf(variable), "{} is neither in a port nor a parameter.",
                   inQuotes(variable.name));
}

/// How many of each port's values are described: a master can connect only those.
void checkDescribed(const ShapeFile& shape, const References& inputs, const References& outputs, Report& report) {
    for (const Port& port : shape.ports) {
        const References& references = port.isInput ? inputs : outputs;
        const auto first = std::ranges::lower_bound(references, port.offset);
        const auto last = std::ranges::lower_bound(references, port.offset + port.width);
        if (const std::int64_t missing = port.width - (last - first); missing > 0)
            report.add("port-undeclared", {shapeFileName, offsetLineOf(port)},
                       "{} of the {} values of {} are not declared as {} in modelDescription.xml.", missing, port.width,
                       port.name(), port.isInput ? "inputs" : "outputs");
    }
}

/// Judged from the derivative's place: an output may well be the derivative of another output.
void checkDerivativePlaces(const ModelDescription& description, const ShapeFile& shape, Report& report) {
    for (const DescribedVariable& variable : description.variables) {
        const DescribedVariable* state = description.at(naturalAttribute(*variable.value, "derivative"));
        if (state == nullptr || state->type != Type::real || !state->reference || !variable.reference) continue;
        const Slot slot = slotOf(shape, *variable.reference);
        if (slot.port == nullptr || slot.block == 0) continue;
        const std::int64_t expected = *variable.reference - slot.port->width;
        if (*state->reference != expected)
            report.add("derivative-place", placeOf(variable),
                       "{} is one port width after value reference {}, but derivative names {}, which has {}.",
                       inQuotes(variable.name), expected, inQuotes(state->name), *state->reference);
    }
}

/// Why the library cannot give derivatives of all outputs up to an order, for a sentence; empty when it can.
std::string_view derivativeObstacle(const ModelDescription& description, const ShapeFile& shape, std::uint32_t order) {
    std::vector<std::int64_t> widths;
    for (const Port& port : shape.ports)
        if (!port.isInput) widths.push_back(port.width);
    if (widths.empty()) return "there are no output ports";
    if (std::ranges::count(widths, widths[0]) != std::ssize(widths)) return "the output ports differ in width";

    if (order > 2) return "there are two derivatives of an output";
    const auto isTooHigh = [&](std::int64_t output) {
        const Slot slot = slotOf(shape, output);
        return slot.port != nullptr && static_cast<std::int64_t>(order) + slot.block > 2;
    };
    const References outputs = referencesOf(description, Causality::output);
    return std::ranges::any_of(outputs, isTooHigh) ? "one of the outputs is itself a derivative" : "";
}

void checkDerivativeOrder(const ModelDescription& description, const ShapeFile& shape, Report& report) {
    if (description.coSimulation == nullptr) return;
    const auto order = naturalAttribute(*description.coSimulation, "maxOutputDerivativeOrder");
    if (!order || *order == 0) return;
    if (const std::string_view obstacle = derivativeObstacle(description, shape, *order); !obstacle.empty())
        report.add("derivative-order",
                   {descriptionFile, description.coSimulation->find("maxOutputDerivativeOrder")->line},
                   "maxOutputDerivativeOrder is {}, but {}.", *order, obstacle);
}

} // namespace

void checkReferences(const Fmu& fmu, Report& report) {
    const ShapeFile& shape = fmu.shape;
    std::array<std::int64_t, 4> used{};
    for (const DescribedVariable& variable : fmu.description.variables) {
        const auto count = shape.countOf(variable.type);
        if (!variable.reference) continue;
        for (std::size_t i = 0; i < used.size(); ++i) // one without a type may be of any
            if (!variable.isTyped() || i == indexOf(variable.type))
                used[i] = std::max<std::int64_t>(used[i], std::int64_t{*variable.reference} + 1);
        if (!variable.isTyped()) continue;
        if (count && *variable.reference >= static_cast<std::uint32_t>(*count))
            report.add("reference-range", placeOf(variable), "{} has value reference {}, but fmu2ts.par counts {} {}s.",
                       inQuotes(variable.name), *variable.reference, *count, wordOf(variable.type));
    }
    if (!shape.arePortsKnown) return;
    for (const Port& port : shape.ports) used[0] = std::max(used[0], port.end());
    for (std::size_t i = 0; i < used.size(); ++i)
        if (const auto count = shape.counts[i].value; count && *count > used[i])
            report.add("count-unused", {shapeFileName, shape.counts[i].number},
                       "{} {}s are counted, but only {} are used.", *count, typeNames[i].word, used[i]);
}

void checkPorts(const Fmu& fmu, Report& report) {
    const ModelDescription& description = fmu.description;
    const ShapeFile& shape = fmu.shape;
    if (!shape.arePortsKnown) return;
    if (!checkBlocks(shape, report)) return;
    checkDerivativeOrder(description, shape, report);
    const References inputs = referencesOf(description, Causality::input);
    const auto nReal = shape.countOf(Type::real);
    for (const DescribedVariable& variable : description.variables) {
        if (!variable.isTyped() || !variable.reference || variable.variability == Variability::constant) continue;
        if (variable.type == Type::real && nReal && *variable.reference >= static_cast<std::uint32_t>(*nReal)) continue;
        const Slot slot = variable.type == Type::real ? slotOf(shape, *variable.reference) : Slot{};
        if (slot.port != nullptr)
            checkVariableInPort(variable, *slot.port, inputs, report);
        else
            checkVariableOutside(variable, report);
    }
    checkDescribed(shape, inputs, referencesOf(description, Causality::output), report);
    checkDerivativePlaces(description, shape, report);
}

} // namespace tool
