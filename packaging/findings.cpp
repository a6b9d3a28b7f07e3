#include "packaging/findings.h"

#include <algorithm>
#include <array>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace packaging {

namespace {

const char* nameOf(Severity severity) {
    constexpr std::array names{"note", "warning", "error"};
    return names.at(static_cast<std::size_t>(severity));
}

std::string textOf(const Place& place) {
    if (place.file.empty()) return "";
    return place.line > 0 ? fmt::format("{}:{}: ", place.file, place.line) : fmt::format("{}: ", place.file);
}

std::string counted(int number, std::string_view noun) {
    return fmt::format("{} {}{}", number, noun, number == 1 ? "" : "s");
}

int count(const Findings& findings, Severity severity) {
    return static_cast<int>(std::ranges::count(findings.all(), severity, &Finding::severity));
}

/// The list's heading, and beside it the text, whose further lines are moved in likewise.
void writeNote(const Finding& note, std::FILE* stream) {
    constexpr int indent = 20;
    fmt::print(stream, "{:<{}}", note.rule, indent);
    for (const char character : note.what)
        character == '\n' ? fmt::print(stream, "\n{:{}}", "", indent) : fmt::print(stream, "{}", character);
    fmt::print(stream, "\n");
}

} // namespace

void Findings::error(std::string_view rule, Place place, std::string what, std::string why, std::string mend) {
    findings_.push_back(
        {Severity::error, std::string(rule), std::move(place), std::move(what), std::move(why), std::move(mend)});
}

void Findings::warning(std::string_view rule, Place place, std::string what, std::string why, std::string mend) {
    findings_.push_back(
        {Severity::warning, std::string(rule), std::move(place), std::move(what), std::move(why), std::move(mend)});
}

void Findings::note(std::string_view rule, std::string what) {
    findings_.push_back({Severity::note, std::string(rule), {}, std::move(what), "", ""});
}

int Findings::errors() const { return count(*this, Severity::error); }

int Findings::warnings() const { return count(*this, Severity::warning); }

void writeText(const Findings& findings, std::string_view subject, std::FILE* stream) {
    const int notes = count(findings, Severity::note);
    for (const Finding& found : findings.all())
        if (found.severity == Severity::note) writeNote(found, stream);
    if (notes > 0) fmt::print(stream, "\n");

    for (const Finding& found : findings.all()) {
        if (found.severity == Severity::note) continue;
        fmt::print(stream, "{}{}: {} [{}]\n    {}\n", textOf(found.place), nameOf(found.severity), found.what,
                   found.rule, found.why);
        if (!found.mend.empty()) fmt::print(stream, "    {}\n", found.mend);
        if (notes > 0) fmt::print(stream, "\n");
    }
    if (findings.errors() + findings.warnings() == 0)
        fmt::print(stream, "{}: {}\n", subject, notes > 0 ? "nothing wrong found" : "nothing found");
    else
        fmt::print(stream, "{}: {}, {}\n", subject, counted(findings.errors(), "error"),
                   counted(findings.warnings(), "warning"));
}

void writeJson(const Findings& findings, std::string_view subject, std::FILE* stream) {
    auto list = nlohmann::ordered_json::array();
    for (const Finding& found : findings.all())
        list.push_back({{"severity", nameOf(found.severity)},
                        {"rule", found.rule},
                        {"file", found.place.file},
                        {"line", found.place.line},
                        {"what", found.what},
                        {"why", found.why},
                        {"mend", found.mend}});
    const nlohmann::ordered_json all = {{"subject", subject},
                                        {"errors", findings.errors()},
                                        {"warnings", findings.warnings()},
                                        {"findings", std::move(list)}};
    // Names in a broken file may be no UTF-8.
    fmt::print(stream, "{}\n", all.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
}

} // namespace packaging
