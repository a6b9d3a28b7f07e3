// The files of an FMU for the tests, and of a solver's installation for it.
#pragma once

#include <string>
#include <vector>

#include "tests/support.h"

/// The FMU has two input ports (reals 0 and 1, real 2), two output ports (from real 3, two wide, and from real 9, three
/// wide), 19 reals, two integers, two booleans, three strings; its path needs quoting and percent-encoding. The solver
/// is the scripted one; its translator copies the template and notes its call in the file "called".
struct FmuFiles {
    FmuFiles();

    /// Makes all files anew, without a model file.
    void makeFiles() const;

    const Folder folder;
    const fs::path root = folder.path / "the root", resources = folder.path / "unit \xc3\xbc/resources",
                   translator = root / "io/translators/bin/linux64/fmu_batch";
    std::string location = "file://" + folder.path.string() + "/unit%20%C3%BC/resources";
    std::vector<std::string> shape; ///< the lines of fmu2ts.par
};
