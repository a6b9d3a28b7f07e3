#include "packaging/pack/layout.h"

#include <algorithm>
#include <set>

#include "packaging/pack/description_rules.h"

namespace packaging {

namespace {

constexpr int orders = 2;

class LayoutMaker {
public:
    explicit LayoutMaker(const Description& description) : description_(description) {
        for (const auto* ports : {&description.inputs, &description.outputs})
            for (const Port& port : *ports)
                for (const Signal& signal : port.signals) taken_.insert(signal.solverName);
        for (const Parameter& parameter : description.parameters) taken_.insert(parameter.solverName);
    }

    Layout make() {
        for (const Port& port : description_.inputs) addInput(port);
        for (const Port& port : description_.outputs) addOutput(port);
        addResultFile();
        for (const Parameter& parameter : description_.parameters) addParameter(parameter);
        return std::move(layout_);
    }

private:
    std::vector<std::string>& names(VariableType type) { return layout_.solverNames[static_cast<std::size_t>(type)]; }

    std::uint32_t nextReference(VariableType type) { return static_cast<std::uint32_t>(names(type).size()); }

    static PortPlace place(const Port& port, std::uint32_t offset) {
        return {static_cast<std::uint32_t>(port.signals.size()), offset};
    }

    void addInput(const Port& port) {
        layout_.inputs.push_back(place(port, nextReference(VariableType::real)));
        for (const Signal& signal : port.signals) {
            Variable variable = variableOf(signal, Role::input, nextReference(VariableType::real));
            variable.start = signal.start;
            layout_.variables.push_back(std::move(variable));
            names(VariableType::real).push_back(signal.solverName);
        }
    }

    /// All three blocks are reserved, whatever the model description shows of them.
    void addOutput(const Port& port) {
        const PortPlace there = place(port, nextReference(VariableType::real));
        layout_.outputs.push_back(there);
        for (std::uint32_t k = 0; k < there.width; ++k) {
            const Signal& signal = port.signals[k];
            layout_.variables.push_back(variableOf(signal, Role::output, there.offset + k));
            std::string unit = signal.unit;
            for (int order = 1; order <= port.derivatives; ++order) {
                if (!unit.empty()) unit = derivativeUnitName(unit);
                const auto reference = there.offset + k + there.width * static_cast<std::uint32_t>(order);
                addDerivative(signal, order, unit, reference);
            }
        }
        for (const Signal& signal : port.signals) names(VariableType::real).push_back(signal.solverName);
        for (int order = 1; order <= orders; ++order)
            for (const Signal& signal : port.signals)
                names(VariableType::real).push_back(derivativeName(signal, order));
    }

    void addDerivative(const Signal& signal, int order, const std::string& unit, std::uint32_t reference) {
        const char* form = order == 1 ? "der({})" : "der({},2)";
        Variable variable = variableOf(signal, Role::derivative, reference);
        variable.name = fmt::format(fmt::runtime(form), signal.name);
        variable.unit = unit;
        variable.description = fmt::format("{} time derivative of {}", order == 1 ? "first" : "second", signal.name);
        variable.derivativeOf = layout_.variables.size();
        layout_.variables.push_back(std::move(variable));
    }

    static Variable variableOf(const Signal& signal, Role role, std::uint32_t reference) {
        Variable variable;
        variable.name = signal.name;
        variable.reference = reference;
        variable.role = role;
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
        const auto isText = [](const Parameter& parameter) { return typeOf(parameter.start) == VariableType::string; };
        if (!description_.resultFileVariable && std::ranges::none_of(description_.parameters, isText)) return;
        names(VariableType::string).emplace_back(resultFileVariableName);
        if (!description_.resultFileVariable) return;
        Variable variable;
        variable.name = resultFileVariableName;
        variable.type = VariableType::string;
        variable.description = "the solver's result file";
        variable.start = description_.resultFile;
        layout_.variables.push_back(std::move(variable));
    }

    void addParameter(const Parameter& parameter) {
        const VariableType type = typeOf(parameter.start);
        layout_.variables.push_back({parameter.name, type, nextReference(type), Role::parameter, parameter.unit,
                                     parameter.description, parameter.start, parameter.min, parameter.max});
        names(type).push_back(parameter.solverName);
    }

    const Description& description_;
    Layout layout_;
    std::set<std::string> taken_;
};

} // namespace

int Layout::maxOutputDerivativeOrder() const {
    const auto isAsWide = [this](const PortPlace& port) { return port.width == outputs.front().width; };
    return !outputs.empty() && std::ranges::all_of(outputs, isAsWide) ? orders : 0;
}

Layout layOut(const Description& description) { return LayoutMaker(description).make(); }

} // namespace packaging
