// An instance of the FMU as the solver sees it, and its runs: the entry points are called as the FMU calls them, with
// everything around them under watch. For child processes only.
#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tool/doctor/solver/plan.h"
#include "tool/doctor/solver/recording_access.h"
#include "tool/doctor/solver/solver_library.h"

namespace tool {

/// What a session belongs to. All of it must outlive the session.
struct SessionContext {
    const SessionPlan& plan;
    const SolverLibrary& library;
    SessionReport& report;
    std::chrono::steady_clock::time_point deadline; ///< after which no further run is begun

    bool isLate() const { return std::chrono::steady_clock::now() > deadline; }
};

class Session {
public:
    /// The instance's resources are in `resources`. `resultPrefix` begins the name of its result file.
    Session(const SessionContext& context, const std::filesystem::path& resources,
            const std::string& resultPrefix = "");

    // Each is false when the run is over; what was wrong is reported.

    /// Begins a run, also in place of one that has not ended, as after fmi2Reset. All inputs are 0.
    bool start();
    /// Deposits and requests.
    bool step(double size);
    bool steps(int number);
    /// Deposits once more for time 0, as at the end of a run without a stop time, and terminates.
    bool end();

    /// Sets inputs, to be deposited with the next step: all to the plan's values, or one to a value.
    void drive();
    void setInput(const PortSignal& signal, double value);

    /// The values, or the derivatives of an order, of all output signals in their order.
    std::vector<double> outputs(int order = 0) const;

    double time() const { return instance_.record().time; }
    const RecordingAccess& access() const { return *accesses_.back(); }

private:
    void* handle() { return &instance_.record(); }
    bool provideModel();
    bool deposit(double time, const std::string& remark);
    template <typename Call>
    bool enter(const char* name, const std::string& remark, const Call& call);
    template <typename Call>
    bool completes(const char* name, const Call& call);

    SessionContext context_;
    std::filesystem::path model_;
    WatchedInstance instance_;
    std::vector<std::unique_ptr<RecordingAccess>> accesses_; ///< one for each run; after a reset the former stays
};

} // namespace tool
