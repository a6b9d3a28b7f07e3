#include <array>
#include <cstdlib>

#include <unistd.h>

#include <fmt/color.h>
#include <fmt/ranges.h>

#include "tool/findings/json.h"
#include "tool/findings/report.h"

namespace tool {

namespace {

const char* nameOf(Severity severity) {
    constexpr std::array names{"note", "warning", "error"};
    return names.at(static_cast<std::size_t>(severity));
}

std::string inWords(const Place& place) {
    if (place.file.empty()) return "";
    return place.line > 0 ? fmt::format("{}:{}: ", place.file, place.line) : fmt::format("{}: ", place.file);
}

std::string counted(int number, std::string_view noun) {
    return fmt::format("{} {}{}", number, noun, number == 1 ? "" : "s");
}

/// The note's heading, and beside it the lines.
void writeNote(const Finding& note, std::FILE* stream) {
    constexpr int indent = 20;
    fmt::print(stream, "{:<{}}", note.rule, indent);
    for (const char character : note.what)
        character == '\n' ? fmt::print(stream, "\n{:{}}", "", indent) : fmt::print(stream, "{}", character);
    fmt::print(stream, "\n");
}

bool isSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

bool isColoured(std::FILE* stream) {
    const char* terminal = std::getenv("TERM");
    const bool isDumb = terminal == nullptr || std::string_view(terminal) == "dumb";
    return isatty(fileno(stream)) == 1 && !isDumb && !isSet("NO_COLOR");
}

fmt::text_style styleOf(Severity severity, std::FILE* stream) {
    if (!isColoured(stream)) return {};
    const bool isError = severity == Severity::error;
    return fmt::emphasis::bold | fmt::fg(isError ? fmt::terminal_color::red : fmt::terminal_color::yellow);
}

void writeFinding(const Finding& finding, std::FILE* stream) {
    fmt::print(stream, "{}", inWords(finding.place));
    fmt::print(stream, styleOf(finding.severity, stream), "{}:", nameOf(finding.severity));
    fmt::print(stream, " {} [{}]\n", finding.what, finding.rule);
    for (const std::string& sentence : {finding.why, finding.fix})
        if (!sentence.empty()) fmt::print(stream, "    {}\n", sentence);
}

std::string closingLine(const Report& report, std::string_view subject) {
    const int errors = report.errors(), warnings = report.warnings();
    std::string line = readable(subject) + ": ";
    line += errors + warnings == 0 ? "nothing wrong found"
                                   : fmt::format("{}, {}", counted(errors, "error"), counted(warnings, "warning"));
    if (!report.examined().empty()) line += fmt::format(" in {}", fmt::join(report.examined(), ", "));
    if (!report.skipped().empty()) line += fmt::format("; not examined: {}", fmt::join(report.skipped(), ", "));
    return line;
}

} // namespace

void writeText(const Report& report, std::string_view subject, std::FILE* stream) {
    const std::vector<Finding> findings = report.findings();
    const auto isNote = [](const Finding& finding) { return finding.severity == Severity::note; };
    for (const Finding& finding : findings)
        if (isNote(finding)) writeNote(finding, stream);
    if (!findings.empty() && isNote(findings.front())) fmt::print(stream, "\n");
    for (const Finding& finding : findings)
        if (!isNote(finding)) writeFinding(finding, stream);
    fmt::print(stream, "{}\n", closingLine(report, subject));
}

nlohmann::ordered_json toJson(const Report& report, std::string_view subject) {
    auto list = nlohmann::ordered_json::array();
    for (const Finding& finding : report.findings())
        list.push_back({{"severity", nameOf(finding.severity)},
                        {"rule", finding.rule},
                        {"file", finding.place.file},
                        {"line", finding.place.line},
                        {"what", finding.what},
                        {"why", finding.why},
                        {"fix", finding.fix}});
    return {{"subject", subject},
            {"errors", report.errors()},
            {"warnings", report.warnings()},
            {"examined", report.examined()},
            {"skipped", report.skipped()},
            {"findings", std::move(list)}};
}

void write(const nlohmann::ordered_json& object, std::FILE* stream) {
    fmt::print(stream, "{}\n", object.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
}

} // namespace tool
