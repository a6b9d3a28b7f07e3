#include "tool/doctor/solver/plan.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace tool {

namespace {

constexpr double smallValue = 0.01;

/// By causality and value reference; of those that share both the first.
using Variables = std::map<std::pair<Causality, std::int64_t>, const DescribedVariable*>;

Variables realsOf(const ModelDescription& description) {
    Variables reals;
    for (const DescribedVariable& variable : description.variables)
        if (variable.isTyped() && variable.type == Type::real && variable.reference)
            reals.try_emplace({variable.causality, *variable.reference}, &variable);
    return reals;
}

double drivenValue(const DescribedVariable& variable) {
    const double nominal = variable.real("nominal").value_or(1);
    const double least = variable.real("min").value_or(-HUGE_VAL), most = variable.real("max").value_or(HUGE_VAL);
    const double value = std::isfinite(nominal) && nominal > 0 ? smallValue * nominal : smallValue;
    return std::isnan(least) || std::isnan(most) || least > most ? value : std::clamp(value, least, most);
}

} // namespace

std::vector<PortSignal> signalsOf(const ShapeFile& shape, const ModelDescription& description) {
    const Variables reals = realsOf(description);
    std::vector<PortSignal> signals;
    for (const Port& port : shape.ports) {
        for (int i = 0; i < port.width; ++i) {
            PortSignal signal{port, i, "", "", port.isInput ? smallValue : 0};
            const auto found = reals.find({port.isInput ? Causality::input : Causality::output, port.offset + i});
            if (found != reals.end()) {
                const DescribedVariable* variable = found->second;
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
