#include "tool/pack/layout.h"

#include <algorithm>
#include <iterator>
#include <set>

#include "tool/pack/description_rules.h"

namespace tool {

namespace {

constexpr int orders = 2;

class LayoutMaker {
public:
    explicit LayoutMaker(const Description& description) : description_(description) {
        for (const auto* ports : {&description.inputs, &description.outputs})
            for (const PortDescription& port : *ports)
                for (const Signal& signal : port.signals) taken_.insert(signal.solverName);
        for (const Parameter& parameter : description.parameters) taken_.insert(parameter.solverName);
    }

    Layout make() {
        for (const PortDescription& port : description_.inputs) addInput(port);
        for (const PortDescription& port : description_.outputs) addOutput(port);
        addResultFile();
        for (const Parameter& parameter : description_.parameters) addParameter(parameter);
        layout_.maxOutputDerivativeOrder = commonOrder();
        return std::move(layout_);
    }

private:
    std::vector<std::string>& names(Type type) { return layout_.solverNames[indexOf(type)]; }

    std::uint32_t nextReference(Type type) { return static_cast<std::uint32_t>(names(type).size()); }

    void place(std::vector<Port>& ports, const PortDescription& port, bool isInput) {
        ports.push_back({isInput, static_cast<int>(ports.size()), std::ssize(port.signals), nextReference(Type::real)});
    }

    void addInput(const PortDescription& port) {
        place(layout_.inputs, port, true);
        for (const Signal& signal : port.signals) {
            PlannedVariable variable = variableOf(signal, Causality::input, nextReference(Type::real));
            variable.start = signal.start;
            layout_.variables.push_back(std::move(variable));
            names(Type::real).push_back(signal.solverName);
        }
    }

    /// All three blocks are reserved, whatever the model description shows of them.
    void addOutput(const PortDescription& port) {
        place(layout_.outputs, port, false);
        const auto width = static_cast<std::uint32_t>(port.signals.size());
        std::uint32_t reference = nextReference(Type::real);
        for (const Signal& signal : port.signals) {
            layout_.variables.push_back(variableOf(signal, Causality::output, reference));
            std::string unit = signal.unit;
            for (int order = 1; order <= port.derivatives; ++order) {
                if (!unit.empty()) unit = derivativeUnitName(unit);
                addDerivative(signal, order, unit, reference + width * static_cast<std::uint32_t>(order));
            }
            ++reference;
        }
        for (const Signal& signal : port.signals) names(Type::real).push_back(signal.solverName);
        for (int order = 1; order <= orders; ++order)
            for (const Signal& signal : port.signals) names(Type::real).push_back(derivativeName(signal, order));
    }

    /// The highest order that all output ports have, or 0 when they differ in width.
    int commonOrder() const {
        const std::vector<PortDescription>& ports = description_.outputs;
        const auto isAsWide = [&](const PortDescription& port) {
            return port.signals.size() == ports.front().signals.size();
        };
        if (ports.empty() || !std::ranges::all_of(ports, isAsWide)) return 0;
        return std::ranges::min_element(ports, {}, &PortDescription::derivatives)->derivatives;
    }

    void addDerivative(const Signal& signal, int order, const std::string& unit, std::uint32_t reference) {
        const char* form = order == 1 ? "der({})" : "der({},2)";
        PlannedVariable variable = variableOf(signal, Causality::local, reference);
        variable.name = fmt::format(fmt::runtime(form), signal.name);
        variable.unit = unit;
        variable.description = fmt::format("{} time derivative of {}", order == 1 ? "first" : "second", signal.name);
        variable.derivativeOf = layout_.variables.size();
        layout_.variables.push_back(std::move(variable));
    }

    static PlannedVariable variableOf(const Signal& signal, Causality causality, std::uint32_t reference) {
        PlannedVariable variable;
        variable.name = signal.name;
        variable.reference = reference;
        variable.causality = causality;
        variable.initial = causality == Causality::input ? Initial::none : Initial::calculated;
        variable.unit = signal.unit;
        variable.description = signal.description;
        return variable;
    }

    /// No master can set these, but the list has a line for each.
    std::string derivativeName(const Signal& signal, int order) {
        std::string name = (order == 1 ? "der_" : "der2_") + signal.solverName;
        while (!taken_.insert(name).second) name += '_';
        return name;
    }

    void addResultFile() {
        const auto isText = [](const Parameter& parameter) { return typeOf(parameter.start) == Type::string; };
        if (!description_.resultFileVariable && std::ranges::none_of(description_.parameters, isText)) return;
        names(Type::string).emplace_back(resultFileVariableName);
        if (!description_.resultFileVariable) return;
        PlannedVariable variable = parameterOf(resultFileVariableName, Type::string, 0);
        variable.description = "the solver's result file";
        variable.start = description_.resultFile;
        layout_.variables.push_back(std::move(variable));
    }

    void addParameter(const Parameter& parameter) {
        const Type type = typeOf(parameter.start);
        PlannedVariable variable = parameterOf(parameter.name, type, nextReference(type));
        variable.unit = parameter.unit;
        variable.description = parameter.description;
        variable.start = parameter.start;
        variable.min = parameter.min;
        variable.max = parameter.max;
        layout_.variables.push_back(std::move(variable));
        names(type).push_back(parameter.solverName);
    }

    static PlannedVariable parameterOf(const std::string& name, Type type, std::uint32_t reference) {
        PlannedVariable variable;
        variable.name = name;
        variable.type = type;
        variable.reference = reference;
        variable.causality = Causality::parameter;
        variable.variability = Variability::fixed;
        variable.initial = Initial::exact;
        return variable;
    }

    const Description& description_;
    Layout layout_;
    std::set<std::string> taken_;
};

} // namespace

Layout layOut(const Description& description) { return LayoutMaker(description).make(); }

} // namespace tool
