#include "packaging/doctor/session_report.h"

#include <sstream>

#include <nlohmann/json.hpp>

#include "packaging/doctor/child.h"

namespace packaging {

namespace {

using nlohmann::json;

constexpr std::size_t mostFactsOfARule = 10;
constexpr std::size_t mostOfAText = 4000;

} // namespace

void SessionReport::begin(const std::string& action) { write("begin", "", action); }

void SessionReport::tell(std::string_view rule, const std::string& what) {
    {
        const std::lock_guard lock(mutex_);
        const std::string name(rule);
        if (rules_.count(name) >= mostFactsOfARule || !told_.insert(name + '\n' + what).second) return;
        rules_.insert(name);
    }
    write("fact", rule, what);
}

void SessionReport::step() { write("step", "", ""); }

void SessionReport::end() { write("end", "", ""); }

void SessionReport::write(std::string_view key, std::string_view rule, std::string_view text) {
    const json line = {{"key", key}, {"rule", rule}, {"text", text.substr(0, mostOfAText)}};
    // The solver's texts may be no UTF-8.
    writeAll(descriptor_, line.dump(-1, ' ', false, json::error_handler_t::replace) + '\n');
}

SessionOutcome readReport(const std::string& report) {
    SessionOutcome outcome;
    std::istringstream lines(report);
    for (std::string text; std::getline(lines, text);) {
        const json line = json::parse(text, nullptr, false);
        if (line.is_discarded()) continue; // cut by the end of the process
        const std::string key = line.value("key", "");
        if (key == "begin") outcome.unfinished = line.value("text", "");
        if (key == "fact") outcome.facts.push_back({line.value("rule", ""), line.value("text", "")});
        if (key == "step") ++outcome.steps;
        if (key == "end") outcome.ended = true;
    }
    return outcome;
}

} // namespace packaging
