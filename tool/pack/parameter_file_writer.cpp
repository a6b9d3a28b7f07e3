#include "tool/pack/parameter_file_writer.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "tool/fmu/numbers.h"

namespace tool {

namespace {

/// Single tabs separate the numbers of a line.
std::string vectorLine(const std::vector<Port>& ports, std::int64_t Port::*member) {
    std::string line;
    for (const Port& port : ports) line += (line.empty() ? "" : "\t") + std::to_string(port.*member);
    return line;
}

} // namespace

std::string fmu2tsPar(const Description& description, const Layout& layout) {
    std::vector<std::string> lines{
        description.name, "final time, ports, variables by type, files, address, port layout",
        shortest(description.finalTime), std::to_string(layout.inputs.size()), std::to_string(layout.outputs.size())};
    for (const auto& names : layout.solverNames) lines.push_back(std::to_string(names.size()));
    for (const std::string& text :
         {description.name + ".xml", description.resultFile, description.libraryFile, description.address})
        lines.push_back(text);
    for (const auto* ports : {&layout.inputs, &layout.outputs})
        for (const auto member : {&Port::width, &Port::offset}) lines.push_back(vectorLine(*ports, member));
    return fmt::format("{}\n", fmt::join(lines, "\n"));
}

std::string mvPar(const Layout& layout) {
    std::string text;
    for (const auto& names : layout.solverNames) {
        text += std::to_string(names.size()) + "\n";
        for (const std::string& name : names) text += name + "\n";
    }
    return text;
}

} // namespace tool
