#include "tool/doctor/solver/trajectory.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <map>
#include <utility>

namespace tool {

namespace {

constexpr double tolerance = 1e-6; ///< of a signal's largest value

using Values = std::vector<double> Moment::*;

double largest(const Trajectory& run, Values values, std::size_t signal) {
    double most = 0;
    for (const Moment& moment : run) most = std::max(most, std::abs((moment.*values)[signal]));
    return most;
}

std::vector<PortSignal> outputsOf(const SessionPlan& plan) {
    std::vector<PortSignal> outputs;
    std::ranges::copy_if(plan.signals, std::back_inserter(outputs),
                         [](const PortSignal& s) { return !s.port.isInput; });
    return outputs;
}

/// The largest distance of a difference quotient from the mean of the derivatives at both ends, and the largest
/// derivative.
struct Deviation {
    double most = 0, scale = 0;

    /// Of a derivative that is 0 throughout although its value changes it is infinite.
    double relative() const { return most > 0 ? most / scale : 0; }
    std::string text() const {
        return scale == 0 && most == 0 ? "0 throughout" : fmt::format("{:.1g} beside {:.3g}", most, scale);
    }
};

Deviation deviationOf(const Trajectory& run, Values values, Values derivatives, std::size_t signal) {
    Deviation deviation{0, largest(run, derivatives, signal)};
    for (std::size_t i = 1; i < run.size(); ++i) {
        const Moment &before = run[i - 1], &after = run[i];
        const double quotient = ((after.*values)[signal] - (before.*values)[signal]) / (after.time - before.time);
        const double mean = ((before.*derivatives)[signal] + (after.*derivatives)[signal]) / 2;
        deviation.most = std::max(deviation.most, std::abs(quotient - mean));
    }
    return deviation;
}

bool isLess(const Deviation& one, const Deviation& other) {
    return std::pair(one.relative(), one.scale) < std::pair(other.relative(), other.scale);
}

/// The worst of the signals of a port.
struct PortDeviations {
    Deviation first, second;
};

} // namespace

std::string differenceOf(const Trajectory& run, const Trajectory& expected, const SessionPlan& plan) {
    const std::vector<PortSignal> outputs = outputsOf(plan);
    for (std::size_t i = 0; i < std::min(run.size(), expected.size()); ++i)
        for (std::size_t k = 0; k < outputs.size(); ++k) {
            const double is = run[i].values[k], should = expected[i].values[k];
            const bool differs = std::abs(is - should) > tolerance * largest(expected, &Moment::values, k);
            if (!differs) continue; // nor do values that are not finite, which are reported anyway
            return fmt::format("{} is {:.9g} instead of {:.9g} at {:.9g} s", outputs[k].place(), is, should,
                               run[i].time);
        }
    return "";
}

std::string derivativeDeviations(const Trajectory& run, const SessionPlan& plan) {
    std::map<int, PortDeviations> ports;
    const std::vector<PortSignal> outputs = outputsOf(plan);
    for (std::size_t k = 0; k < outputs.size(); ++k) {
        PortDeviations& port = ports[outputs[k].port.number];
        port.first = std::max(port.first, deviationOf(run, &Moment::values, &Moment::first, k), isLess);
        port.second = std::max(port.second, deviationOf(run, &Moment::first, &Moment::second, k), isLess);
    }
    std::string lines = "largest distance from the differences of the values, beside the largest derivative";
    const std::size_t heading = lines.size();
    for (const auto& [number, port] : ports) {
        const int order = plan.orders.at(static_cast<std::size_t>(number));
        if (order == 0) continue;
        lines += fmt::format("\noutput port {}: first {}", number, port.first.text());
        if (order > 1) lines += fmt::format("; second {}", port.second.text());
    }
    return lines.size() > heading ? lines : "";
}

} // namespace tool
