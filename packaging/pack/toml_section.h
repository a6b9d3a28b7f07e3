// A table of a TOML file, read key by key: what isn't as it should be becomes a mistake with its line, and so does a
// key that nobody asked for.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <toml++/toml.h>

#include "packaging/pack/mistakes.h"

namespace packaging {

class Section {
public:
    /// `title` names the table in sentences, such as "[model]". Both the table and the mistakes must outlive this.
    Section(const toml::table& table, std::string title, int line, Mistakes& mistakes)
        : table_(table), title_(std::move(title)), line_(line), mistakes_(mistakes) {}

    /// The node of a key, or null. The key is known from now on.
    const toml::node* find(std::string_view key);
    /// As `find`; its lack is a mistake.
    const toml::node* require(std::string_view key);

    /// The value of a key, or nothing when it isn't there or another kind of value, which is a mistake.
    std::optional<std::string> text(std::string_view key);
    std::optional<double> number(std::string_view key);
    std::optional<std::int64_t> integer(std::string_view key);
    std::optional<bool> flag(std::string_view key);
    std::vector<std::string> texts(std::string_view key);

    std::optional<double> positive(std::string_view key);

    /// Calls `each` with a Section for every table of the list `key`; `tableTitle` names one of them.
    template <typename Function>
    void forEachTable(std::string_view key, const std::string& tableTitle, const Function& each) {
        for (const toml::table* table : tables(key)) {
            Section section(*table, tableTitle, lineOf(*table), mistakes_);
            each(section);
            section.refuseOtherKeys();
        }
    }
    /// Calls `read` with the Section of the table `key`, an empty one when it isn't there.
    template <typename Function>
    void inTable(std::string_view key, const Function& read) {
        static const toml::table none;
        const toml::node* node = find(key);
        if (node != nullptr && !node->is_table()) wrongKind(*node, key, "a table");
        const bool there = node != nullptr && node->is_table();
        Section section(there ? *node->as_table() : none, "[" + std::string(key) + "]", there ? lineOf(*node) : 1,
                        mistakes_);
        read(section);
        section.refuseOtherKeys();
    }

    /// Makes every key that wasn't asked for a mistake.
    void refuseOtherKeys() const;

    /// The line of a key's value, or that of the table.
    int line(std::string_view key) const;
    int line() const { return line_; }

    const toml::table& table() const { return table_; }
    Mistakes& mistakes() { return mistakes_; }

    static int lineOf(const toml::node& node) { return static_cast<int>(node.source().begin.line); }

private:
    std::vector<const toml::table*> tables(std::string_view key);
    void wrongKind(const toml::node& node, std::string_view key, const char* wanted);

    const toml::table& table_;
    std::string title_;
    int line_;
    Mistakes& mistakes_;
    std::vector<std::string> known_;
};

} // namespace packaging
