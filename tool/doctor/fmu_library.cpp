#include <dlfcn.h>

#include "tool/doctor/examinations.h"
#include "tool/doctor/loading.h"
#include "tool/doctor/obstacles.h"
#include "tool/fmu/names.h"
#include "tool/os/files.h"

namespace tool {

void examineFmuLibrary(const Fmu& fmu, Report& report) {
    if (fmu.description.coSimulation == nullptr || report.hasErrorIn(librariesFolder)) return;
    const std::string name = libraryOf(textAttribute(*fmu.description.coSimulation, "modelIdentifier"));
    const std::filesystem::path library = std::filesystem::absolute(fmu.root() / name);
    if (!isRegularFile(library) || isNoexec(library.parent_path())) return; // reported already
    const std::string refusal = loadingRefusal(library, RTLD_NOW | RTLD_LOCAL);
    if (refusal.empty())
        report.note("FMU's library", name + ": loads");
    else
        report.add("library-load", {name}, "The library does not load: {}.", refusal);
}

} // namespace tool
