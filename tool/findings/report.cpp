#include "tool/findings/report.h"

#include <algorithm>
#include <stdexcept>
#include <tuple>

namespace tool {

RuleName RuleName::of(std::string_view name) {
    RuleName found;
    while (found.index_ < allRules.size() && found.rule().name != name) ++found.index_;
    if (found.index_ == allRules.size()) throw std::logic_error(fmt::format("there is no rule {}", name));
    return found;
}

Report::Added& Report::Added::why(const std::string& sentence) {
    finding_.why = readable(sentence);
    return *this;
}

Report::Added& Report::Added::fix(const std::string& sentence) {
    finding_.fix = readable(sentence);
    return *this;
}

Report::Added& Report::Added::asWarning() {
    finding_.severity = Severity::warning;
    return *this;
}

void Report::note(std::string_view heading, std::string_view lines) {
    std::string shown;
    while (!lines.empty()) {
        const std::size_t end = std::min(lines.find('\n'), lines.size());
        shown += (shown.empty() ? "" : "\n") + readable(lines.substr(0, end));
        lines.remove_prefix(std::min(end + 1, lines.size()));
    }
    notes_.push_back({Severity::note, std::string(heading), {}, std::move(shown), "", ""});
}

std::vector<Finding> Report::findings() const {
    std::vector<Finding> all = findings_;
    for (std::size_t i = 0; i < counts_.size(); ++i) {
        const int hidden = counts_[i].found - shownOfARule_;
        if (hidden <= 0) continue;
        const Rule& rule = allRules[i];
        all.push_back({rule.severity, std::string(rule.name), counts_[i].firstHidden,
                       fmt::format("... and {} more of these, the first here.", hidden), std::string(rule.why),
                       std::string(rule.fix)});
    }
    std::ranges::stable_sort(all, {},
                             [](const Finding& finding) { return std::tie(finding.place.file, finding.place.line); });
    all.insert(all.begin(), notes_.begin(), notes_.end());
    return all;
}

bool Report::hasErrorIn(std::string_view file) const {
    return std::ranges::any_of(findings_, [file](const Finding& finding) {
        return finding.severity == Severity::error && finding.place.file.starts_with(file);
    });
}

bool Report::isKept(RuleName rule, const Place& place) {
    Count& count = counts_[rule.index()];
    if (++count.found == shownOfARule_ + 1) count.firstHidden = {readable(place.file), place.line};
    return count.found <= shownOfARule_;
}

Finding& Report::keep(RuleName rule, const Place& place, std::string_view what) {
    const Rule& row = rule.rule();
    return findings_.emplace_back(Finding{row.severity, std::string(row.name), Place{readable(place.file), place.line},
                                          readable(what), std::string(row.why), std::string(row.fix)});
}

int Report::count(Severity severity) const {
    auto all = std::ranges::count(findings_, severity, &Finding::severity);
    for (std::size_t i = 0; i < counts_.size(); ++i)
        if (allRules[i].severity == severity) all += std::max(counts_[i].found - shownOfARule_, 0);
    return static_cast<int>(all);
}

} // namespace tool
