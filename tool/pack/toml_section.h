// A table of a TOML file, read key by key: what is not as it should be becomes a finding with its line, and so does a
// key that nobody asked for.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <toml++/toml.h>

#include "tool/findings/report.h"

namespace tool {

class Section {
public:
    /// `title` names the table in sentences, such as "[model]"; `place` is where the table begins. The table and the
    /// report must outlive this.
    Section(const toml::table& table, std::string title, Place place, Report& report)
        : table_(table), title_(std::move(title)), place_(std::move(place)), report_(report) {}

    /// The node of a key, or null. The key is known from now on.
    const toml::node* find(std::string_view key);
    /// As `find`; that it is missing is an error, unless `refuseOtherKeys` finds it misspelt.
    const toml::node* require(std::string_view key);

    /// The value of a key, or nothing when it is not there or of another kind, which is an error.
    std::optional<std::string> text(std::string_view key);
    /// As `text`; that it is empty is an error.
    std::optional<std::string> nonEmptyText(std::string_view key);
    std::optional<double> number(std::string_view key);
    std::optional<std::int64_t> integer(std::string_view key);
    std::optional<bool> flag(std::string_view key);
    std::vector<std::string> texts(std::string_view key);

    std::optional<double> positive(std::string_view key);

    /// Calls `each` with a Section for every table of the list `key`; `tableTitle` names one of them, and `form` says
    /// how they are written.
    template <typename Function>
    void forEachTable(std::string_view key, const std::string& tableTitle, const char* form, const Function& each) {
        for (const toml::table* table : tables(key, form)) {
            Section section(*table, tableTitle, placeOf(*table), report_);
            each(section);
            section.refuseOtherKeys();
        }
    }
    /// Calls `read` with the Section of the table `key`, an empty one when it is not there. Something else than a table
    /// is an error, and not read.
    template <typename Function>
    void inTable(std::string_view key, const Function& read) {
        static const toml::table none;
        const toml::node* node = find(key);
        if (node != nullptr && !node->is_table()) return wrongKind(*node, key, "a table: write " + titleOf(key));
        Section section(node != nullptr ? *node->as_table() : none, titleOf(key),
                        node != nullptr ? placeOf(*node) : Place{place_.file, 1}, report_);
        read(section);
        section.refuseOtherKeys();
    }

    /// Reports every key that was not asked for, unless they are accepted, and then those that are missing. To be
    /// called once all keys were read.
    void refuseOtherKeys();
    void acceptOtherKeys() { acceptsOthers_ = true; }

    /// Where a key's value is, or the table.
    Place at(std::string_view key) const;
    const Place& place() const { return place_; }

    const toml::table& table() const { return table_; }
    Report& report() { return report_; }

private:
    Place placeOf(const toml::node& node) const { return {place_.file, static_cast<int>(node.source().begin.line)}; }
    std::vector<const toml::table*> tables(std::string_view key, const char* form);
    void wrongKind(const toml::node& node, std::string_view key, std::string_view wanted);
    bool isClean(const toml::node& node, std::string_view key);
    std::string titleOf(std::string_view key) const;
    std::string meantBy(std::string_view misspelt) const;

    const toml::table& table_;
    std::string title_;
    Place place_;
    Report& report_;
    std::vector<std::string> known_;
    std::vector<std::string> missing_;
    bool acceptsOthers_ = false;
};

} // namespace tool
