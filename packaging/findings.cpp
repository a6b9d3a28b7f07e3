#include "packaging/findings.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace packaging {

namespace {

const char* nameOf(Severity severity) { return severity == Severity::error ? "error" : "warning"; }

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

} // namespace

void Findings::error(std::string_view rule, Place place, std::string what, std::string why, std::string mend) {
    findings_.push_back(
        {Severity::error, std::string(rule), std::move(place), std::move(what), std::move(why), std::move(mend)});
}

void Findings::warning(std::string_view rule, Place place, std::string what, std::string why, std::string mend) {
    findings_.push_back(
        {Severity::warning, std::string(rule), std::move(place), std::move(what), std::move(why), std::move(mend)});
}

int Findings::errors() const { return count(*this, Severity::error); }

int Findings::warnings() const { return count(*this, Severity::warning); }

void writeText(const Findings& findings, std::string_view subject, std::FILE* stream) {
    for (const Finding& found : findings.all()) {
        fmt::print(stream, "{}{}: {} [{}]\n    {}\n", textOf(found.place), nameOf(found.severity), found.what,
                   found.rule, found.why);
        if (!found.mend.empty()) fmt::print(stream, "    {}\n", found.mend);
    }
    if (findings.all().empty())
        fmt::print(stream, "{}: nothing found\n", subject);
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
