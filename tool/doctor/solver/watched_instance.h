// The instance record that the solver gets as its handle, laid out as the FMU's library does it, with everything around
// the ports under watch. Lives in the child process that drives the solver.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "fmi/instance/fmu_instance.h"
#include "tool/doctor/solver/session_report.h"
#include "tool/fmu/library_log.h"
#include "tool/fmu/names.h"
#include "tool/fmu/parameter_files.h"

namespace tool {

/// For each output port the highest order of its derivatives that masters can read.
using DerivativeOrders = std::array<int, maxPorts>;

class WatchedInstance {
public:
    /// `shape` must be without errors. `resources` is an absolute path, `resultFile` a path or a location.
    WatchedInstance(const ShapeFile& shape, const std::filesystem::path& resources, const std::string& resultFile,
                    const DerivativeOrders& orders);
    WatchedInstance(const WatchedInstance&) = delete;
    WatchedInstance& operator=(const WatchedInstance&) = delete;

    FmuInstance& record() { return record_; }
    const FmuInstance& record() const { return record_; }

    /// All values are 0, and the time, as at the start of a run.
    void reset();

    void setInput(int port, int signal, double value) { record_.inputPortValues[port][signal] = value; }

    /// A value of an output port, or its derivative of the first or second order.
    double output(int port, int signal, int order) const {
        return outputs_[static_cast<std::size_t>(port)]
                       [order * static_cast<int>(record_.outputPortSize[port]) + signal];
    }

    /// Prepares for an entry point. What the solver does not read, which is all but the inputs, gets some of its last
    /// bits turned, to show whether it is written again.
    void mark();

    /// Reports what the entry point wrote although it must not, and takes the marks back.
    void reportWrites(std::string_view entryPoint, SessionReport& report);

    /// Reports which outputs it left alone. To be called before the marks are taken back.
    void reportOmissions(std::string_view entryPoint, bool isStart, SessionReport& report) const;

private:
    /// A real variable's use: an input, an output, its first or second derivative, or none of these.
    enum class Use : std::uint8_t { none, input, output, first, second };
    struct Slot {
        Use use = Use::none;
        int port = 0;
        int signal = 0;
    };

    void setCounts(const ShapeFile& shape);
    void placePorts(const ShapeFile& shape);
    void placeInput(const Port& port);
    void placeOutput(const Port& port);
    void turnMark(std::size_t real);
    void place(std::int64_t firstReal, const Port& port, Use use);
    std::string unwritten(Use use, int port) const;
    bool hasNoDerivatives(int port) const;
    bool isChanged(std::size_t position) const;
    bool isChanged(std::size_t begin, std::size_t end) const;
    void reportWrite(std::size_t real, std::string_view entryPoint, SessionReport& report) const;

    using RecordBytes = std::array<char, sizeof(FmuInstance)>;

    static constexpr std::size_t guardSize = 512; ///< reals on each side

    FmuInstance record_{};
    RecordBytes recordBefore_{};
    LibraryLog log_;
    std::vector<double> memory_; ///< a guard, the real values, a guard
    std::vector<double> before_;
    std::vector<Slot> slots_; ///< one for each real value
    DerivativeOrders orders_;
    std::vector<fmi2Integer> integers_;
    std::vector<fmi2Boolean> booleans_;
    std::vector<char*> strings_;
    std::string name_ = "doctor", modelFile_, subdll_, address_;
    std::array<char, pathBufferSize> resultFile_{};
    std::array<std::uint32_t, maxPorts> inputWidths_{}, outputWidths_{};
    std::array<double*, maxPorts> inputs_{}, outputs_{}, first_{}, second_{};
};

} // namespace tool
