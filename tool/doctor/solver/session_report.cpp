#include "tool/doctor/solver/session_report.h"

#include <sstream>

#include <nlohmann/json.hpp>

#include "tool/os/child_process.h"

namespace tool {

namespace {

using nlohmann::json;

constexpr std::size_t mostFactsOfARule = 10;
constexpr std::size_t mostOfAText = 4000;
constexpr std::size_t mostOfANote = 100'000;

} // namespace

void SessionReport::setSituation(const std::string& situation) {
    const std::lock_guard lock(mutex_);
    situation_ = situation;
}

std::string SessionReport::situation() {
    const std::lock_guard lock(mutex_);
    return situation_;
}

void SessionReport::begin(const std::string& action) {
    const std::string where = action.empty() ? "" : situation();
    write("begin", "", where.empty() ? action : action + " (" + where + ")");
}

void SessionReport::add(RuleName rule, const std::string& what) {
    const std::string_view name = rule.rule().name;
    if (!isNew(name, what)) return;
    const std::string where = situation();
    write("fact", name, (where.empty() ? what : where + ": " + what).substr(0, mostOfAText));
}

void SessionReport::say(const std::string& message) {
    if (isNew("", message)) write("message", "", message.substr(0, mostOfAText));
}

void SessionReport::note(std::string_view heading, const std::string& lines) {
    write("note", heading, lines.substr(0, mostOfANote));
}

void SessionReport::end() { write("end", "", ""); }

bool SessionReport::isNew(std::string_view rule, const std::string& text) {
    if (isQuiet_) return false;
    const std::lock_guard lock(mutex_);
    const std::string name(rule);
    if (rules_.count(name) >= mostFactsOfARule || !known_.insert(name + '\n' + text).second) return false;
    rules_.insert(name);
    return true;
}

void SessionReport::write(std::string_view key, std::string_view rule, std::string_view text) {
    const json line = {{"key", key}, {"rule", rule}, {"text", text}};
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
        if (key == "note") outcome.notes.emplace_back(line.value("rule", ""), line.value("text", ""));
        if (key == "end") outcome.ended = true;
    }
    return outcome;
}

} // namespace tool
