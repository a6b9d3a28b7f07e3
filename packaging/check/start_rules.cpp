#include <cmath>

#include "fmi/fmu_instance.h"
#include "packaging/check/rules.h"
#include "packaging/value_file.h"

namespace packaging::checking {

namespace {

constexpr std::size_t longestResultFile = 1023;

Place placeOf(const Variable& variable) { return {descriptionFile, variable.start()->line}; }

void checkReal(const Variable& variable, double value, Report& report) {
    if (!std::isfinite(value))
        report.add("start-infinite", placeOf(variable), "{} starts at {}.", inQuotes(variable.name), value);
    else if (value == neverSetReal)
        report.add("start-marker", placeOf(variable), "{} starts at {}.", inQuotes(variable.name), value);
    else if (losesDigits(value))
        report.add("start-precision", placeOf(variable), "{} starts at {}, which becomes {:.6f}.",
                   inQuotes(variable.name), value, value);
}

void checkString(const Variable& variable, Report& report) {
    const std::string& text = variable.start()->value;
    const bool isResultFile = variable.reference == 0U;
    if (!isResultFile && text.find('\n') != std::string::npos)
        report.add("string-line-feed", placeOf(variable), "The start value of {} holds a line feed.",
                   inQuotes(variable.name));
    if (!isResultFile) return;
    if (text.size() > longestResultFile)
        report.add("string-length", placeOf(variable), "The start value of {} has {} bytes.", inQuotes(variable.name),
                   text.size());
    else
        checkResultFile(text.find(".mrf") == std::string::npos ? text + ".mrf" : text, placeOf(variable), report);
}

void checkParameter(const Variable& variable, Report& report) {
    if (variable.kind == Type::string) return checkString(variable, report);
    const auto value = realAttribute(*variable.value, "start");
    if (!value) return;
    if (variable.kind == Type::real) checkReal(variable, *value, report);
    if (variable.kind == Type::integer && *value == neverSetInteger)
        report.add("start-marker", placeOf(variable), "{} starts at {}.", inQuotes(variable.name), *value);
}

/// Values other than parameters: all arrays but the strings are zeroed.
void checkLost(const Variable& variable, Report& report) {
    if (variable.kind == Type::string) return;
    const std::string& text = variable.start()->value;
    const bool isZero =
        variable.kind == Type::boolean ? !booleanOf(text).value_or(false) : realOf(text).value_or(0) == 0;
    if (!isZero)
        report.add("start-lost", placeOf(variable), "{} starts at {}, but is 0 after the initialization.",
                   inQuotes(variable.name), inQuotes(text));
}

} // namespace

void checkStartValues(const ModelDescription& description, Report& report) {
    for (const Variable& variable : description.variables) {
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

} // namespace packaging::checking
