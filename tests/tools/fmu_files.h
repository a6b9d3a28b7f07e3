// The files of an FMU for the tests, and of a solver's installation for it.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "tests/support.h"

/// The lines of fmu2ts.par, by their fields in `FmuParRecord`.
struct ParameterLines {
    std::string header1 = "1", header2 = "2";
    std::string finalTime = "7.5";
    std::string nInputPorts = "2", nOutputPorts = "2";
    std::string nReal = "19", nInteger = "2", nBoolean = "2", nString = "3";
    std::string inputName = "Model.xml", outputName, subdllName = "sub.so", ipAddress = "1.2.3.4";
    std::string inputPortWidth = "2\t1", inputPortOffset = "0\t2";
    std::string outputPortWidth = "2\t3", outputPortOffset = "3\t9";

    std::string content() const;
};

/// The content of mv.par for so many reals, integers, booleans and strings: names "r0", "r1", ... "i0", ... "s0", ...
std::string variableNames(const std::array<int, 4>& counts);

/// The FMU has two input ports (reals 0 and 1, real 2), two output ports (two wide from real 3, three wide from real
/// 9), 19 reals, two integers, two booleans, three strings; its path needs quoting and percent-encoding. The solver is
/// the scripted one; its translator copies the template and notes its call in the file "called".
struct FmuFiles {
    /// Makes all files anew, without a model file.
    void make() const;

    /// A model description that names the model; its attribute is on a line of its own.
    void describe(const std::string& modelName) const;

    /// Makes the translator run these commands of a shell.
    void translateBy(const std::string& commands) const;

    /// The names of the files in the resources that were not there at first, in alphabetical order.
    std::vector<std::string> added() const;

    const Folder folder;
    const fs::path root = folder.path / "the root", fmu = folder.path / "unit \xc3\xbc", resources = fmu / "resources";
    const fs::path translator = root / "io/translators/bin/linux64/fmu_batch";
    std::string location = "file://" + folder.path.string() + "/unit%20%C3%BC/resources";
    ParameterLines parameters;
};
