// The parameter files fmu2ts.par and mv.par, line by line. The library itself reads them by
// resources/parameter_files.h, forgivingly; here every line is kept with what is wrong in its form, so that the rules
// can name it.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "tool/fmu/variable.h"

namespace tool {

/// The lines of a text, without their line feeds. Refers to the text.
class Lines {
public:
    explicit Lines(std::string_view text = "");

    std::string_view text() const { return text_; }
    int count() const { return static_cast<int>(lines_.size()); }

    /// A line, from 1; nothing past the end.
    std::optional<std::string_view> at(int line) const;

private:
    std::string_view text_;
    std::vector<std::string_view> lines_;
};

/// A line that counts something. The library reads as far as there are digits.
struct CountLine {
    int number = 0;
    std::optional<std::string_view> text; ///< nothing when the file ends before
    std::optional<std::int32_t> value;    ///< nothing when it is not a number from 0 to 2147483647
    bool hasMoreText = false;             ///< after the number
};

/// A list of numbers with single tabs between them.
struct PortListLine {
    int number = 0;
    std::optional<std::string_view> text;     ///< nothing when the file ends before
    std::vector<std::int64_t> values;         ///< up to the first entry that is not a number
    std::optional<std::string_view> badEntry; ///< that one
};

/// Lines of fmu2ts.par, from 1.
enum ShapeLine {
    finalTimeLine = 3,
    portCountLine = 4,
    variableCountLine = 6,
    modelFileLine = 10,
    resultFileLine = 11,
    solverFileLine = 12,
    addressLine = 13,
    portListLine = 14,
    shapeLines = 17
};

/// fmu2ts.par. A field that cannot be read is empty; what depends on it cannot be checked then.
struct ShapeFile {
    Lines lines;
    std::optional<double> finalTime;     ///< seconds
    std::array<CountLine, 2> portCounts; ///< of inputs and outputs
    std::array<CountLine, 4> counts;     ///< of variables, by type
    std::optional<std::string_view> modelFile, resultFile, solverFile, address;
    std::array<PortListLine, 4> portLists; ///< widths and offsets of inputs, then of outputs
    std::vector<Port> ports;               ///< inputs, then outputs
    bool arePortsKnown = false;            ///< counts and lists agree

    std::optional<std::int32_t> countOf(Type type) const { return counts[indexOf(type)].value; }
};

/// The line of fmu2ts.par with a port's offset; its width is in the line before.
inline int offsetLineOf(const Port& port) { return portListLine + (port.isInput ? 1 : 3); }

/// The model's names of the variables of a type.
struct NameList {
    CountLine count;
    bool isKnown = false; ///< the file has as many names as the count says
    std::vector<std::string_view> names;

    int lineOf(std::size_t name) const { return count.number + 1 + static_cast<int>(name); }
};

/// mv.par. The lists after one that is not known are not known either.
struct NameFile {
    Lines lines;
    std::array<NameList, 4> lists; ///< by type
    int linesRead = 0;             ///< of the lists that are known

    const NameList& listOf(Type type) const { return lists[indexOf(type)]; }
};

/// Read the text of a file, which must outlive the result.
ShapeFile readShapeFile(std::string_view text);
NameFile readNameFile(std::string_view text);

} // namespace tool
