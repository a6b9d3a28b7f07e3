#include "packaging/check/report.h"

#include <algorithm>
#include <tuple>

namespace packaging::checking {

namespace {

constexpr int shownOfARule = 5;
constexpr std::size_t longestQuote = 100;

bool isContinuationByte(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

} // namespace

std::string inQuotes(std::string_view text) {
    std::size_t length = std::min(text.size(), longestQuote);
    while (length > 0 && length < text.size() && isContinuationByte(text[length])) --length;
    return fmt::format("\"{}{}\"", printable(text.substr(0, length)), length < text.size() ? "..." : "");
}

bool Report::isShown(RuleName rule, const Place& place) {
    Count& count = counts_[rule.index()];
    if (++count.found == shownOfARule + 1) count.firstHidden = {printable(place.file), place.line};
    return count.found <= shownOfARule;
}

void Report::keep(RuleName rule, const Place& place, std::string what) {
    entries_.push_back({&rule.rule(), {printable(place.file), place.line}, std::move(what)});
}

void Report::note(std::string_view heading, const std::string& what) { notes_.emplace_back(heading, printable(what)); }

void Report::handOver(Findings& findings) {
    for (const auto& [heading, what] : notes_) findings.note(heading, what);
    notes_.clear();
    for (std::size_t i = 0; i < counts_.size(); ++i)
        if (const int hidden = counts_[i].found - shownOfARule; hidden > 0)
            entries_.push_back(
                {&allRules[i], counts_[i].firstHidden,
                 fmt::format("The same is found {} more {} from here.", hidden, hidden == 1 ? "time" : "times")});
    std::ranges::stable_sort(entries_, {},
                             [](const Entry& entry) { return std::tie(entry.place.file, entry.place.line); });

    for (Entry& entry : entries_) {
        const auto add = entry.rule->severity == Severity::error ? &Findings::error : &Findings::warning;
        (findings.*add)(entry.rule->name, entry.place, std::move(entry.what), std::string(entry.rule->why),
                        std::string(entry.rule->mend));
    }
    entries_.clear();
    counts_ = {};
}

} // namespace packaging::checking
