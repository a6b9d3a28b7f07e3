// The closures of a mechanism, as constraints of the multibody library: joins their ends and makes the joints follow.
//
// Used by the mechanism only; includes Simbody and therefore compiles as C++17.
#pragma once

#include <Simbody.h>

#include <vector>

#include "demo/solver/model.h"

namespace solver {

/// A joint with one coordinate that moves to a new place and rests there.
struct DrivenJoint {
    const SimTK::MobilizedBody* body;
    double target; ///< rad or m
};

/// States passed to it must have reached the model stage. Joints that are locked in a state keep their coordinates.
class Closures {
public:
    /// Adds the constraints to the system, which must have its bodies.
    Closures(const Model& model, const SimTK::MultibodySystem& system, SimTK::SimbodyMatterSubsystem& matter);

    /// Joins the ends at the start. Joints without a speed in the model get the one that the others require. Throws a
    /// ClosureError if the ends can't be joined, or only in a noticeably different position than the model's.
    void joinAtStart(SimTK::State& state) const;

    /// Moves joints to their targets in small steps and locks them there; the mechanism follows, so that a loop does
    /// not change to its other position. The speeds change as little as the closures allow. Throws a ClosureError, with
    /// `state` somewhere on the way, if the mechanism can't follow.
    void drive(const std::vector<DrivenJoint>& joints, SimTK::State& state) const;

    /// Number of independent equations for the unlocked joints in the state's position. The state must have its
    /// velocities.
    int independentEquations(const SimTK::State& state) const;

private:
    struct Gap {
        const Closure* closure;
        double width;
    };

    void checkEffect(SimTK::State& state) const;
    void joinStartPositions(SimTK::State& state) const;
    void checkIndependence(const SimTK::State& state) const;
    void joinStartSpeeds(SimTK::State& state) const;
    bool joinPositions(SimTK::State& state) const;
    bool joinSpeeds(SimTK::State& state) const;
    /// The closures' equations for the speeds of the unlocked joints: a row for each equation.
    SimTK::Matrix equations(const SimTK::State& state) const;
    /// A copy with slightly different coordinates and with its velocities.
    SimTK::State besideOf(const SimTK::State& state) const;
    std::vector<SimTK::Vec3> ends(const SimTK::State& state) const;
    Gap widestGap(const SimTK::State& state) const;

    const SimTK::MultibodySystem& system_;
    const SimTK::SimbodyMatterSubsystem& matter_;
    const std::vector<Closure> closures_;
    std::vector<SimTK::Constraint> constraints_;
    std::vector<SimTK::MobilizedBodyIndex> withSpeed_; ///< bodies whose joint has a speed in the model
    double size_;                                      ///< the mechanism's longest arm, m
};

} // namespace solver
