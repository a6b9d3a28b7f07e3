#include "tests/fmu_files.h"

#include <sstream>
#include <utility>

FmuFiles::FmuFiles() {
    std::istringstream lines("1,2,7.5,2,2,19,2,2,3,Model.xml,,sub.so,1.2.3.4,2\t1,0\t2,2\t3,3\t9");
    for (std::string line; std::getline(lines, line, ',');) shape.push_back(line);
}

void FmuFiles::makeFiles() const {
    fs::remove_all(root), fs::remove_all(resources.parent_path());
    std::string content, names;
    for (const std::string& line : shape) content += line + "\n";
    for (const auto& [letter, count] : {std::pair("r", 19), {"i", 2}, {"b", 2}, {"s", 3}}) {
        names += std::to_string(count) + "\n";
        for (int i = 0; i < count; ++i) names += letter + std::to_string(i) + "\n";
    }
    writeFile(resources / "fmu2ts.par", content), writeFile(resources / "mv.par", names);
    writeFile(resources / "../modelDescription.xml", "<\nmodelName=\"Model\"\nmodelName=\"Later\">\n");
    writeFile(resources / "Model.mdl", "template");
    writeFile(translator, "#!/bin/sh\n{ printf '%s|' \"$0\" \"$@\"; pwd; } >called\ncp \"$1\" \"${1%.mdl}.xml\"\n");
    fs::permissions(translator, fs::perms::owner_all);
    fs::create_directories(root / "plsolvers/tessaro/bin");
    fs::create_directory_symlink(SCRIPTED_SOLVERS "/all", root / "plsolvers/tessaro/bin/linux64");
}
