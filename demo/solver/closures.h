// The closures of a mechanism, as constraints of the multibody library: joins their ends and keeps the joints to it.
//
// Belongs to the mechanism alone; includes Simbody and therefore compiles as C++17.
#pragma once

#include <Simbody.h>

#include <vector>

#include "demo/solver/model.h"

namespace solver {

/// A joint with one coordinate that goes to a new place and stands still there.
struct DrivenJoint {
    const SimTK::MobilizedBody* body;
    double target; ///< rad or m
};

/// States given to it must have reached the model stage. Joints that are locked in a state stay as they are.
class Closures {
public:
    /// Adds the constraints to the system, whose bodies must be there.
    Closures(const Model& model, const SimTK::MultibodySystem& system, SimTK::SimbodyMatterSubsystem& matter);

    /// Joins the ends at the start. Joints whose speed the model doesn't say get the one that the others demand. Throws
    /// a ClosureError when the ends can't be joined, or not without moving noticeably away from what the model says.
    void joinAtStart(SimTK::State& state) const;

    /// Locks joints at their targets and lets the mechanism follow on the way there, so that a loop doesn't change over
    /// to its other position. The speeds change as little as the closures allow. Throws a ClosureError, with `state`
    /// somewhere on the way, when the mechanism can't follow.
    void drive(const std::vector<DrivenJoint>& joints, SimTK::State& state) const;

    /// Number of the equations that bind the unlocked joints where the state stands; repeated ones count once. The
    /// state must have its velocities.
    int independentEquations(const SimTK::State& state) const;

private:
    struct Gap {
        const Closure* closure;
        double width;
    };

    void joinStartPositions(SimTK::State& state) const;
    void checkIndependence(const SimTK::State& state) const;
    void joinStartSpeeds(SimTK::State& state) const;
    bool joinPositions(SimTK::State& state) const;
    bool joinSpeeds(SimTK::State& state) const;
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
