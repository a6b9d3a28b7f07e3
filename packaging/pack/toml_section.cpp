#include "packaging/pack/toml_section.h"

#include <algorithm>
#include <cmath>

#include "packaging/text_forms.h"

namespace packaging {

const toml::node* Section::find(std::string_view key) {
    if (std::ranges::find(known_, key) == known_.end()) known_.emplace_back(key);
    return table_.get(key);
}

const toml::node* Section::require(std::string_view key) {
    const toml::node* node = find(key);
    if (node == nullptr) mistakes_.add(line_, "{} needs the key {}.", title_, key);
    return node;
}

std::optional<std::string> Section::text(std::string_view key) {
    const toml::node* node = find(key);
    if (node == nullptr) return std::nullopt;
    if (!node->is_string()) {
        wrongKind(*node, key, "a text in quotes");
        return std::nullopt;
    }
    const std::string& value = node->as_string()->get();
    if (hasControlCharacters(value)) {
        mistakes_.add(lineOf(*node), "{} holds a line feed or another control character.", key);
        return std::nullopt;
    }
    return value;
}

std::optional<double> Section::number(std::string_view key) {
    const toml::node* node = find(key);
    if (node == nullptr) return std::nullopt;
    std::optional<double> value;
    if (const auto* real = node->as_floating_point()) value = real->get();
    if (const auto* whole = node->as_integer()) value = static_cast<double>(whole->get());
    if (!value) wrongKind(*node, key, "a number");
    if (value && !std::isfinite(*value)) {
        mistakes_.add(lineOf(*node), "{} must be a finite number.", key);
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
        wrongKind(*node, key, "a list of texts");
        return values;
    }
    for (const toml::node& element : *node->as_array()) {
        values.push_back(element.as_string()->get());
        if (hasControlCharacters(values.back()))
            mistakes_.add(lineOf(element), "{} holds a line feed or another control character.", key);
    }
    return values;
}

std::optional<double> Section::positive(std::string_view key) {
    const std::optional<double> value = number(key);
    if (!value || *value > 0.0) return value;
    mistakes_.add(line(key), "{} must be above 0.", key);
    return std::nullopt;
}

void Section::refuseOtherKeys() const {
    for (const auto& [key, node] : table_)
        if (std::ranges::find(known_, key.str()) == known_.end())
            mistakes_.add(static_cast<int>(key.source().begin.line), "{} has no key {}; there are: {}.", title_,
                          key.str(), fmt::join(known_, ", "));
}

int Section::line(std::string_view key) const {
    const toml::node* node = table_.get(key);
    return node != nullptr ? lineOf(*node) : line_;
}

std::vector<const toml::table*> Section::tables(std::string_view key) {
    std::vector<const toml::table*> found;
    const toml::node* node = find(key);
    if (node == nullptr) return found;
    if (!node->is_array() || !std::ranges::all_of(*node->as_array(), [](const auto& n) { return n.is_table(); })) {
        wrongKind(*node, key, "a list of tables");
        return found;
    }
    for (const toml::node& element : *node->as_array()) found.push_back(element.as_table());
    return found;
}

void Section::wrongKind(const toml::node& node, std::string_view key, const char* wanted) {
    mistakes_.add(lineOf(node), "{} must be {}.", key, wanted);
}

} // namespace packaging
