#include <unordered_map>

#include "tool/check/rules.h"
#include "tool/fmu/numbers.h"

namespace tool {

namespace {

/// The lists must have a name for each variable that the FMU has of a type.
void checkLengths(const Fmu& fmu, Report& report) {
    for (std::size_t i = 0; i < typeNames.size(); ++i) {
        const NameList& list = fmu.names.lists[i];
        const auto count = fmu.shape.counts[i].value;
        if (!list.isKnown || !count || *list.count.value == *count) continue;
        const RuleName rule = *list.count.value < *count ? RuleName("names-short") : RuleName("names-long");
        report.add(rule, {nameFileName, list.count.number},
                   "There are {} {} names, but fmu2ts.par counts {} variables.", *list.count.value, typeNames[i].word,
                   *count);
    }
}

/// Whether a variable may reach the value file, and has a name there.
bool isNamed(const DescribedVariable& variable, const NameList& list) {
    return variable.isTyped() && variable.isSettable() && !isResultFile(variable) && variable.reference &&
           *variable.reference < list.names.size();
}

} // namespace

void checkNames(const Fmu& fmu, Report& report) {
    checkLengths(fmu, report);
    std::unordered_map<std::string_view, int> lines; // by name
    for (const DescribedVariable& variable : fmu.description.variables) {
        const NameList& list = fmu.names.listOf(variable.type);
        if (!isNamed(variable, list)) continue;
        const std::string_view name = list.names[*variable.reference];
        const Place place{nameFileName, list.lineOf(*variable.reference)};
        if (trimmed(name).empty())
            report.add("name-empty", place, "The model's name of {} is empty.", inQuotes(variable.name));
        else if (name.find(',') != std::string_view::npos)
            report.add("name-comma", place, "The model's name of {} is {}.", inQuotes(variable.name), inQuotes(name));
        else if (trimmed(name).size() != name.size())
            report.add("name-blank", place, "The model's name of {} is {}.", inQuotes(variable.name), inQuotes(name));
        else if (const auto [other, isNew] = lines.emplace(name, place.line); !isNew && other->second != place.line)
            report.add("name-shared", place, "The model's name {} is also in line {}.", inQuotes(name), other->second);
    }
}

} // namespace tool
