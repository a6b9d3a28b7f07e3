#include <algorithm>
#include <array>

#include <fmt/ranges.h>

#include "tool/info/info.h"
#include "tool/os/text.h"

namespace tool {

namespace {

using Json = nlohmann::ordered_json;

constexpr int headingWidth = 16;

std::string_view rootText(const Info& info, std::string_view attribute) {
    return textAttribute(*info.fmu.description.root, attribute);
}

const XmlElement& experimentOf(const Info& info) {
    static const XmlElement none;
    const XmlElement* experiment = info.fmu.description.root->child("DefaultExperiment");
    return experiment != nullptr ? *experiment : none;
}

std::string_view identifierOf(const Info& info) {
    const XmlElement* coSimulation = info.fmu.description.coSimulation;
    return coSimulation != nullptr ? textAttribute(*coSimulation, "modelIdentifier") : "";
}

std::string_view valueText(const DescribedVariable& variable, std::string_view attribute) {
    const XmlAttribute* found = variable.attribute(attribute);
    return found != nullptr ? std::string_view(found->value) : "";
}

// For people

void writeLine(std::FILE* stream, std::string_view heading, std::string_view text) {
    if (!text.empty()) fmt::print(stream, "{:<{}}{}\n", heading, headingWidth, printable(text));
}

/// Rows of cells, each column as wide as its widest cell.
void writeRows(std::FILE* stream, const std::vector<std::array<std::string, 4>>& rows) {
    std::array<std::size_t, 4> widths{};
    for (const auto& row : rows)
        for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) line += fmt::format("  {:<{}}", row[i], widths[i]);
        line.erase(line.find_last_not_of(' ') + 1);
        fmt::print(stream, "{}\n", line);
    }
}

/// Name, type, unit, and what else is said of a variable.
std::array<std::string, 4> rowOf(const Info& info, const DescribedVariable& variable) {
    std::vector<std::string> more;
    for (const char* attribute : {"start", "min", "max"})
        if (const XmlAttribute* found =
                attribute == std::string_view("start") ? variable.start() : variable.attribute(attribute))
            more.push_back(fmt::format("{} {}", attribute, printable(found->value)));
    const std::string_view solverName = info.solverName(variable);
    if (!solverName.empty() && solverName != variable.name)
        more.push_back("in the solver's model: " + printable(solverName));
    if (const std::string_view text = textAttribute(*variable.element, "description"); !text.empty())
        more.push_back(printable(text));
    return {printable(variable.name), variable.isTyped() ? std::string(variable.value->name) : "no type",
            printable(valueText(variable, "unit")), fmt::format("{}", fmt::join(more, "; "))};
}

void writeVariables(const Info& info, const std::vector<const DescribedVariable*>& variables, std::FILE* stream) {
    std::vector<std::array<std::string, 4>> rows;
    rows.reserve(variables.size());
    for (const DescribedVariable* variable : variables) rows.push_back(rowOf(info, *variable));
    writeRows(stream, rows);
}

void writePort(const Info& info, const PortInfo& port, std::FILE* stream) {
    constexpr std::array derivatives{"", ", with first derivatives", ", with first and second derivatives"};
    const bool isSingle = port.port.width == 1;
    fmt::print(stream, "\n{}: {} signal{}{}\n", port.port.name(), port.port.width, isSingle ? "" : "s",
               derivatives.at(static_cast<std::size_t>(port.derivatives)));
    writeVariables(info, port.signals, stream);
}

/// Those that are in no port, by causality.
void writeOthers(const Info& info, std::FILE* stream) {
    for (std::size_t i = 0; i < causalityNames.size(); ++i) {
        std::vector<const DescribedVariable*> chosen;
        std::ranges::copy_if(info.variables, std::back_inserter(chosen), [i](const DescribedVariable* variable) {
            return variable->causality == static_cast<Causality>(i);
        });
        if (chosen.empty()) continue;
        const bool isParameter = static_cast<Causality>(i) == Causality::parameter;
        fmt::print(stream, "\n{}s{}\n", causalityNames[i], isParameter ? "" : " without a port");
        writeVariables(info, chosen, stream);
    }
}

void writeFiles(const Info& info, std::FILE* stream) {
    constexpr std::size_t most = 100;
    fmt::print(stream, "\nfiles\n");
    std::vector<std::array<std::string, 4>> rows;
    for (const FileInfo& file : info.files) {
        if (rows.size() == most) break;
        rows.push_back({printable(file.name), fmt::format("{:>11} bytes", file.bytes), "", ""});
    }
    writeRows(stream, rows);
    if (info.files.size() > most) fmt::print(stream, "  ... and {} more\n", info.files.size() - most);
}

