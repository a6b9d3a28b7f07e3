#include "demo/solver/closures.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "demo/solver/force_elements.h"
#include "demo/solver/mechanism.h"

namespace solver {

using SimTK::MobilizedBodyIndex;
using SimTK::Motion;
using SimTK::Stage;
using SimTK::State;
using SimTK::Vec3;

namespace {

/// The widest gap that counts as closed, relative to the longest arm or to speeds at its end. Projection continues to a
/// thousandth of it.
constexpr double tolerance = 1e-11;

/// How far ends may move at the start, relative to the longest arm, and speeds may change, relative to the largest.
constexpr double noticeable = 0.01;

/// A driven joint moves to its target in steps of this length: in rad, or relative to the longest arm.
constexpr double stride = 0.02;

constexpr double mostStrides = 100000;

double longestArm(const Model& model) {
    double longest = 0;
    const auto consider = [&](const Vector& arm) { longest = std::max(longest, vec3(arm).norm()); };
    for (const Body& body : model.bodies) {
        consider(body.joint.at);
        consider(body.joint.childAt);
    }
    for (const Closure& closure : model.closures) {
        consider(closure.fromPoint);
        consider(closure.toPoint);
    }
    return longest > 0 ? longest : 1;
}

SimTK::ProjectOptions projection(double accuracy) {
    SimTK::ProjectOptions options(accuracy);
    options.setOvershootFactor(1e-3);
    options |= SimTK::ProjectOptions::DontThrow;
    options |= SimTK::ProjectOptions::UseInfinityNorm;
    return options;
}

/// Number of independent rows.
int rank(const SimTK::Matrix& matrix) { return matrix.nelt() > 0 ? SimTK::FactorQTZ(matrix, 1e-9).getRank() : 0; }

/// Number of equations.
int rowsOf(const Closure& closure) { return closure.axis ? 2 : 3; }

bool succeeded(const SimTK::ProjectResults& results) {
    return results.getExitStatus() == SimTK::ProjectResults::Succeeded;
}

} // namespace

Closures::Closures(const Model& model, const SimTK::MultibodySystem& system, SimTK::SimbodyMatterSubsystem& matter)
    : system_(system), matter_(matter), closures_(model.closures), size_(longestArm(model)) {
    for (const Closure& closure : closures_) {
        auto& from = matter.updMobilizedBody(MobilizedBodyIndex(static_cast<int>(closure.from)));
        auto& to = matter.updMobilizedBody(MobilizedBodyIndex(static_cast<int>(closure.to)));
        const Vec3 start = vec3(closure.fromPoint), end = vec3(closure.toPoint);
        if (closure.axis)
            constraints_.push_back(
                SimTK::Constraint::PointOnLine(from, SimTK::UnitVec3(vec3(*closure.axis)), start, to, end));
        else
            constraints_.push_back(SimTK::Constraint::Ball(from, start, to, end));
    }
    for (std::size_t i = 1; i < model.bodies.size(); ++i)
        if (model.bodies[i].joint.speed) withSpeed_.emplace_back(static_cast<int>(i));
}

void Closures::joinAtStart(State& state) const {
    if (closures_.empty()) return;
    checkEffect(state);
    joinStartPositions(state);
    checkIndependence(state);
    joinStartSpeeds(state);
}

/// Refuses a closure that the free joints have no effect on: Simbody's projection crashes when nothing can move, and
/// equations without unknowns give accelerations that are not finite.
void Closures::checkEffect(State& state) const {
    system_.realize(state, Stage::Position);
    const SimTK::Matrix here = equations(state), beside = equations(besideOf(state));
    int row = 0;
    for (std::size_t i = 0; i < closures_.size(); ++i) {
        const int rows = rowsOf(closures_[i]);
        const auto size = [&](const SimTK::Matrix& matrix) { return matrix(row, 0, rows, matrix.ncol()).norm(); };
        if (size(here) + size(beside) < tolerance * std::max(1.0, size_))
            throw ClosureError(fmt::format(
                "{}: no free joint moves one end of closure '{}' against the other ({:.3g} m "
                "apart): the joints between them are welded, driven by inputs or turn about "
                "the ends. Remove the closure or free a joint.",
                closures_[i].place, closures_[i].name, constraints_[i].getPositionErrorsAsVector(state).norm()));
        row += rows;
    }
}

void Closures::joinStartPositions(State& state) const {
    system_.realize(state, Stage::Position);
    const Gap gap = widestGap(state);
    const std::vector<Vec3> before = ends(state);
    if (!joinPositions(state))
        throw ClosureError(fmt::format("{}: the ends of closure '{}' are {:.3g} m apart at the start, and no position "
                                       "near it joins all ends. Correct the coordinates of the joints.",
                                       gap.closure->place, gap.closure->name, gap.width));

    const std::vector<Vec3> after = ends(state);
    double way = 0;
    for (std::size_t i = 0; i < after.size(); ++i) way = std::max(way, (after[i] - before[i]).norm());
    if (way > noticeable * size_)
        throw ClosureError(fmt::format("{}: the ends of closure '{}' are {:.3g} m apart at the start; joining all ends "
                                       "moves some by {:.3g} m, but a hundredth of the longest arm ({:.3g} m) is the "
                                       "most that is corrected. Correct the coordinates of the joints.",
                                       gap.closure->place, gap.closure->name, gap.width, way, size_));
}

/// Equations that depend on each other in every position do no harm. If they do so only while all ends meet, the
/// integrator's trial positions, in which they nearly meet, would get wrong accelerations.
void Closures::checkIndependence(const State& state) const {
    const State beside = besideOf(state);
    SimTK::Matrix here, there;
    matter_.calcG(state, here);
    matter_.calcG(beside, there);

    int rows = 0;
    for (const Closure& closure : closures_) {
        rows += rowsOf(closure);
        if (rank(here(0, 0, rows, here.ncol())) < rank(there(0, 0, rows, there.ncol())))
            throw ClosureError(
                fmt::format("{}: closure '{}' repeats what joints and closures above it require already, "
                            "or the mechanism starts in a position from which it can move in several "
                            "ways. Remove the closure or start in another position.",
                            closure.place, closure.name));
    }
}

void Closures::joinStartSpeeds(State& state) const {
    const SimTK::Vector said = state.getU();
    State others = state;
    for (const MobilizedBodyIndex body : withSpeed_) matter_.getMobilizedBody(body).lock(others, Motion::Velocity);
    joinSpeeds(others); // the second attempt decides; it may also change rounded speeds
    state.updU() = others.getU();

    const bool joined = joinSpeeds(state);
    double change = 0;
    for (const MobilizedBodyIndex index : withSpeed_) {
        const auto& body = matter_.getMobilizedBody(index);
        change = std::max(change, std::abs(body.getOneU(state, 0) - body.getOneFromUPartition(state, 0, said)));
    }
    if (joined && change <= noticeable * said.normInf()) return;
    throw ClosureError(fmt::format("{}: the speeds of the joints at the start don't fit the closures. Correct them or "
                                   "leave some out: they follow from the others.",
                                   closures_.front().place));
}

void Closures::drive(const std::vector<DrivenJoint>& joints, State& state) const {
    std::vector<double> starts;
    double strides = 1;
    for (const DrivenJoint& joint : joints) {
        starts.push_back(joint.body->getOneQ(state, 0));
        const double unit = SimTK::MobilizedBody::Pin::isInstanceOf(*joint.body) ? 1 : size_;
        if (!closures_.empty())
            strides = std::max(strides, std::ceil(std::abs(joint.target - starts.back()) / (stride * unit)));
    }
    if (strides > mostStrides) throw ClosureError("The inputs jump too far for the mechanism to follow.");

    for (double done = 1; done <= strides; ++done) {
        for (std::size_t i = 0; i < joints.size(); ++i) {
            const double way = joints[i].target - starts[i];
            joints[i].body->lockAt(state, done < strides ? starts[i] + way * done / strides : joints[i].target,
                                   Motion::Position);
        }
        if (closures_.empty() || joinPositions(state)) continue;
        const Gap gap = widestGap(state);
        throw ClosureError(fmt::format("The mechanism can't follow the inputs at {} s: {:.3g} % of the way to them, "
                                       "the ends of closure '{}' ({}) come apart.",
                                       state.getTime(), 100 * done / strides, gap.closure->name, gap.closure->place));
    }
    if (!closures_.empty() && !joinSpeeds(state))
        throw ClosureError(fmt::format("No speeds satisfy all closures at {} s.", state.getTime()));
}

int Closures::independentEquations(const State& state) const { return closures_.empty() ? 0 : rank(equations(state)); }

SimTK::Matrix Closures::equations(const State& state) const {
    SimTK::Matrix all;
    matter_.calcG(state, all);
    const auto& unlocked = matter_.getFreeUIndex(state);
    SimTK::Matrix result(all.nrow(), static_cast<int>(unlocked.size()));
    for (int i = 0; i < result.ncol(); ++i) result(i) = all(unlocked[static_cast<unsigned>(i)]);
    return result;
}

State Closures::besideOf(const State& state) const {
    State beside = state;
    for (int i = 0; i < beside.getNQ(); ++i) beside.updQ()[i] += i % 2 == 0 ? 0.01 : -0.007;
    system_.realize(beside, Stage::Velocity);
    return beside;
}

bool Closures::joinPositions(State& state) const {
    system_.realize(state, Stage::Position);
    const SimTK::Vector before = state.getQ();
    SimTK::Vector errors;
    SimTK::ProjectResults results;
    try {
        system_.projectQ(state, errors, projection(tolerance * size_), results);
    } catch (const std::exception&) { // a correction that is not finite, where nothing can move
        state.updQ() = before;
        system_.realize(state, Stage::Position);
    }
    return succeeded(results);
}

bool Closures::joinSpeeds(State& state) const {
    const double accuracy = tolerance * size_ * std::max(1.0, state.getU().normInf());
    system_.realize(state, Stage::Velocity);
    if (matter_.getFreeUIndex(state).empty()) return state.getUErr().normInf() <= accuracy; // nothing to project
    SimTK::Vector errors;
    SimTK::ProjectResults results;
    system_.projectU(state, errors, projection(accuracy), results);
    return succeeded(results);
}

std::vector<Vec3> Closures::ends(const State& state) const {
    std::vector<Vec3> places;
    for (const Closure& closure : closures_) {
        const auto place = [&](std::size_t body, const Vector& point) {
            return matter_.getMobilizedBody(MobilizedBodyIndex(static_cast<int>(body)))
                .findStationLocationInGround(state, vec3(point));
        };
        places.push_back(place(closure.from, closure.fromPoint));
        places.push_back(place(closure.to, closure.toPoint));
    }
    return places;
}

Closures::Gap Closures::widestGap(const State& state) const {
    Gap widest{&closures_.front(), 0};
    for (std::size_t i = 0; i < closures_.size(); ++i) {
        const double width = constraints_[i].getPositionErrorsAsVector(state).norm();
        if (width > widest.width) widest = {&closures_[i], width};
    }
    return widest;
}

} // namespace solver
