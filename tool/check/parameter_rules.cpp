#include <algorithm>

#include "tool/check/rules.h"
#include "tool/fmu/numbers.h"

namespace tool {

namespace {

/// What is wrong with any text file.
void checkLines(const Lines& lines, const std::string& file, Report& report) {
    const std::string_view text = lines.text();
    const auto placeOf = [&](std::size_t at) {
        return Place{file, 1 + static_cast<int>(std::ranges::count(text.substr(0, at), '\n'))};
    };
    if (const std::size_t zero = text.find('\0'); zero != std::string_view::npos)
        report.add("parameter-zero-byte", placeOf(zero), "The file holds a zero byte.");
    if (const std::size_t at = text.find('\r'); at != std::string_view::npos)
        report.add("parameter-carriage-return", placeOf(at), "The file holds carriage returns.");
    if (text.back() != '\n')
        report.add("parameter-final-line-feed", {file, lines.count()}, "The last line does not end in a line feed.");
    for (int line = 1; line <= lines.count(); ++line)
        if (const std::size_t size = lines.at(line)->size(); size > longestLine)
            report.add("parameter-line-length", {file, line}, "The line has {} characters; {} are read at most.", size,
                       longestLine);
}

void checkCount(const CountLine& count, RuleName rule, const std::string& file, Report& report) {
    if (!count.text) return;
    if (!count.value)
        report.add(rule, {file, count.number}, "Expected a count, found {}.", inQuotes(*count.text));
    else if (count.hasMoreText)
        report.add("parameter-trailing", {file, count.number}, "Unexpected text after the number: {}.",
                   inQuotes(*count.text));
}

/// The number of lines of fmu2ts.par, and those for which there is less room than for others.
void checkShapeLines(const Lines& lines, Report& report) {
    const auto add = [&](RuleName rule, int line) {
        report.add(rule, {shapeFileName, line}, "The file has {} lines instead of {}.", lines.count(),
                   static_cast<int>(shapeLines));
    };
    if (lines.count() < shapeLines) add("lines-missing", lines.count());
    if (lines.count() > shapeLines) add("lines-extra", shapeLines + 1);
    for (const int line : {1, 2, static_cast<int>(addressLine)})
        if (const auto text = lines.at(line); text && text->size() > longestShortText && text->size() <= longestLine)
            report.add("parameter-line-length", {shapeFileName, line},
                       "The text has {} characters; there is room for {}.", text->size(), longestShortText);
}

void checkFinalTimeLine(const ShapeFile& shape, Report& report) {
    const Place place{shapeFileName, finalTimeLine};
    const auto text = shape.lines.at(finalTimeLine);
    if (!text) return;
    if (!shape.finalTime)
        report.add("final-time", place, "The final time is {}.", inQuotes(*text));
    else if (wordsOf(*text).size() > 1)
        report.add("parameter-trailing", place, "Unexpected text after the number: {}.", inQuotes(*text));
}

void checkPortList(const PortListLine& list, std::int32_t count, Report& report) {
    const Place place{shapeFileName, list.number};
    if (!list.text) return; // the file ends before
    if (list.badEntry)
        report.add("port-list-form", place, "{} is not a non-negative integer.",
                   list.badEntry->empty() ? "The text between two tabs" : inQuotes(*list.badEntry));
    else if (list.values.size() != static_cast<std::size_t>(count))
        report.add("port-list", place, "The line has {} numbers for {} ports.", list.values.size(), count);
}

void checkPortLines(const ShapeFile& shape, std::size_t kind, Report& report) {
    const CountLine& count = shape.portCounts[kind];
    checkCount(count, "parameter-number", shapeFileName, report);
    if (!count.value) return;
    if (*count.value > maxPorts)
        report.add("port-count", {shapeFileName, count.number}, "There are {} ports.", *count.value);
    else
        for (const std::size_t list : {2 * kind, 2 * kind + 1})
            checkPortList(shape.portLists[list], *count.value, report);
}

} // namespace

void checkShapeFile(const ShapeFile& shape, Report& report) {
    checkLines(shape.lines, shapeFileName, report);
    checkShapeLines(shape.lines, report);
    checkFinalTimeLine(shape, report);
    for (const CountLine& count : shape.counts) checkCount(count, "parameter-number", shapeFileName, report);
    for (std::size_t kind = 0; kind < shape.portCounts.size(); ++kind) checkPortLines(shape, kind, report);
}

void checkNameFile(const NameFile& names, Report& report) {
    checkLines(names.lines, nameFileName, report);
    for (std::size_t i = 0; i < names.lists.size(); ++i) {
        const NameList& list = names.lists[i];
        const Place place{nameFileName, list.count.number};
        checkCount(list.count, "names-count", nameFileName, report);
        if (list.isKnown) continue;
        if (!list.count.text)
            report.add("names-count", {nameFileName, names.lines.count()}, "The list of {} names is missing.",
                       typeNames[i].word);
        else if (list.count.value)
            report.add("names-count", place, "{} {} names are announced, but the file ends after {} lines.",
                       *list.count.value, typeNames[i].word, names.lines.count());
        return; // the next list cannot be found
    }
    if (const int extra = names.lines.count() - names.linesRead; extra > 0)
        report.add("names-extra", {nameFileName, names.linesRead + 1}, "There are {} more lines after the four lists.",
                   extra);
}

} // namespace tool