void writeNeeds(const Info& info, std::FILE* stream) {
    fmt::print(stream, "\nneeds on the machine that runs it\n");
    if (!info.needs.libraries.empty())
        fmt::print(stream, "  {}\n", printable(fmt::format("{}", fmt::join(info.needs.libraries, ", "))));
    if (!info.needs.glibc.empty()) fmt::print(stream, "  glibc {} or newer\n", info.needs.glibc);
    if (!info.needs.unknown.empty())
        fmt::print(stream, "  The libraries are not all known: {}\n", printable(info.needs.unknown));
    fmt::print(stream, "  an installation of the solver; tessaro-fmu doctor examines it\n");
}

// For tools

Json orNull(std::string_view text) { return text.empty() ? Json() : Json(text); }

Json attributeOrNull(const XmlAttribute* attribute) { return attribute != nullptr ? Json(attribute->value) : Json(); }

Json numberOrNull(const std::optional<double>& number) { return number ? Json(*number) : Json(); }

Json toJson(const Info& info, const DescribedVariable& variable) {
    return {{"name", variable.name},
            {"type", variable.isTyped() ? Json(variable.value->name) : Json()},
            {"reference", variable.reference ? Json(*variable.reference) : Json()},
            {"causality", causalityNames.at(static_cast<std::size_t>(variable.causality))},
            {"variability", variabilityNames.at(static_cast<std::size_t>(variable.variability))},
            {"unit", orNull(valueText(variable, "unit"))},
            {"start", attributeOrNull(variable.start())},
            {"min", attributeOrNull(variable.attribute("min"))},
            {"max", attributeOrNull(variable.attribute("max"))},
            {"description", orNull(textAttribute(*variable.element, "description"))},
            {"solver_name", orNull(info.solverName(variable))}};
}

Json toJson(const Info& info, const std::vector<const DescribedVariable*>& variables) {
    Json list = Json::array();
    for (const DescribedVariable* variable : variables) list.push_back(toJson(info, *variable));
    return list;
}

Json portsOf(const Info& info) {
    Json list = Json::array();
    for (const PortInfo& port : info.ports)
        list.push_back({{"kind", port.port.isInput ? "input" : "output"},
                        {"number", port.port.number},
                        {"width", port.port.width},
                        {"first_reference", port.port.offset},
                        {"derivatives", port.derivatives},
                        {"signals", toJson(info, port.signals)}});
    return list;
}

Json filesOf(const Info& info) {
    Json list = Json::array();
    for (const FileInfo& file : info.files) list.push_back({{"name", file.name}, {"bytes", file.bytes}});
    return list;
}

} // namespace

void writeText(const Info& info, std::FILE* stream) {
    writeLine(stream, "model", rootText(info, "modelName"));
    for (const char* attribute : {"description", "version", "author", "license"})
        writeLine(stream, attribute, rootText(info, attribute));
    writeLine(stream, "made by", rootText(info, "generationTool"));
    writeLine(stream, "GUID", rootText(info, "guid"));
    writeLine(stream, "identifier", identifierOf(info));
    const XmlElement& experiment = experimentOf(info);
    writeLine(stream, "stop time, s", textAttribute(experiment, "stopTime"));
    writeLine(stream, "step, s", textAttribute(experiment, "stepSize"));
    writeLine(stream, "result file", info.fmu.shape.resultFile.value_or(""));
    for (const PortInfo& port : info.ports) writePort(info, port, stream);
    writeOthers(info, stream);
    writeFiles(info, stream);
    writeNeeds(info, stream);
}

Json toJson(const Info& info, std::string_view subject) {
    const XmlElement& experiment = experimentOf(info);
    Json all = {{"subject", subject}};
    for (const auto& [key, attribute] : {std::pair("model", "modelName"),
                                         {"description", "description"},
                                         {"version", "version"},
                                         {"author", "author"},
                                         {"license", "license"},
                                         {"generation_tool", "generationTool"},
                                         {"guid", "guid"}})
        all[key] = orNull(rootText(info, attribute));
    all["identifier"] = orNull(identifierOf(info));
    all["stop_time"] = numberOrNull(realAttribute(experiment, "stopTime"));
    all["step_size"] = numberOrNull(realAttribute(experiment, "stepSize"));
    all["final_time"] = numberOrNull(info.fmu.shape.finalTime);
    all["result_file"] = orNull(info.fmu.shape.resultFile.value_or(""));
    all["ports"] = portsOf(info);
    all["variables"] = toJson(info, info.variables);
    all["files"] = filesOf(info);
    all["needs"] = {{"libraries", info.needs.libraries},
                    {"glibc", orNull(info.needs.glibc)},
                    {"unknown", orNull(info.needs.unknown)}};
    return all;
}

} // namespace tool
