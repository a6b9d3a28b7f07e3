// The springs and loads of a mechanism, as one force element of the multibody library.
//
// Used by the mechanism only; includes Simbody and therefore compiles as C++17.
#pragma once

#include <Simbody.h>

#include <cstddef>
#include <vector>

#include "demo/solver/model.h"

namespace solver {

inline SimTK::Vec3 vec3(const Vector& vector) { return {vector[0], vector[1], vector[2]}; }

class ForceElements : public SimTK::Force::Custom::Implementation {
public:
    ForceElements(const Model& model, const SimTK::SimbodyMatterSubsystem& matter)
        : springs_(model.springs), loads_(model.loads), matter_(matter) {}

    /// The mobilized body of a body of the model.
    const SimTK::MobilizedBody& body(std::size_t index) const {
        return matter_.getMobilizedBody(SimTK::MobilizedBodyIndex(static_cast<int>(index)));
    }

    /// Sets a driven load. The caller invalidates the forces of its states.
    void setLoad(std::size_t load, double value) { loads_[load].value = value; }

    /// Force of a spring, N or N m; the state must have its velocities.
    double springForce(std::size_t spring, const SimTK::State& state) const;

    /// Time derivative of a spring's force; the state must have its accelerations.
    double springForceRate(std::size_t spring, const SimTK::State& state) const;

    void calcForce(const SimTK::State& state, SimTK::Vector_<SimTK::SpatialVec>& bodyForces,
                   SimTK::Vector_<SimTK::Vec3>& particleForces, SimTK::Vector& mobilityForces) const override;
    SimTK::Real calcPotentialEnergy(const SimTK::State& state) const override;

private:
    /// Stretch of a spring with its first and, if asked for, second derivative.
    struct Stretch {
        double length = 0;
        double rate = 0;
        double acceleration = 0;
        SimTK::Vec3 direction{0}; ///< from end to end; points only, 0 while the ends coincide
    };
    enum class Order { velocity, acceleration };

    static double force(const Spring& spring, const Stretch& stretch) {
        return spring.stiffness * (stretch.length - spring.rest) + spring.damping * stretch.rate;
    }
    Stretch stretchOf(const Spring& spring, const SimTK::State& state, Order order) const;
    Stretch betweenPoints(const Spring& spring, const SimTK::State& state, Order order) const;
    Stretch betweenCoordinates(const Spring& spring, const SimTK::State& state, Order order) const;

    const std::vector<Spring> springs_;
    std::vector<Load> loads_;
    const SimTK::SimbodyMatterSubsystem& matter_;
};

} // namespace solver
