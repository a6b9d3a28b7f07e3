#include "tool/doctor/solver/session_report.h"

#include <sstream>

#include <nlohmann/json.hpp>

#include "tool/os/child_process.h"

namespace tool {

namespace {

using nlohmann::json;

constexpr std::size_t mostFactsOfARule = 10;
constexpr std::size_t mostOfAText = 4000;

} // namespace

void SessionReport::begin(const std::string& action) { write("begin", "", action); }

void SessionReport::add(RuleName rule, const std::string& what) { writeOnce("fact", rule.rule().name, what); }

void SessionReport::say(const std::string& message) { writeOnce("message", "", message); }

void SessionReport::step() { write("step", "", ""); }

void SessionReport::end() { write("end", "", ""); }

void SessionReport::writeOnce(std::string_view key, std::string_view rule, const std::string& text) {
    {
        const std::lock_guard lock(mutex_);
        const std::string name(rule);
        if (rules_.count(name) >= mostFactsOfARule || !told_.insert(name + '\n' + text).second) return;
        rules_.insert(name);
    }
    write(key, rule, text);
}

void SessionReport::write(std::string_view key, std::string_view rule, std::string_view text) {
    const json line = {{"key", key}, {"rule", rule}, {"text", text.substr(0, mostOfAText)}};
    // The solver's texts may not be UTF-8.
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
        if (key == "fact") outcome.facts.push_back({RuleName::of(line.value("rule", "")), line.value("text", "")});
        if (key == "message") outcome.messages.push_back(line.value("text", ""));
        if (key == "step") ++outcome.steps;
        if (key == "end") outcome.ended = true;
    }
    return outcome;
}

} // namespace tool
