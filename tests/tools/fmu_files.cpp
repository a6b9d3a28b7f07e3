#include "tests/tools/fmu_files.h"

#include <algorithm>

std::string ParameterLines::content() const {
    std::string all;
    for (const std::string* line : {&header1, &header2, &finalTime, &nInputPorts, &nOutputPorts, &nReal, &nInteger,
                                    &nBoolean, &nString, &inputName, &outputName, &subdllName, &ipAddress,
                                    &inputPortWidth, &inputPortOffset, &outputPortWidth, &outputPortOffset})
        all += *line + "\n";
    return all;
}

std::string variableNames(const std::array<int, 4>& counts) {
    std::string content;
    for (std::size_t type = 0; type < counts.size(); ++type) {
        content += std::to_string(counts[type]) + "\n";
        for (int i = 0; i < counts[type]; ++i) content += "ribs"[type] + std::to_string(i) + "\n";
    }
    return content;
}

void FmuFiles::make() const {
    fs::remove_all(root);
    fs::remove_all(fmu);
    writeFile(resources / "fmu2ts.par", parameters.content());
    writeFile(resources / "mv.par", variableNames({19, 2, 2, 3}));
    writeFile(resources / "Model.mdl", "template");
    describe("Model");
    translateBy("{ printf '%s|' \"$0\" \"$@\"; pwd; } >called; cp \"$1\" \"${1%.mdl}.xml\"");
    fs::create_directories(root / "plsolvers/tessaro/bin");
    fs::create_directory_symlink(SCRIPTED_SOLVERS "/all", root / "plsolvers/tessaro/bin/linux64");
}

void FmuFiles::describe(const std::string& modelName) const {
    writeFile(fmu / "modelDescription.xml", "<fmiModelDescription\n  modelName=\"" + modelName + "\"\n>\n");
}

void FmuFiles::translateBy(const std::string& commands) const {
    writeFile(translator, "#!/bin/sh\n" + commands + "\n");
    fs::permissions(translator, fs::perms::owner_all);
}

std::vector<std::string> FmuFiles::added() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(resources)) {
        const std::string name = entry.path().filename();
        if (name != "fmu2ts.par" && name != "mv.par" && name != "Model.mdl") names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}
