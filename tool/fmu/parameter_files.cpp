#include "tool/fmu/parameter_files.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "tool/fmu/names.h"
#include "tool/fmu/numbers.h"

namespace tool {

namespace {

constexpr std::int64_t largestCount = std::numeric_limits<std::int32_t>::max();

std::string_view withoutCarriageReturns(std::string_view line) {
    return line.substr(0, line.find_last_not_of('\r') + 1);
}

CountLine readCount(const Lines& lines, int number) {
    CountLine count{number, lines.at(number), {}, false};
    if (!count.text) return count;
    const std::string_view text = *count.text;
    const std::size_t digits = text.find_first_not_of("+-", text.find_first_not_of(" \t"));
    const std::size_t end = text.find_first_not_of("0123456789", digits);
    if (const auto value = wholeOf(text.substr(0, end), 0, largestCount))
        count.value = static_cast<std::int32_t>(*value);
    count.hasMoreText = end != std::string_view::npos && !trimmed(text.substr(end)).empty();
    return count;
}

PortListLine readPortList(const Lines& lines, int number) {
    PortListLine list{number, lines.at(number), {}, {}};
    std::string_view rest = withoutCarriageReturns(list.text.value_or(""));
    while (!rest.empty()) {
        const std::size_t length = std::min(rest.find('\t'), rest.size());
        const std::string_view entry = rest.substr(0, length);
        const auto value = wholeOf(entry, 0, largestCount);
        if (!value) {
            list.badEntry = entry;
            return list;
        }
        list.values.push_back(*value);
        rest.remove_prefix(std::min(length + 1, rest.size()));
    }
    return list;
}

/// The ports of a kind, when their count and both lists agree.
bool readPorts(ShapeFile& shape, bool isInput) {
    const auto count = shape.portCounts[isInput ? 0 : 1].value;
    const PortListLine& widths = shape.portLists[isInput ? 0 : 2];
    const PortListLine& offsets = shape.portLists[isInput ? 1 : 3];
    const auto agrees = [&count](const PortListLine& list) {
        return list.text && !list.badEntry && list.values.size() == static_cast<std::size_t>(*count);
    };
    if (!count || *count > maxPorts || !agrees(widths) || !agrees(offsets)) return false;
    for (std::size_t i = 0; i < widths.values.size(); ++i)
        shape.ports.push_back({isInput, static_cast<int>(i), widths.values[i], offsets.values[i]});
    return true;
}

std::optional<double> readFinalTime(const Lines& lines) {
    const auto words = wordsOf(lines.at(finalTimeLine).value_or(""));
    const auto value = words.empty() ? std::nullopt : realOf(words[0]);
    return value && std::isfinite(*value) && *value > 0.0 ? value : std::nullopt;
}

NameList readNameList(const Lines& lines, int number) {
    NameList list;
    list.count = readCount(lines, number);
    list.isKnown = list.count.value && *list.count.value <= lines.count() - number;
    if (!list.isKnown) return list;
    for (int i = 1; i <= *list.count.value; ++i) list.names.push_back(withoutCarriageReturns(*lines.at(number + i)));
    return list;
}

} // namespace

Lines::Lines(std::string_view text) : text_(text) {
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t length = std::min(rest.find('\n'), rest.size());
        lines_.push_back(rest.substr(0, length));
        rest.remove_prefix(std::min(length + 1, rest.size()));
    }
}

std::optional<std::string_view> Lines::at(int line) const {
    return line <= count() ? std::optional(lines_[static_cast<std::size_t>(line - 1)]) : std::nullopt;
}

ShapeFile readShapeFile(std::string_view text) {
    ShapeFile shape;
    shape.lines = Lines(text);
    shape.finalTime = readFinalTime(shape.lines);
    const auto readCounts = [&shape](auto& counts, int number) {
        for (CountLine& count : counts) count = readCount(shape.lines, number++);
    };
    readCounts(shape.portCounts, portCountLine);
    readCounts(shape.counts, variableCountLine);

    const auto name = [&shape](int line) {
        const auto found = shape.lines.at(line);
        return found ? std::optional(withoutCarriageReturns(*found)) : found;
    };
    shape.modelFile = name(modelFileLine);
    shape.resultFile = name(resultFileLine);
    shape.solverFile = name(solverFileLine);
    shape.address = name(addressLine);

    for (int i = 0; PortListLine & list : shape.portLists) list = readPortList(shape.lines, portListLine + i++);
    const bool inputs = readPorts(shape, true);
    const bool outputs = readPorts(shape, false);
    shape.arePortsKnown = inputs && outputs;
    return shape;
}

NameFile readNameFile(std::string_view text) {
    NameFile file;
    file.lines = Lines(text);
    for (NameList& list : file.lists) {
        list = readNameList(file.lines, file.linesRead + 1);
        if (!list.isKnown) break;
        file.linesRead += 1 + *list.count.value;
    }
    return file;
}

} // namespace tool
