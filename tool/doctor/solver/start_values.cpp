#include "tool/doctor/solver/start_values.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tool {

namespace {

constexpr double realChange = 0.00137;   ///< odd, so that no template has the value by chance
constexpr double leastRealChange = 2e-6; ///< shows in the six decimals of the value file

/// A value beside the start value, within the limits; the start value when there is none.
double beside(double start, double change, const DescribedVariable& variable) {
    const double least = variable.real("min").value_or(-HUGE_VAL), most = variable.real("max").value_or(HUGE_VAL);
    if (start + change <= most) return start + change;
    return start - change >= least ? start - change : start;
}

double realOf(const DescribedVariable& variable, Choice choice) {
    const double start = variable.real("start").value_or(0);
    if (choice == Choice::start) return start;
    const double change = start == 0 ? realChange : std::max(std::abs(start) * realChange, leastRealChange);
    return beside(start, change, variable);
}

fmi2Integer integerOf(const DescribedVariable& variable, Choice choice) {
    using Limits = std::numeric_limits<fmi2Integer>;
    const double start = variable.real("start").value_or(0);
    const double value = choice == Choice::start ? start : beside(start, 1, variable);
    return value >= Limits::min() && value <= Limits::max() ? static_cast<fmi2Integer>(value) : 0;
}

fmi2Boolean booleanOf(const DescribedVariable& variable, Choice choice) {
    const bool start = variable.start() != nullptr && tool::booleanOf(variable.start()->value).value_or(false);
    return start != (choice == Choice::changed) ? fmi2True : fmi2False;
}

std::string textOf(const DescribedVariable& variable, Choice choice) {
    const std::string start = variable.start() != nullptr ? variable.start()->value : "";
    return choice == Choice::start ? start : start + "x";
}

} // namespace

std::vector<Settable> settablesOf(const Fmu& fmu) {
    std::vector<Settable> settables;
    for (const DescribedVariable& variable : fmu.description.variables) {
        const NameList& list = fmu.names.listOf(variable.type);
        if (!variable.isTyped() || !variable.isSettable() || isResultFile(variable) || !variable.reference) continue;
        const std::uint32_t reference = *variable.reference;
        const std::int32_t count = fmu.shape.countOf(variable.type).value_or(0);
        if (!list.isKnown || reference >= list.names.size() || static_cast<std::int64_t>(reference) >= count) continue;
        settables.push_back({&variable, std::string(list.names[reference]), {nameFileName, list.lineOf(reference)}});
    }
    return settables;
}

bool canBeChanged(const Settable& settable) {
    const DescribedVariable& variable = *settable.variable;
    if (variable.type == Type::real) return realOf(variable, Choice::start) != realOf(variable, Choice::changed);
    return variable.type != Type::integer || integerOf(variable, Choice::start) != integerOf(variable, Choice::changed);
}

SetInstance::SetInstance(const ShapeFile& shape, const std::vector<Setting>& settings) {
    const auto count = [&shape](Type type) { return static_cast<std::size_t>(shape.countOf(type).value_or(0)); };
    reals_.assign(count(Type::real), neverSetReal);
    integers_.assign(count(Type::integer), neverSetInteger);
    booleans_.assign(count(Type::boolean), neverSetInteger);
    texts_.resize(count(Type::string));
    strings_.assign(count(Type::string), nullptr);
    for (const Setting& setting : settings) set(setting);

    FmuInstance& record = *log_.instance();
    record.nReal = static_cast<std::uint32_t>(reals_.size());
    record.nInteger = static_cast<std::uint32_t>(integers_.size());
    record.nBoolean = static_cast<std::uint32_t>(booleans_.size());
    record.nString = static_cast<std::uint32_t>(strings_.size());
    record.realValues = reals_.data();
    record.integerValues = integers_.data();
    record.booleanValues = booleans_.data();
    record.stringValues = strings_.data();
}

void SetInstance::set(const Setting& setting) {
    const DescribedVariable& variable = *setting.settable->variable;
    const std::size_t i = *variable.reference;
    if (variable.type == Type::real) reals_[i] = realOf(variable, setting.choice);
    if (variable.type == Type::integer) integers_[i] = integerOf(variable, setting.choice);
    if (variable.type == Type::boolean) booleans_[i] = booleanOf(variable, setting.choice);
    if (variable.type != Type::string) return;
    texts_[i] = textOf(variable, setting.choice);
    strings_[i] = texts_[i].data();
}

} // namespace tool
