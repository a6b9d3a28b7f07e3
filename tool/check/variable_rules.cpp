#include <algorithm>
#include <unordered_set>

#include "tool/check/rules.h"
#include "tool/fmu/structured_name.h"

namespace tool {

namespace {

void checkVariableNames(const ModelDescription& description, Report& report) {
    const bool structured = textAttribute(*description.root, "variableNamingConvention", "flat") == "structured";
    std::unordered_set<std::string_view> names;
    for (const DescribedVariable& variable : description.variables) {
        if (variable.element->find("name") == nullptr) continue;
        if (!names.insert(variable.name).second)
            report.add("name-duplicate", placeOf(variable), "The name {} appears twice.", inQuotes(variable.name));
        if (structured && !isStructuredNameOrDerivative(variable.name))
            report.add("name-structured", placeOf(variable), "{} is not a structured name.", inQuotes(variable.name));
        if (!structured && variable.name.find_first_of("\r\n\t") != std::string_view::npos)
            report.add("name-flat", placeOf(variable), "The name {} holds a tab or a line end.",
                       inQuotes(variable.name));
    }
}

/// False when causality and variability do not go together; the rules for start values then make no sense.
bool checkCombination(const DescribedVariable& variable, Report& report) {
    const bool isFree = variable.causality == Causality::input || variable.causality == Causality::independent;
    if (variable.variability == Variability::continuous && variable.value->name != "Real")
        report.add("continuous-type", placeOf(variable), "{} is of type {} and continuous.", inQuotes(variable.name),
                   variable.value->name);
    else if (!variable.isCombinationAllowed)
        report.add("causality-combination", placeOf(variable), "{} has causality {}, variability {} and initial {}.",
                   inQuotes(variable.name), textAttribute(*variable.element, "causality", "local"),
                   textAttribute(*variable.element, "variability", "continuous"),
                   textAttribute(*variable.element, "initial", "not written"));
    else if (isFree && variable.element->find("initial") != nullptr)
        report.add("initial-forbidden", placeOf(variable), "{} has the attribute initial.", inQuotes(variable.name));
    return variable.isCombinationAllowed;
}

void checkStart(const DescribedVariable& variable, Report& report) {
    const bool isStarted = variable.start() != nullptr;
    const bool isRequired = variable.causality == Causality::input || variable.initial == Initial::exact ||
                            variable.initial == Initial::approx;
    if (isRequired && !isStarted)
        report.add("start-missing", placeOf(variable), "{} has no start value.", inQuotes(variable.name));
    else if (!isRequired && isStarted)
        report.add("start-forbidden", placeOf(variable), "{} has a start value.", inQuotes(variable.name));
    else if (variable.type == Type::string && !isStarted)
        report.add("string-start-missing", placeOf(variable), "The string {} has no start value.",
                   inQuotes(variable.name));
}

/// Whether a start value is one of an enumeration's items.
bool isItem(const DescribedVariable& variable, double value) {
    return std::ranges::any_of(variable.declaredType->children,
                               [value](const XmlElement& item) { return realAttribute(item, "value") == value; });
}

void checkLimits(const DescribedVariable& variable, Report& report) {
    if (variable.type == Type::string) return;
    const auto min = variable.real("min"), max = variable.real("max"), nominal = variable.real("nominal");
    const auto start = realAttribute(*variable.value, "start");
    const bool isEnumeration = variable.value->name == "Enumeration" && variable.declaredType != nullptr;
    if (min && max && *min > *max)
        report.add("min-max", placeOf(variable), "{} has min {} and max {}.", inQuotes(variable.name), *min, *max);
    else if (start && ((min && *start < *min) || (max && *start > *max)))
        report.add("start-range", placeOf(variable), "{} starts at {}, outside of min and max.",
                   inQuotes(variable.name), *start);
    else if (start && isEnumeration && !isItem(variable, *start))
        report.add("start-range", placeOf(variable), "{} starts at {}, which is not an item of its type.",
                   inQuotes(variable.name), *start);
    if (nominal && !(*nominal > 0.0))
        report.add("nominal", placeOf(variable), "{} has nominal {}.", inQuotes(variable.name), *nominal);
}

void checkDerivative(const ModelDescription& description, const DescribedVariable& variable, Report& report) {
    const auto index = naturalAttribute(*variable.value, "derivative");
    if (!index) return;
    const DescribedVariable* state = description.at(index);
    if (state == nullptr)
        report.add("derivative-index", placeOf(variable), "{} is the derivative of variable {}, which does not exist.",
                   inQuotes(variable.name), *index);
    else if (state->type != Type::real || state == &variable)
        report.add("derivative-index", placeOf(variable), "{} is the derivative of {}.", inQuotes(variable.name),
                   state == &variable ? "itself" : inQuotes(state->name));
}

/// Variables of one type with one value reference. Constants may be as many as they like.
class AliasSet {
public:
    explicit AliasSet(Report& report) : report_(report) {}

    void add(const DescribedVariable& variable) {
        if (first_ != nullptr && unitOf(variable) != unitOf(*first_))
            report_.add("alias-unit", placeOf(variable), "{} and {} share a value, but not the unit.",
                        inQuotes(first_->name), inQuotes(variable.name));
        if (first_ == nullptr) first_ = &variable;

        const bool counts = variable.isSettable() || variable.start() != nullptr;
        if (!counts || variable.variability == Variability::constant) return;
        if (owner_ != nullptr)
            report_.add("alias-start", placeOf(variable),
                        "{} and {} share a value, and both may be set or have a start.", inQuotes(owner_->name),
                        inQuotes(variable.name));
        owner_ = &variable;
    }

private:
    static std::string_view unitOf(const DescribedVariable& variable) {
        const XmlAttribute* unit = variable.attribute("unit");
        return unit != nullptr ? std::string_view(unit->value) : "";
    }

    Report& report_;
    const DescribedVariable* first_ = nullptr;
    const DescribedVariable* owner_ = nullptr; ///< the last one that may be set
};

void checkAliases(const ModelDescription& description, Report& report) {
    std::vector<const DescribedVariable*> sorted;
    for (const DescribedVariable& variable : description.variables)
        if (variable.isTyped() && variable.reference) sorted.push_back(&variable);
    const auto key = [](const DescribedVariable* variable) { return std::pair(variable->type, *variable->reference); };
    std::ranges::stable_sort(sorted, {}, key);
    for (auto first = sorted.begin(); first != sorted.end();) {
        AliasSet aliases(report);
        const auto end = std::ranges::upper_bound(first, sorted.end(), key(*first), {}, key);
        for (; first != end; ++first) aliases.add(**first);
    }
}

} // namespace

void checkVariables(const ModelDescription& description, Report& report) {
    checkVariableNames(description, report);
    for (const DescribedVariable& variable : description.variables) {
        if (!variable.isTyped()) continue;
        if (checkCombination(variable, report)) checkStart(variable, report);
        checkLimits(variable, report);
        checkDerivative(description, variable, report);
    }
    checkAliases(description, report);
}

} // namespace tool
