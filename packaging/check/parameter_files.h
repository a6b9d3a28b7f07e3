// The parameter files fmu2ts.par and mv.par, line by line, with what is wrong in their form. The library itself reads
// them by resources/parameter_files.h, forgivingly; here every line has to be as it is meant.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "packaging/check/model_description.h"
#include "packaging/check/report.h"

namespace packaging::checking {

inline const std::string shapeFileName = "resources/fmu2ts.par";
inline const std::string nameFileName = "resources/mv.par";

/// A block of reals that belongs to a port. An output port has three: values, first and second derivatives.
struct Port {
    bool isInput = false;
    int number = 0; ///< from 0
    std::int64_t width = 0;
    std::int64_t offset = 0;
    int line = 0; ///< of its offset

    std::int64_t end() const { return offset + (isInput ? width : 3 * width); }
    std::string name() const;
};

/// fmu2ts.par. A field that can't be read is empty; what depends on it can't be checked then.
struct ShapeFile {
    std::optional<double> finalTime;
    std::array<std::optional<std::int32_t>, 4> counts; ///< of variables, by type
    std::optional<std::string_view> modelFile;
    std::optional<std::string_view> resultFile;
    std::optional<std::string_view> solverFile;
    std::vector<Port> ports;    ///< inputs, then outputs
    bool arePortsKnown = false; ///< lines 4, 5 and 14 to 17 agree

    std::optional<std::int32_t> countOf(Type type) const { return counts[static_cast<std::size_t>(type)]; }
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

struct NameLine {
    std::string_view name;
    int line = 0;
};

/// mv.par: the model's names of the variables, by type.
struct NameList {
    bool isKnown = false;
    int line = 0; ///< of its count
    std::vector<NameLine> names;
};

struct NameFile {
    std::array<NameList, 4> lists;

    const NameList& listOf(Type type) const { return lists[static_cast<std::size_t>(type)]; }
};

/// Read the text of a file, to which the results refer, and report what is wrong with its form.
ShapeFile readShapeFile(const std::string& text, Report& report);
NameFile readNameFile(const std::string& text, Report& report);

} // namespace packaging::checking
