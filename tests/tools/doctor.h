// Runs `tessaro-fmu doctor` after a shell script that puts a fault into a healthy installation or FMU.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <string>

#include <nlohmann/json.hpp>

#include "tests/support.h"

/// Makes a healthy installation, "root", and the quarter car: packed as car.fmu, unpacked in the folder "car".
inline const char* const makeWorld = R"(set -e
cp -rs "$INSTALLATION" root
"$PROGRAM" pack "$DEMO/models/quarter_car/quarter_car.toml" --output car.fmu > /dev/null
"$PYTHON" -m zipfile -e car.fmu car
# What is changed in the folder counts as it is, not as a change of what was packed.
sed -i 's/ generationTool="[^"]*"//' car/modelDescription.xml car/resources/modelDescription.xml
)";
inline const char* const enterWorld = R"(set -e
export KORVAN_FMU_ROOT=$PWD/root
unset NUSOL_DLL_DIR KELDEX_PATH
TSCICOS=root/plsolvers/tessaro/bin/linux64/tscicos.so BATCH=io/translators/bin/linux64/fmu_batch
FMU=car MODEL=car/resources/QuarterCar DESCRIPTIONS='car/modelDescription.xml car/resources/modelDescription.xml'
misbehave() { ln -sf "$MISBEHAVING" $TSCICOS; export MISBEHAVIOUR="$1"; }
as_user() { AS='setpriv --bounding-set -dac_override,-dac_read_search'; } # permissions also hold for root
)";

/// Runs a shell script in a folder and gives what it prints.
inline std::string printedBy(const std::string& script, const fs::path& folder) {
    writeFile(folder / "script", script);
    [[maybe_unused]] const int status =
        std::system(("cd " + folder.string() + " && " SETTINGS " sh ./script > output 2>&1").c_str());
    return contentOf(folder / "output");
}

/// What the doctor prints after a script that begins in a copy of the healthy world.
inline std::string printedAfter(const std::string& script) {
    static const Folder world;
    static const std::string made = printedBy(makeWorld, world.path);
    const Folder folder;
    fs::copy(world.path, folder.path, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    return made + printedBy(enterWorld + script + "\n$AS \"$PROGRAM\" doctor $OPTIONS $SOLVER ${FMU:+\"$FMU\"}\n",
                            folder.path);
}

/// Severity and rule of each finding that isn't a note, and what it says when that is asked for.
inline std::string findingsAfter(const std::string& script, bool sentences = false) {
    const std::string printed = printedAfter("OPTIONS=--json\n" + script);
    const auto report =
        nlohmann::json::parse(printed.substr(std::min(printed.find('{'), printed.size())), nullptr, false);
    if (report.is_discarded()) return printed;
    std::string text;
    for (const auto& finding : report["findings"])
        if (finding["severity"] != "note")
            text += (text.empty() ? "" : ", ") + finding["severity"].get<std::string>() + " " +
                    finding["rule"].get<std::string>() + (sentences ? ": " + finding["what"].get<std::string>() : "");
    return text;
}
