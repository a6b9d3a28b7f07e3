#include <unordered_map>

#include "packaging/check/rules.h"

namespace packaging::checking {

namespace {

/// The lists must have a name for each variable that the FMU has of a type.
void checkLengths(const ShapeFile& shape, const NameFile& file, Report& report) {
    for (std::size_t i = 0; i < file.lists.size(); ++i) {
        const NameList& list = file.lists[i];
        const auto count = shape.counts[i];
        if (!list.isKnown || !count) continue;
        const auto length = static_cast<std::int64_t>(list.names.size());
        if (length < *count)
            report.add("names-short", {nameFileName, list.line},
                       "There are {} {} names, but fmu2ts.par counts {} variables.", length, typeNames[i], *count);
        if (length > *count)
            report.add("names-long", {nameFileName, list.line},
                       "There are {} {} names, but fmu2ts.par counts {} variables.", length, typeNames[i], *count);
    }
}

/// The name of a variable that may reach the value file; null when there is none or it never does.
const NameLine* nameOf(const Variable& variable, const NameFile& file) {
    const NameList& list = file.listOf(variable.kind);
    const bool isResultFile = variable.kind == Type::string && variable.reference == 0U;
    const bool isWritten = variable.isTyped() && variable.isSettable() && variable.reference && !isResultFile;
    return isWritten && *variable.reference < list.names.size() ? &list.names[*variable.reference] : nullptr;
}

} // namespace

void checkNames(const ModelDescription& description, const ShapeFile& shape, const NameFile& file, Report& report) {
    checkLengths(shape, file, report);
    std::unordered_map<std::string_view, const NameLine*> lines;
    for (const Variable& variable : description.variables) {
        const NameLine* name = nameOf(variable, file);
        if (name == nullptr) continue;
        const Place place{nameFileName, name->line};
        if (trimmed(name->name).empty())
            report.add("name-empty", place, "The model's name of {} is empty.", inQuotes(variable.name));
        else if (name->name.find(',') != std::string_view::npos)
            report.add("name-comma", place, "The model's name of {} is {}.", inQuotes(variable.name),
                       inQuotes(name->name));
        else if (trimmed(name->name).size() != name->name.size())
            report.add("name-blank", place, "The model's name of {} is {}.", inQuotes(variable.name),
                       inQuotes(name->name));
        else if (const auto [other, isNew] = lines.emplace(name->name, name); !isNew && other->second != name)
            report.add("name-shared", place, "The model's name {} stands in line {}, too.", inQuotes(name->name),
                       other->second->line);
    }
}

} // namespace packaging::checking
