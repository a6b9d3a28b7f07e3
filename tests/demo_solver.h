// What the tests of the demo solver share: the built translator and solver, called as the FMU calls them.
#pragma once

#include <dlfcn.h>
#include <sys/wait.h>

#include <array>
#include <cstddef>
#include <cstdlib>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "plant/access_interface.h"
#include "tests/support.h"

inline const fs::path installation = TESSARO_DEMO_INSTALLATION;

/// Runs fmu_batch in `folder`, after the shell's command `before`; returns its exit code and what it writes to its
/// standard streams.
inline std::pair<int, std::string> translate(const fs::path& folder, const std::string& arguments,
                                             const std::string& before = "true") {
    const std::string program = (installation / "io/translators/bin/linux64/fmu_batch").string();
    const std::string command =
        "cd '" + folder.string() + "' && " + before + " && '" + program + "' " + arguments + " > log 2>&1";
    const int status = std::system(command.c_str());
    return {WEXITSTATUS(status), contentOf(folder / "log")};
}

/// Makes the quarter car's model file for a run in `folder` with these values; returns its path.
inline fs::path quarterCar(const Folder& folder, const std::string& values = "") {
    fs::copy(fs::path(TESSARO_DEMO_MODELS) / "quarter_car/QuarterCar.mdl", folder.path,
             fs::copy_options::overwrite_existing);
    writeFile(folder.path / "QuarterCar.csv", values);
    if (const auto [code, log] = translate(folder.path, "QuarterCar.mdl QuarterCar.csv"); code != 0)
        throw std::runtime_error(log);
    return folder.path / "QuarterCar.xml";
}

/// An FMU instance as the solver sees it: its load of the library, its ports, and messages that end the run from level
/// 2 on. The ports are the quarter car's unless a test changes them.
class Instance final : public TScicosAccessAPI2 {
public:
    explicit Instance(const fs::path& model, const fs::path& result = {}) : model_(model), result_(result) {
        library_ =
            dlopen((installation / "plsolvers/tessaro/bin/linux64/tscicos.so").c_str(), RTLD_LAZY | RTLD_DEEPBIND);
        if (library_ == nullptr) throw std::runtime_error(dlerror());
    }
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;
    ~Instance() { dlclose(library_); }

    char* GetStringParamInputName(void*) override { return model_.data(); }
    char* GetStringParamOutputName(void*) override { return result_.data(); }
    double GetFinalTimei(void*) override { return 4; }
    int GetNumInputPorts(void*) override { return static_cast<int>(inputs.size()); }
    int GetNumOutputPorts(void*) override { return static_cast<int>(widths.size()); }
    int GetInputPortWidth(void*, int port) override { return port < 1 ? inputWidth : 1; }
    int GetOutputPortWidth(void*, int port) override { return widths[static_cast<std::size_t>(port)]; }
    double* GetInputPortRealSignalPtrs(void*, int port) override { return &inputs[static_cast<std::size_t>(port)]; }
    double* GetOutputPortRealSignalPtrs(void*, int port) override {
        double* values = outputs.data();
        for (int i = 0; i < port; ++i) values += std::ptrdiff_t{3} * widths[static_cast<std::size_t>(i)];
        return values;
    }
    double* GetOutputPortRealSignalDotPtrs(void* handle, int port) override {
        return GetOutputPortRealSignalPtrs(handle, port) + GetOutputPortWidth(handle, port);
    }
    double* GetOutputPortRealSignalDotDotPtrs(void* handle, int port) override {
        return GetOutputPortRealSignalDotPtrs(handle, port) + GetOutputPortWidth(handle, port);
    }
    void MessageHandler(void*, const char* text, int level) override {
        messages[level] += std::string(text) + "\n";
        if (level >= 2) terminate();
    }

    void start() { call<void (*)(void*, TScicosAccessAPI2*)>("blkStart")(this, this); }
    void deposit(double road, double time) {
        inputs[0] = road;
        call<void (*)(void*, int, TScicosAccessAPI2*, double)>("blkDepositPlantInput")(this, 1, this, time);
    }
    void request(double time) {
        call<void (*)(void*, TScicosAccessAPI2*, double)>("blkRequestPlantOutput")(this, this, time);
    }
    void terminate() { call<void (*)(void*, TScicosAccessAPI2*, double)>("blkTerminate")(this, this, 0); }

    std::vector<double> inputs{0};
    int inputWidth = 1;
    std::vector<int> widths{1, 1, 1};
    std::array<double, 64> outputs{}; ///< port by port: values, first derivatives, second derivatives
    std::map<int, std::string> messages;

private:
    template <typename Function>
    Function call(const char* name) const {
        return reinterpret_cast<Function>(dlsym(library_, name));
    }

    void* library_;
    std::string model_, result_;
};
