#include "tool/pack/toml_section.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <fmt/ranges.h>

#include "tool/os/text.h"

namespace tool {

const toml::node* Section::find(std::string_view key) {
    if (std::ranges::find(known_, key) == known_.end()) known_.emplace_back(key);
    return table_.get(key);
}

const toml::node* Section::require(std::string_view key) {
    const toml::node* node = find(key);
    if (node == nullptr) missing_.emplace_back(key);
    return node;
}

std::optional<std::string> Section::text(std::string_view key) {
    const toml::node* node = find(key);
    if (node == nullptr) return std::nullopt;
    if (!node->is_string()) {
        wrongKind(*node, key, "a string in quotes");
        return std::nullopt;
    }
    return isClean(*node, key) ? std::optional(node->as_string()->get()) : std::nullopt;
}

std::optional<std::string> Section::nonEmptyText(std::string_view key) {
    std::optional<std::string> value = text(key);
    if (!value || !value->empty()) return value;
    report_.add("key-value", at(key), "{} must not be empty.", key);
    return std::nullopt;
}

std::optional<double> Section::number(std::string_view key) {
    const toml::node* node = find(key);
    if (node == nullptr) return std::nullopt;
    std::optional<double> value;
    if (const auto* real = node->as_floating_point()) value = real->get();
    if (const auto* whole = node->as_integer()) value = static_cast<double>(whole->get());
    if (!value) wrongKind(*node, key, "a number");
    if (value && !std::isfinite(*value)) {
        report_.add("key-value", placeOf(*node), "{} must be a finite number.", key);
        return std::nullopt;
    }
    return value;
}

std::optional<std::int64_t> Section::integer(std::string_view key) {
    const toml::node* node = find(key);
    if (node == nullptr) return std::nullopt;
    if (const auto* whole = node->as_integer()) return whole->get();
    wrongKind(*node, key, "an integer");
    return std::nullopt;
}

std::optional<bool> Section::flag(std::string_view key) {
    const toml::node* node = find(key);
    if (node == nullptr) return std::nullopt;
    if (const auto* boolean = node->as_boolean()) return boolean->get();
    wrongKind(*node, key, "true or false");
    return std::nullopt;
}

std::vector<std::string> Section::texts(std::string_view key) {
    std::vector<std::string> values;
    const toml::node* node = find(key);
    if (node == nullptr) return values;
    if (!node->is_array() || !std::ranges::all_of(*node->as_array(), [](const auto& n) { return n.is_string(); })) {
        wrongKind(*node, key, "a list of strings");
        return values;
    }
    for (const toml::node& element : *node->as_array()) {
        if (element.as_string()->get().empty())
            report_.add("key-value", placeOf(element), "{} must not hold an empty string.", key);
        else if (isClean(element, key))
            values.push_back(element.as_string()->get());
    }
    return values;
}

std::optional<double> Section::positive(std::string_view key) {
    const std::optional<double> value = number(key);
    if (!value || *value > 0.0) return value;
    report_.add("key-value", at(key), "{} must be above 0.", key);
    return std::nullopt;
}

void Section::refuseOtherKeys() {
    for (const auto& [key, node] : table_) {
        if (acceptsOthers_ || std::ranges::find(known_, key.str()) != known_.end()) continue;
        Report::Added added =
            report_.add("key-unknown", {place_.file, static_cast<int>(key.source().begin.line)},
                        "{} has no key {}; its keys are {}.", title_, inQuotes(key.str()), fmt::join(known_, ", "));
        const std::string meant = meantBy(key.str());
        if (meant.empty()) continue;
        added.fix(fmt::format("Did you mean {}?", meant));
        std::erase(missing_, meant);
    }
    for (const std::string& key : missing_) report_.add("key-missing", place_, "{} needs the key {}.", title_, key);
}

/// The nearest key that is missing in the table, or nothing.
std::string Section::meantBy(std::string_view misspelt) const {
    std::size_t farthest = 2;
    std::string nearest;
    for (const std::string& key : known_) {
        if (table_.contains(key) || misspelt.size() > key.size() + farthest) continue;
        if (const std::size_t distance = editDistance(key, misspelt); distance <= farthest && distance < key.size()) {
            nearest = key;
            farthest = distance - 1;
        }
    }
    return nearest;
}

/// How a table in this one is written.
std::string Section::titleOf(std::string_view key) const {
    const std::string outer = title_.starts_with('[') ? title_.substr(1, title_.size() - 2) + "." : "";
    return fmt::format("[{}{}]", outer, key);
}

Place Section::at(std::string_view key) const {
    const toml::node* node = table_.get(key);
    return node != nullptr ? placeOf(*node) : place_;
}

std::vector<const toml::table*> Section::tables(std::string_view key, const char* form) {
    std::vector<const toml::table*> found;
    const toml::node* node = find(key);
    if (node == nullptr) return found;
    if (!node->is_array() || !std::ranges::all_of(*node->as_array(), [](const auto& n) { return n.is_table(); })) {
        report_.add("key-value", placeOf(*node), "{} must be a list of tables: write {}.", key, form);
        return found;
    }
    for (const toml::node& element : *node->as_array()) found.push_back(element.as_table());
    return found;
}

void Section::wrongKind(const toml::node& node, std::string_view key, std::string_view wanted) {
    report_.add("key-value", placeOf(node), "{} must be {}.", key, wanted);
}

bool Section::isClean(const toml::node& node, std::string_view key) {
    if (!hasControlCharacters(node.as_string()->get())) return true;
    report_.add("key-value", placeOf(node), "{} holds a line feed or another control character.", key);
    return false;
}

} // namespace tool
