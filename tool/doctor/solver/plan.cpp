#include "tool/doctor/solver/plan.h"

#include <algorithm>
#include <cmath>

namespace tool {

namespace {

constexpr double smallValue = 0.01;

/// Of the variables that share the value the one with the port's causality.
const DescribedVariable* variableOf(const ModelDescription& description, const Signal& signal) {
    const Causality causality = signal.port.isInput ? Causality::input : Causality::output;
    const auto found = std::ranges::find_if(description.variables, [&](const DescribedVariable& variable) {
        return variable.isTyped() && variable.type == Type::real && variable.causality == causality &&
               variable.reference == static_cast<std::uint32_t>(signal.port.offset + signal.index);
    });
    return found != description.variables.end() ? &*found : nullptr;
}

double drivenValue(const DescribedVariable& variable) {
    const double nominal = variable.real("nominal").value_or(1);
    const double least = variable.real("min").value_or(-HUGE_VAL), most = variable.real("max").value_or(HUGE_VAL);
    const double value = std::isfinite(nominal) && nominal > 0 ? smallValue * nominal : smallValue;
    return std::isnan(least) || std::isnan(most) || least > most ? value : std::clamp(value, least, most);
}

} // namespace

std::vector<Signal> signalsOf(const ShapeFile& shape, const ModelDescription& description) {
    std::vector<Signal> signals;
    for (const Port& port : shape.ports) {
        for (int i = 0; i < port.width; ++i) {
            Signal signal{port, i, "", "", port.isInput ? smallValue : 0};
            if (const DescribedVariable* variable = variableOf(description, signal)) {
                const XmlAttribute* unit = variable->attribute("unit");
                signal.name = variable->name;
                signal.unit = unit != nullptr ? unit->value : "";
                if (port.isInput) signal.driven = drivenValue(*variable);
            }
            signals.push_back(std::move(signal));
        }
    }
    return signals;
}

} // namespace tool
