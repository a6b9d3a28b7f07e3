#include "tool/pack/template_rules.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <string>

#include "tool/fmu/names.h"
#include "tool/fmu/numbers.h"
#include "tool/os/files.h"
#include "tool/pack/model_description_writer.h"

namespace tool {

namespace {

/// Letters outside ASCII are letters.
bool isWordCharacter(char c) { return isNondigit(c) || isDigit(c) || static_cast<unsigned char>(c) >= 0x80; }

template <typename Take>
void forEachWord(std::string_view text, const Take& take) {
    for (auto start = text.begin(); (start = std::find_if(start, text.end(), isWordCharacter)) != text.end();) {
        const auto end = std::find_if_not(start, text.end(), isWordCharacter);
        take(std::string_view(start, end));
        start = end;
    }
}

/// Calls `take` with what lies between each `start` and the next `end`.
template <typename Take>
void forEachBetween(std::string_view text, std::string_view start, std::string_view end, const Take& take) {
    for (std::size_t from = 0; (from = text.find(start, from)) != std::string_view::npos;) {
        from += start.size();
        const std::size_t to = std::min(text.find(end, from), text.size());
        take(text.substr(from, to - from));
        from = to;
    }
}

std::string withoutXmlComments(std::string_view text) {
    constexpr std::string_view start = "<!--", end = "-->";
    std::string kept(text.substr(0, text.find(start)));
    text.remove_prefix(kept.size());
    forEachBetween(text, end, start, [&kept](std::string_view between) { kept += between; });
    return kept;
}

/// The value of an attribute in a start tag; nothing when it has none.
std::optional<std::string_view> attributeIn(std::string_view tag, std::string_view name) {
    for (std::size_t at = 0; (at = tag.find(name, at)) != std::string_view::npos; at += name.size()) {
        const std::string_view rest = trimmed(tag.substr(at + name.size()));
        if (at == 0 || isWordCharacter(tag[at - 1]) || !rest.starts_with('=')) continue;
        const std::string_view value = trimmed(rest.substr(1));
        if (value.empty() || (value[0] != '"' && value[0] != '\'')) continue;
        const std::size_t end = value.find(value[0], 1);
        if (end != std::string_view::npos) return value.substr(1, end - 1);
    }
    return std::nullopt;
}

/// The defaults that a template has for parameters, by the solver's names. One that is there twice with different
/// values is none.
class Defaults {
public:
    Defaults(const std::vector<Parameter>& parameters, std::string_view modelTemplate) {
        for (const Parameter& parameter : parameters) found_[parameter.solverName] = {};
        const std::string text = withoutXmlComments(modelTemplate);
        forEachBetween(text, "<parameter", ">", [this](std::string_view tag) {
            constexpr std::size_t longest = 10'000; // what is longer is not a tag
            if (const auto name = attributeIn(tag.substr(0, longest), "name"))
                note(*name, attributeIn(tag.substr(0, longest), "value"));
        });
        forEachBetween(text, "${", "}", [this](std::string_view place) { noteAssignment(place); });
        forEachBetween("\n" + text, "\n", "\n", [this](std::string_view line) {
            noteAssignment(line.substr(0, std::min(line.find_first_of(";,#!%"), line.find("//"))));
        });
    }

    std::optional<std::string_view> of(const Parameter& parameter) const {
        const std::set<std::string, std::less<>>& values = found_.find(parameter.solverName)->second;
        return values.size() == 1 ? std::optional<std::string_view>(*values.begin()) : std::nullopt;
    }

private:
    void note(std::string_view name, std::optional<std::string_view> value) {
        const auto values = found_.find(name);
        if (values != found_.end() && value && values->second.size() < 2) values->second.emplace(*value);
    }

    /// Only numbers and truth values: anything else may be an expression.
    void noteAssignment(std::string_view text) {
        const std::size_t sign = text.find('=');
        if (sign == std::string_view::npos) return;
        const std::string_view value = trimmed(text.substr(sign + 1));
        if (realOf(value) || booleanOf(value)) note(trimmed(text.substr(0, sign)), value);
    }

    std::map<std::string, std::set<std::string, std::less<>>, std::less<>> found_;
};

bool areEqual(double one, double other) {
    constexpr double tolerance = 1e-6; // what reaches the solver has six decimals
    return std::abs(one - other) <= tolerance * std::max(std::abs(one), std::abs(other));
}

/// Whether a text says another value than a start value; not when it is of another kind.
bool contradicts(std::string_view text, const Value& start) {
    const std::optional<double> number = realOf(text);
    if (const double* real = std::get_if<double>(&start)) return number && !areEqual(*number, *real);
    if (const auto* whole = std::get_if<std::int32_t>(&start)) return number && !areEqual(*number, *whole);
    if (const bool* truth = std::get_if<bool>(&start)) return booleanOf(text).value_or(*truth) != *truth;
    const bool isPlain = text.find_first_of("&$") == std::string_view::npos;
    return isPlain && text != std::get<std::string>(start);
}

bool isText(std::string_view content) {
    return content.size() <= largestFile && content.find('\0') == std::string_view::npos;
}

void checkNames(const Description& description, const std::vector<std::string_view>& texts, Report& report) {
    std::set<std::string_view> missing;
    for (const Parameter& parameter : description.parameters)
        forEachWord(parameter.solverName, [&missing](std::string_view word) { missing.insert(word); });
    for (const std::string_view text : texts)
        if (isText(text)) forEachWord(text, [&missing](std::string_view word) { missing.erase(word); });

    for (const Parameter& parameter : description.parameters) {
        bool isMissing = false;
        forEachWord(parameter.solverName, [&](std::string_view word) { isMissing |= missing.contains(word); });
        if (isMissing)
            report.add("template-name", description.at(parameter.line),
                       "{} is not in the template: the solver's name of {}.", inQuotes(parameter.solverName),
                       inQuotes(parameter.name));
    }
}

} // namespace

void checkTemplate(const Description& description, std::string_view modelTemplate,
                   const std::vector<std::string_view>& resources, Report& report) {
    if (!isText(modelTemplate)) return;
    std::vector<std::string_view> texts = resources;
    texts.push_back(modelTemplate);
    checkNames(description, texts, report);

    const Defaults defaults(description.parameters, modelTemplate);
    for (const Parameter& parameter : description.parameters)
        if (const auto value = defaults.of(parameter); value && contradicts(*value, parameter.start))
            report.add("template-start", description.at(parameter.line), "{} starts at {}, but the template has {}.",
                       inQuotes(parameter.name), textOf(parameter.start), inQuotes(*value));
}

} // namespace tool
