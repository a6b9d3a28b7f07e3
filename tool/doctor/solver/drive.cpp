#include "tool/doctor/solver/drive.h"

#include <algorithm>
#include <optional>
#include <string>

#include <fmt/format.h>

#include "tool/doctor/solver/part.h"
#include "tool/doctor/solver/plan.h"
#include "tool/doctor/solver/scenarios.h"
#include "tool/doctor/solver/value_trials.h"
#include "tool/doctor/solver/working_copy.h"
#include "tool/os/files.h"
#include "tool/os/user_error.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr double defaultStepSize = 0.01;
constexpr std::int32_t mostVariables = 10'000'000;

/// What the model description promises or has variables for.
DerivativeOrders ordersOf(const Fmu& fmu) {
    DerivativeOrders orders{};
    if (fmu.description.coSimulation != nullptr) {
        const auto promised = naturalAttribute(*fmu.description.coSimulation, "maxOutputDerivativeOrder");
        orders.fill(static_cast<int>(std::min(promised.value_or(0), 2U)));
    }
    for (const Port& port : fmu.shape.ports) {
        if (port.isInput || port.width == 0) continue;
        int& order = orders[static_cast<std::size_t>(port.number)];
        for (const DescribedVariable& variable : fmu.description.variables) {
            if (variable.type != Type::real || !variable.reference) continue;
            const std::int64_t place = std::int64_t{*variable.reference} - port.offset;
            if (place >= port.width && place < 3 * port.width)
                order = std::max(order, static_cast<int>(place / port.width));
        }
    }
    return orders;
}

bool hasTooManyVariables(const ShapeFile& shape) {
    return std::ranges::any_of(shape.counts,
                               [](const CountLine& count) { return count.value.value_or(0) > mostVariables; });
}

SessionPlan planOf(const SolverCheck& check, const WorkingCopy& copy, const WorkingCopy& other) {
    const Fmu& fmu = check.fmu;
    const double usualStepSize = fmu.shape.finalTime ? *fmu.shape.finalTime / 100 : defaultStepSize;
    return {check.library,
            copy.resources(),
            other.resources(),
            fmu.modelName() + std::string(modelFileExtension),
            readFile(copy.root() / fmu.modelFile()).value_or(""),
            fmu.shape,
            signalsOf(fmu.shape, fmu.description),
            fmu.stepSize().value_or(usualStepSize),
            ordersOf(fmu),
            check.timeLimit / 2};
}

void driveCopies(const SolverCheck& check, const WorkingCopy& copy, const WorkingCopy& other, Report& report) {
    const Fmu& fmu = check.fmu;
    PartRunner runner(copy.root(), check.timeLimit, report);
    const fs::path modelFile = copy.root() / fmu.modelFile();
    const bool isGenerated = !fs::exists(modelFile);
    const auto translate = [&](SessionReport& session) { makeModelFile(copy.resources(), fmu.shape, session); };
    if (!runner.runAndAdd({fmu.modelTemplate(), "translator", "making the model file", translate})) return;

    const SessionPlan plan = planOf(check, copy, other);
    const std::string library = plan.library.string();
    const auto runFirst = [&](SessionReport& session) { runOnce(plan, session); };
    const auto runFurther = [&](SessionReport& session) { runRepeatedly(plan, session); };
    const bool isFaultless = runner.runAndAdd({library, "solver", "driving the solver for a few steps", runFirst});
    if (isGenerated && fs::exists(modelFile))
        report.add("model-file-left", {library}, "The solver leaves the generated model file, {}.", fmu.modelFile());
    if (isFaultless &&
        runner.runAndAdd({library, "solver", "driving the solver through many runs", runFurther, false}) && isGenerated)
        tryValues(fmu, copy, plan, check.timeLimit, runner, report);
}

} // namespace

void driveSolver(const SolverCheck& check, Report& report) {
    const Fmu& fmu = check.fmu;
    if (hasTooManyVariables(fmu.shape)) return report.skips("the solver, since the FMU has too many variables");
    report.looksAt("the solver");
    try {
        const WorkingCopy copy(fmu), other(fmu);
        driveCopies(check, copy, other, report);
    } catch (const UserError& error) {
        report.add("temporary-folder", {}, "{}", error.what());
    }
}

} // namespace tool
