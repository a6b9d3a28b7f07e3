#include "packaging/check/parameter_files.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "resources/parameter_files.h"

namespace packaging::checking {

namespace {

constexpr std::size_t longestLine = 1022; // without its line feed, which the library reads with it
constexpr std::size_t longestShortText = 255;

/// The lines of a file without their line feeds. Reports what is wrong with any text file.
class Lines {
public:
    Lines(const std::string& file, std::string_view text, Report& report) : file_(file), report_(report) {
        for (std::string_view rest = text; !rest.empty();) {
            const std::size_t length = std::min(rest.find('\n'), rest.size());
            lines_.push_back(rest.substr(0, length));
            rest.remove_prefix(std::min(length + 1, rest.size()));
        }
        checkText(text);
    }

    int count() const { return static_cast<int>(lines_.size()); }
    Place place(int line) const { return {file_, line}; }

    /// A line, from 1; nothing behind the last one.
    std::optional<std::string_view> at(int line) const {
        return line <= count() ? std::optional(lines_[static_cast<std::size_t>(line - 1)]) : std::nullopt;
    }

    /// A line that counts something. The library reads as far as there are digits.
    std::optional<std::int32_t> whole(int line, RuleName rule) const {
        const auto text = at(line);
        if (!text) return {};
        const std::size_t digits = text->find_first_not_of("+-", text->find_first_not_of(" \t"));
        const std::size_t end = text->find_first_not_of("0123456789", digits);
        const auto value = wholeOf(text->substr(0, end), 0, std::numeric_limits<std::int32_t>::max());
        if (!value) {
            report_.add(rule, place(line), "The line counts something, but it is {}.", inQuotes(*text));
            return {};
        }
        if (end != std::string_view::npos && !trimmed(text->substr(end)).empty())
            report_.add("parameter-trailing", place(line), "Text stands behind the number: {}.", inQuotes(*text));
        return static_cast<std::int32_t>(*value);
    }

private:
    void checkText(std::string_view text) {
        const auto lineOf = [&](std::size_t at) { return 1 + static_cast<int>(std::count(&text[0], &text[at], '\n')); };
        if (const std::size_t zero = text.find('\0'); zero != std::string_view::npos)
            report_.add("parameter-zero-byte", place(lineOf(zero)), "The file holds a zero byte.");
        if (const std::size_t at = text.find('\r'); at != std::string_view::npos)
            report_.add("parameter-carriage-return", place(lineOf(at)), "The file holds carriage returns.");
        if (!text.empty() && text.back() != '\n')
            report_.add("parameter-final-line-feed", place(count()), "The last line doesn't end in a line feed.");
        for (int line = 1; line <= count(); ++line)
            if (const std::size_t size = at(line)->size(); size > longestLine)
                report_.add("parameter-line-length", place(line), "The line has {} characters; {} are read at most.",
                            size, longestLine);
    }

