#include "benchmarks/fmu.h"

#include <sstream>

#include <dlfcn.h>

namespace {

void ignoreMessage(void*, fmi2String, fmi2Status, fmi2String, fmi2String, ...) {}

constexpr fmi2CallbackFunctions callbacks{ignoreMessage, std::calloc, std::free, nullptr, nullptr};

/// One number per port, separated by tabs: `first`, then each larger by `width` than the one before.
std::string perPort(int ports, int first, int width) {
    std::ostringstream line;
    for (int port = 0; port < ports; ++port) line << (port > 0 ? "\t" : "") << first + port * width;
    return line.str();
}

void writeFiles(const fs::path& folder, const Shape& shape) {
    std::ostringstream parameters;
    parameters << "header\nheader\n1\n" << shape.ports << "\n" << shape.ports << "\n";
    parameters << shape.reals << "\n" << shape.integers << "\n" << shape.booleans << "\n" << shape.strings << "\n";
    parameters << "Model.xml\nresult.mrf\n\n\n" << perPort(shape.ports, 1, 0) << "\n" << perPort(shape.ports, 0, 1);
    parameters << "\n" << perPort(shape.ports, 1, 0) << "\n" << perPort(shape.ports, shape.ports, 3) << "\n";
    writeFile(folder / "resources/fmu2ts.par", parameters.str());

    std::ostringstream names;
    for (const int count : {shape.reals, shape.integers, shape.booleans, shape.strings}) {
        names << count << "\n";
        for (int i = 0; i < count; ++i) names << "$_body_" << i << ".position_x\n";
    }
    writeFile(folder / "resources/mv.par", names.str());
    writeFile(folder / "modelDescription.xml", "<fmiModelDescription\n  modelName=\"Model\"\n>\n");
}

fmi2Component require(fmi2Component instance) {
    if (instance == nullptr) throw std::runtime_error("the model cannot be instantiated");
    return instance;
}

} // namespace

Library::Library(const std::string& path) : handle(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (handle == nullptr) throw std::runtime_error(dlerror());
}

Symbol Library::operator[](const char* name) const {
    void* address = dlsym(handle, name);
    if (address == nullptr) throw std::runtime_error(dlerror());
    return {address};
}

Calls::Calls(const Library& library)
    : instantiate(library["fmi2Instantiate"]), freeInstance(library["fmi2FreeInstance"]),
      enterInitializationMode(library["fmi2EnterInitializationMode"]),
      exitInitializationMode(library["fmi2ExitInitializationMode"]), setDebugLogging(library["fmi2SetDebugLogging"]),
      doStep(library["fmi2DoStep"]), getReal(library["fmi2GetReal"]), setReal(library["fmi2SetReal"]),
      getInteger(library["fmi2GetInteger"]), setInteger(library["fmi2SetInteger"]),
      getBoolean(library["fmi2GetBoolean"]), setBoolean(library["fmi2SetBoolean"]), getString(library["fmi2GetString"]),
      setString(library["fmi2SetString"]), generateModelFile(library["fmu_generate_xml"]) {}

const Calls& fmu() {
    static const Calls calls{Library(TESSARO_LIBRARY)};
    return calls;
}

const Solver& noOpSolver() {
    static const Library library(NO_OP_SOLVER "/tscicos.so");
    static const Solver solver{library["blkDepositPlantInput"], library["blkRequestPlantOutput"]};
    return solver;
}

void Model::instantiate() {
    instance = require(fmu().instantiate("model", fmi2CoSimulation, "{guid}", location.c_str(), &callbacks, 0, 0));
}

void Model::start() {
    if (fmu().enterInitializationMode(instance) != fmi2OK || fmu().exitInitializationMode(instance) != fmi2OK)
        throw std::runtime_error("the model cannot be initialized");
}

void Model::release() {
    if (instance != nullptr) fmu().freeInstance(instance);
    instance = nullptr;
}

ShapedModel::ShapedModel(const Shape& shape) : Model(Folder::path) {
    writeFiles(Folder::path, shape);
    setenv("KORVAN_FMU_ROOT", Folder::path.c_str(), 1);
    const fs::path solver = Folder::path / "solver"; // the same length wherever the build folder is
    fs::create_directory_symlink(NO_OP_SOLVER, solver);
    for (const char* name : {"NUSOL_DLL_DIR", "KELDEX_PATH"}) setenv(name, solver.c_str(), 1);
}
