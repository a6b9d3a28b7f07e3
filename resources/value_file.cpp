#include "resources/value_file.h"

#include <string_view>

#include "fmi/instance/reset_values.h"
#include "resources/value_text.h"

namespace {

/// Collects the lines of one type of variables after the other.
class Collector {
public:
    /// `flags`: which variables of the type count, by value reference; null for all.
    void begin(const char* type, char* const* names, std::int32_t nNames, const std::vector<bool>* flags) {
        type_ = type;
        names_ = names;
        nNames_ = names != nullptr && nNames > 0 ? static_cast<std::uint32_t>(nNames) : 0;
        flags_ = flags;
    }

    bool counts(std::uint32_t valueReference) const { return flags_ == nullptr || (*flags_)[valueReference]; }

    void add(std::uint32_t valueReference, std::string_view value) {
        const char* name = valueReference < nNames_ ? names_[valueReference] : nullptr;
        if (name != nullptr)
            lines.text.append(name).append(", ").append(value).append("\n");
        else
            lines.unnamed.push_back({type_, valueReference});
    }

    ValueLines lines;

private:
    const char* type_ = "";
    char* const* names_ = nullptr;
    std::uint32_t nNames_ = 0;
    const std::vector<bool>* flags_ = nullptr;
};

/// The values of integers and booleans.
void addWhole(Collector& lines, const int* values, std::uint32_t count) {
    for (std::uint32_t k = 0; values != nullptr && k < count; ++k)
        if (values[k] != neverSetInteger && lines.counts(k)) lines.add(k, std::to_string(values[k]));
}

} // namespace

ValueLines valueLines(const FmuInstance* instance, const MvParRecord& names) {
    const SetSinceReset* set = setSinceReset(instance);
    Collector lines;

    lines.begin("Real", names.realNames, names.nRealNames, set != nullptr ? &set->reals : nullptr);
    for (std::uint32_t k = 0; instance->realValues != nullptr && k < instance->nReal; ++k) {
        ValueText text;
        const double value = instance->realValues[k];
        if (value != neverSetReal && lines.counts(k)) lines.add(k, writeValue(value, text));
    }

    lines.begin("Integer", names.integerNames, names.nIntegerNames, set != nullptr ? &set->integers : nullptr);
    addWhole(lines, instance->integerValues, instance->nInteger);

    lines.begin("Boolean", names.booleanNames, names.nBooleanNames, set != nullptr ? &set->booleans : nullptr);
    addWhole(lines, instance->booleanValues, instance->nBoolean);

    // Kept: string variable 0 is the result file name and never written.
    lines.begin("String", names.stringNames, names.nStringNames, set != nullptr ? &set->strings : nullptr);
    for (std::uint32_t k = 1; instance->stringValues != nullptr && k < instance->nString; ++k)
        if (const char* value = instance->stringValues[k]; value != nullptr && lines.counts(k)) lines.add(k, value);

    return std::move(lines.lines);
}
