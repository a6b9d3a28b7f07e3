// One run of the solver: the mechanism of a model file, connected to the ports of one FMU instance.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "demo/solver/mechanism.h"
#include "demo/solver/model.h"
#include "demo/solver/result_file.h"
#include "plant/access_interface.h"

namespace solver {

/// The FMU instance that a run serves: the handle and the access object that its entry points receive.
struct Host {
    void* handle;
    TScicosAccessAPI2* access;

    void inform(const std::string& message) const { access->MessageHandler(handle, message.c_str(), 0); }
    void warn(const std::string& message) const { access->MessageHandler(handle, message.c_str(), 1); }
};

/// Errors that end the run are thrown as std::exception with a sentence for the user; the run is then to be destroyed.
/// Nothing here reports a message of a level that makes the FMU end the run.
class Run {
public:
    /// Reads the model file that the FMU names and removes it if it was made for this run, checks it against the FMU's
    /// ports, opens the result file and writes the outputs at time 0.
    explicit Run(const Host& host);

    /// Takes the inputs from the ports; they apply from the time that the run has reached. Before outputs are requested
    /// for the first time, that is `time`; later `time` is ignored.
    void deposit(double time);

    /// Advances to `time`, writes the outputs with their derivatives and adds a row to the result file. If `time` is
    /// the time that the run has reached, the outputs are only refreshed; an earlier one is an error.
    void request(double time);

    /// Closes the result file and reports the end of the run.
    void finish();

private:
    template <typename Description>
    struct Port {
        std::vector<Description> signals;
        double* values;
        double* first; ///< derivatives; null for inputs and where the FMU takes none
        double* second;
    };

    void start();
    void connectPorts();
    void openResultFile();
    void dropFailedResults();
    void reportStart() const;
    std::vector<double> portInputs() const;
    void checkFinite(const std::vector<double>& inputs) const;
    void writeOutputs();

    Host host_;
    std::string modelPath_;
    Model model_;
    std::unique_ptr<Mechanism> mechanism_;
    std::vector<Port<Input>> inputs_;
    std::vector<Port<Output>> outputs_;
    std::unique_ptr<ResultFile> results_;
    std::string resultPath_;
    std::vector<double> inputValues_;
    std::vector<Signal> signals_;
    std::vector<double> outputValues_;
    bool advanced_ = false; ///< outputs have been requested
};

} // namespace solver