    const std::string& file_;
    Report& report_;
    std::vector<std::string_view> lines_;
};

/// One of the lists of port numbers. Nothing when it isn't as it should be.
std::optional<std::vector<std::int64_t>> portList(const Lines& lines, int line, std::int32_t count, Report& report) {
    const auto text = lines.at(line);
    if (!text) return {};
    std::vector<std::int64_t> numbers;
    std::string_view rest = text->substr(0, text->find_last_not_of("\r") + 1);
    while (!rest.empty()) {
        const std::size_t length = std::min(rest.find('\t'), rest.size());
        const std::string_view entry = rest.substr(0, length);
        const auto number = wholeOf(entry, 0, std::numeric_limits<std::int32_t>::max());
        if (!number) {
            report.add("port-list-form", lines.place(line), "{} is no number from 0 on.",
                       entry.empty() ? "The text between two tabs" : inQuotes(entry));
            return {};
        }
        numbers.push_back(*number);
        rest.remove_prefix(std::min(length + 1, rest.size()));
    }
    if (numbers.size() != static_cast<std::size_t>(count)) {
        report.add("port-list", lines.place(line), "The line has {} numbers for {} ports.", numbers.size(), count);
        return {};
    }
    return numbers;
}

/// The ports of one kind: their number and where their two lists stand.
bool readPorts(const Lines& lines, int countLine, int listLine, ShapeFile& shape, Report& report) {
    const auto count = lines.whole(countLine, "parameter-number");
    if (count && *count > maxPorts) report.add("port-count", lines.place(countLine), "There are {} ports.", *count);
    if (!count || *count > maxPorts) return false;

    const auto widths = portList(lines, listLine, *count, report);
    const auto offsets = portList(lines, listLine + 1, *count, report);
    if (!widths || !offsets) return false;
    for (std::size_t i = 0; i < widths->size(); ++i)
        shape.ports.push_back(
            {countLine == portCountLine, static_cast<int>(i), (*widths)[i], (*offsets)[i], listLine + 1});
    return true;
}

std::optional<double> readFinalTime(const Lines& lines, Report& report) {
    const auto text = lines.at(finalTimeLine);
    if (!text) return {};
    const auto words = wordsOf(*text);
    const auto value = words.empty() ? std::nullopt : realOf(words[0]);
    if (!value || !std::isfinite(*value) || *value <= 0.0) {
        report.add("final-time", lines.place(finalTimeLine), "The final time is {}.", inQuotes(*text));
        return {};
    }
    if (words.size() > 1)
        report.add("parameter-trailing", lines.place(finalTimeLine), "Text stands behind the number: {}.",
                   inQuotes(*text));
    return value;
}

void checkShapeLines(const Lines& lines, Report& report) {
    if (lines.count() < shapeLines)
        report.add("lines-missing", lines.place(lines.count()), "The file has {} lines instead of {}.", lines.count(),
                   static_cast<int>(shapeLines));
    if (lines.count() > shapeLines)
        report.add("lines-extra", lines.place(shapeLines + 1), "The file has {} lines instead of {}.", lines.count(),
                   static_cast<int>(shapeLines));
    for (const int line : {1, 2, static_cast<int>(addressLine)})
        if (const auto text = lines.at(line); text && text->size() > longestShortText && text->size() <= longestLine)
            report.add("parameter-line-length", lines.place(line), "The text has {} characters; there is room for {}.",
                       text->size(), longestShortText);
}

/// One list of names. False when the end of the list can't be told.
bool readNameList(const Lines& lines, int& line, std::string_view type, NameList& list, Report& report) {
    list.line = line;
    if (line > lines.count()) {
        report.add("names-count", lines.place(lines.count()), "The list of {} names is missing.", type);
        return false;
    }
    const auto count = lines.whole(line, "names-count");
    if (!count) return false;
    if (*count > lines.count() - line) {
        report.add("names-count", lines.place(line), "{} {} names are announced, but the file ends after {} lines.",
                   *count, type, lines.count());
        return false;
    }
    for (int i = 1; i <= *count; ++i) {
        const std::string_view name = *lines.at(line + i);
        list.names.push_back({name.substr(0, name.find_last_not_of('\r') + 1), line + i});
    }
    line += 1 + *count;
    return list.isKnown = true;
}

} // namespace

std::string Port::name() const { return fmt::format("{} port {}", isInput ? "input" : "output", number); }

ShapeFile readShapeFile(const std::string& text, Report& report) {
    const Lines lines(shapeFileName, text, report);
    checkShapeLines(lines, report);
    ShapeFile shape;
    shape.finalTime = readFinalTime(lines, report);
    for (std::size_t i = 0; i < shape.counts.size(); ++i)
        shape.counts[i] = lines.whole(variableCountLine + static_cast<int>(i), "parameter-number");
    const auto name = [&lines](int line) {
        const auto found = lines.at(line);
        return found ? std::optional(found->substr(0, found->find_last_not_of('\r') + 1)) : found;
    };
    shape.modelFile = name(modelFileLine);
    shape.resultFile = name(resultFileLine);
    shape.solverFile = name(solverFileLine);
    const bool inputs = readPorts(lines, portCountLine, portListLine, shape, report);
    const bool outputs = readPorts(lines, portCountLine + 1, portListLine + 2, shape, report);
    shape.arePortsKnown = inputs && outputs;
    return shape;
}

NameFile readNameFile(const std::string& text, Report& report) {
    const Lines lines(nameFileName, text, report);
    NameFile file;
    int line = 1;
    for (std::size_t i = 0; i < file.lists.size(); ++i)
        if (!readNameList(lines, line, typeNames[i], file.lists[i], report)) return file;
    if (line <= lines.count())
        report.add("names-extra", lines.place(line), "Behind the four lists there are {} more lines.",
                   lines.count() - line + 1);
    return file;
}

} // namespace packaging::checking
