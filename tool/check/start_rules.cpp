#include <cmath>

#include "fmi/instance/fmu_instance.h"
#include "tool/check/rules.h"
#include "tool/fmu/numbers.h"

namespace tool {

namespace {

Place placeOfStart(const DescribedVariable& variable) { return {descriptionFile, variable.start()->line}; }

void checkReal(const DescribedVariable& variable, double value, Report& report) {
    if (!std::isfinite(value))
        report.add("start-infinite", placeOfStart(variable), "{} starts at {}.", inQuotes(variable.name), value);
    else if (value == neverSetReal)
        report.add("start-marker", placeOfStart(variable), "{} starts at {}.", inQuotes(variable.name), value);
    else if (losesDigits(value))
        report.add("start-precision", placeOfStart(variable), "{} starts at {}, which becomes {:.6f}.",
                   inQuotes(variable.name), value, value);
}

void checkString(const DescribedVariable& variable, Report& report) {
    const std::string& text = variable.start()->value;
    if (!isResultFile(variable) && text.find('\n') != std::string::npos)
        report.add("string-line-feed", placeOfStart(variable), "The start value of {} holds a line feed.",
                   inQuotes(variable.name));
    if (!isResultFile(variable)) return;
    if (text.size() > longestResultFile)
        report.add("string-length", placeOfStart(variable), "The start value of {} has {} bytes.",
                   inQuotes(variable.name), text.size());
    else
        checkResultFile(text.find(".mrf") == std::string::npos ? text + ".mrf" : text, placeOfStart(variable), report);
}

void checkParameter(const DescribedVariable& variable, Report& report) {
    if (variable.type == Type::string) return checkString(variable, report);
    const auto value = realAttribute(*variable.value, "start");
    if (!value) return;
    if (variable.type == Type::real) checkReal(variable, *value, report);
    if (variable.type == Type::integer && *value == neverSetInteger)
        report.add("start-marker", placeOfStart(variable), "{} starts at {}.", inQuotes(variable.name), *value);
}

/// Values other than parameters: all arrays but the strings are zeroed.
void checkLost(const DescribedVariable& variable, Report& report) {
    if (variable.type == Type::string) return;
    const std::string& text = variable.start()->value;
    const bool isZero =
        variable.type == Type::boolean ? !booleanOf(text).value_or(false) : realOf(text).value_or(0) == 0;
    if (!isZero)
        report.add("start-lost", placeOfStart(variable), "{} starts at {}, but is 0 after the initialization.",
                   inQuotes(variable.name), inQuotes(text));
}

} // namespace

void checkStartValues(const ModelDescription& description, Report& report) {
    for (const DescribedVariable& variable : description.variables) {
        if (variable.causality == Causality::parameter && variable.variability == Variability::tunable)
            report.add("parameter-tunable", {descriptionFile, variable.line()}, "{} is tunable.",
                       inQuotes(variable.name));
        if (!variable.isTyped() || variable.start() == nullptr || !variable.isCombinationAllowed) continue;
        if (variable.causality == Causality::parameter)
            checkParameter(variable, report);
        else
            checkLost(variable, report);
    }
}

} // namespace tool
