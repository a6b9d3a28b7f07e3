#include "demo/solver/force_elements.h"

namespace solver {

using SimTK::MobilizedBody;
using SimTK::State;
using SimTK::Vec3;

double ForceElements::springForce(std::size_t spring, const State& state) const {
    return force(springs_[spring], stretchOf(springs_[spring], state, Order::velocity));
}

double ForceElements::springForceRate(std::size_t spring, const State& state) const {
    const Stretch stretch = stretchOf(springs_[spring], state, Order::acceleration);
    return springs_[spring].stiffness * stretch.rate + springs_[spring].damping * stretch.acceleration;
}

ForceElements::Stretch ForceElements::stretchOf(const Spring& spring, const State& state, Order order) const {
    return spring.kind == Spring::Kind::points ? betweenPoints(spring, state, order)
                                               : betweenCoordinates(spring, state, order);
}

ForceElements::Stretch ForceElements::betweenPoints(const Spring& spring, const State& state, Order order) const {
    const MobilizedBody& from = body(spring.from);
    const MobilizedBody& to = body(spring.to);
    const Vec3 start = vec3(spring.fromPoint);
    const Vec3 end = vec3(spring.toPoint);
    const Vec3 distance = to.findStationLocationInGround(state, end) - from.findStationLocationInGround(state, start);
    const Vec3 velocity = to.findStationVelocityInGround(state, end) - from.findStationVelocityInGround(state, start);

    Stretch stretch;
    stretch.length = distance.norm();
    if (stretch.length == 0) return stretch;
    stretch.direction = distance / stretch.length;
    stretch.rate = SimTK::dot(stretch.direction, velocity);
    if (order == Order::velocity) return stretch;

    const Vec3 acceleration =
        to.findStationAccelerationInGround(state, end) - from.findStationAccelerationInGround(state, start);
    stretch.acceleration = SimTK::dot(stretch.direction, acceleration) +
                           (velocity.normSqr() - stretch.rate * stretch.rate) / stretch.length;
    return stretch;
}

ForceElements::Stretch ForceElements::betweenCoordinates(const Spring& spring, const State& state, Order order) const {
    Stretch stretch;
    const auto add = [&](std::size_t end, double sign) {
        if (end == 0) return;
        stretch.length += sign * body(end).getOneQ(state, 0);
        stretch.rate += sign * body(end).getOneU(state, 0);
        if (order == Order::acceleration) stretch.acceleration += sign * body(end).getOneUDot(state, 0);
    };
    add(spring.from, 1);
    add(spring.to, -1);
    return stretch;
}

void ForceElements::calcForce(const State& state, SimTK::Vector_<SimTK::SpatialVec>& bodyForces,
                              SimTK::Vector_<Vec3>& /*particleForces*/, SimTK::Vector& mobilityForces) const {
    for (const Spring& spring : springs_) {
        const Stretch stretch = stretchOf(spring, state, Order::velocity);
        const double pull = force(spring, stretch);
        if (spring.kind == Spring::Kind::points) {
            body(spring.from)
                .applyForceToBodyPoint(state, vec3(spring.fromPoint), pull * stretch.direction, bodyForces);
            body(spring.to).applyForceToBodyPoint(state, vec3(spring.toPoint), -pull * stretch.direction, bodyForces);
        } else {
            if (spring.from != 0) body(spring.from).applyOneMobilityForce(state, 0, -pull, mobilityForces);
            body(spring.to).applyOneMobilityForce(state, 0, pull, mobilityForces);
        }
    }
    for (const Load& load : loads_) {
        const Vec3 vector = load.value * vec3(load.direction);
        if (load.kind == Load::Kind::effort)
            body(load.body).applyOneMobilityForce(state, 0, load.value, mobilityForces);
        else if (load.kind == Load::Kind::force)
            body(load.body).applyForceToBodyPoint(state, vec3(load.point), vector, bodyForces);
        else
            body(load.body).applyBodyTorque(state, vector, bodyForces);
    }
}

SimTK::Real ForceElements::calcPotentialEnergy(const State& state) const {
    double energy = 0;
    for (const Spring& spring : springs_) {
        const double stretch = stretchOf(spring, state, Order::velocity).length - spring.rest;
        energy += spring.stiffness * stretch * stretch / 2;
    }
    return energy;
}

} // namespace solver
