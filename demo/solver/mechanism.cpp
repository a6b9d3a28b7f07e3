#include "demo/solver/mechanism.h"

#include <Simbody.h>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "demo/solver/closures.h"
#include "demo/solver/force_elements.h"

namespace solver {

namespace {

using SimTK::MobilizedBody;
using SimTK::Stage;
using SimTK::State;
using SimTK::Transform;
using SimTK::Vec3;

/// Of each step, relative to a length of 1 m, an angle of 1 rad and speeds of their kind.
constexpr double accuracy = 1e-11;

/// Of the integrator for one request; takes a second or so for a small mechanism.
constexpr int mostSteps = 20000;

/// A joint's frame: the joint type turns about its z axis or slides along its x axis.
Transform jointFrame(const Joint& joint, const Vector& at) {
    if (joint.type == JointType::weld || joint.type == JointType::free) return Transform(vec3(at));
    const SimTK::CoordinateAxis axis =
        joint.type == JointType::pin ? SimTK::CoordinateAxis(SimTK::ZAxis) : SimTK::CoordinateAxis(SimTK::XAxis);
    return Transform(SimTK::Rotation(SimTK::UnitVec3(vec3(joint.axis)), axis), vec3(at));
}

void addBody(const Body& body, SimTK::SimbodyMatterSubsystem& matter) {
    const auto& i = body.inertia;
    const Vec3 centre = vec3(body.centre);
    const SimTK::Inertia central(i[0], i[1], i[2], i[3], i[4], i[5]);
    const SimTK::Body::Rigid rigid(
        SimTK::MassProperties(body.mass, centre, central.shiftFromMassCenter(centre, body.mass)));

    MobilizedBody& parent = matter.updMobilizedBody(SimTK::MobilizedBodyIndex(static_cast<int>(body.joint.parent)));
    const Transform inParent = jointFrame(body.joint, body.joint.at);
    const Transform inChild = jointFrame(body.joint, body.joint.childAt);
    switch (body.joint.type) {
    case JointType::pin:
        MobilizedBody::Pin(parent, inParent, rigid, inChild);
        return;
    case JointType::slider:
        MobilizedBody::Slider(parent, inParent, rigid, inChild);
        return;
    case JointType::weld:
        MobilizedBody::Weld(parent, inParent, rigid, inChild);
        return;
    case JointType::free:
        MobilizedBody::Free(parent, inParent, rigid, inChild);
        return;
    }
}

template <typename Description>
std::vector<Description> signalsOf(const std::vector<std::vector<Description>>& ports) {
    std::vector<Description> signals;
    for (const auto& port : ports) signals.insert(signals.end(), port.begin(), port.end());
    return signals;
}

} // namespace

struct Mechanism::Parts {
    explicit Parts(const Model& model);

    void initialize(const Model& model);
    void setInputs(const std::vector<double>& values);
    void restart();
    Signal measure(const Output& output) const;
    void differentiateForces(std::vector<Signal>& signals);

    SimTK::MultibodySystem system;
    SimTK::SimbodyMatterSubsystem matter;
    SimTK::GeneralForceSubsystem forceSubsystem;
    ForceElements* forces; ///< owned by the system
    std::unique_ptr<Closures> closures;
    const std::vector<Input> inputs;
    const std::vector<Output> outputs;
    std::vector<double> inputValues;
    State state;
    State probe; ///< for positions next to that of the motion
    SimTK::RungeKuttaMersonIntegrator integrator;
    bool restarted = false; ///< the integrator is initialized with `state`
};

Mechanism::Parts::Parts(const Model& model)
    : matter(system), forceSubsystem(system), forces(new ForceElements(model, matter)),
      inputs(signalsOf(model.inputPorts)), outputs(signalsOf(model.outputPorts)), inputValues(inputs.size(), 0.0),
      integrator(system) {
    integrator.setAccuracy(accuracy);
    integrator.setInternalStepLimit(mostSteps);
    integrator.setAllowInterpolation(false); // every step ends at the time that is asked for
    const SimTK::Force::Custom element(forceSubsystem, forces);
    forceSubsystem.setNumberOfThreads(1);
    for (std::size_t i = 1; i < model.bodies.size(); ++i) addBody(model.bodies[i], matter);
    closures = std::make_unique<Closures>(model, system, matter);
    if (vec3(model.gravity) != Vec3(0)) SimTK::Force::UniformGravity(forceSubsystem, matter, vec3(model.gravity));
    initialize(model);
}

void Mechanism::Parts::initialize(const Model& model) {
    state = system.realizeTopology();
    system.realizeModel(state);
    for (std::size_t i = 1; i < model.bodies.size(); ++i) {
        if (!model.bodies[i].hasCoordinate()) continue;
        forces->body(i).setOneQ(state, 0, model.bodies[i].joint.coordinate);
        forces->body(i).setOneU(state, 0, model.bodies[i].joint.speed.value_or(0));
    }
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        if (!inputs[i].isMotion) continue;
        inputValues[i] = model.bodies[inputs[i].target].joint.coordinate;
        forces->body(inputs[i].target).lockAt(state, inputValues[i], SimTK::Motion::Position);
    }
    closures->joinAtStart(state);
    probe = state;
    system.realize(probe, Stage::Instance);

    system.realize(state, Stage::Acceleration);
    if (!std::isfinite(state.getYDot().norm()))
        throw std::runtime_error("The accelerations at the start are not finite.");
}

void Mechanism::Parts::setInputs(const std::vector<double>& values) {
    std::vector<DrivenJoint> driven;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i] == inputValues[i]) continue;
        if (inputs[i].isMotion)
            driven.push_back({&forces->body(inputs[i].target), values[i]});
        else
            forces->setLoad(inputs[i].target, values[i]);
    }
    if (!driven.empty()) closures->drive(driven, state);
    state.invalidateAllCacheAtOrAbove(Stage::Dynamics);
    inputValues = values;
    restarted = false;
}

/// Makes the integrator continue from `state`.
void Mechanism::Parts::restart() {
    if (restarted) return;
    integrator.initialize(state);
    restarted = true;
}

Signal Mechanism::Parts::measure(const Output& output) const {
    if (output.kind == Output::Kind::springForce)
        return {forces->springForce(output.target, state), forces->springForceRate(output.target, state), 0};

    const MobilizedBody& body = forces->body(output.target);
    if (output.kind == Output::Kind::coordinate)
        return {body.getOneQ(state, 0), body.getOneU(state, 0), body.getOneUDot(state, 0)};

    const Vec3 point = vec3(output.point);
    return {body.findStationLocationInGround(state, point)[output.component],
            body.findStationVelocityInGround(state, point)[output.component],
            body.findStationAccelerationInGround(state, point)[output.component]};
}

/// Adds the second derivatives of the measured forces: the change of the first ones on a short way along the motion,
/// whose length keeps both rounding and the curvature of the mechanism small. What the way strays from closures by is
/// the same on both sides and drops out.
void Mechanism::Parts::differentiateForces(std::vector<Signal>& signals) {
    const double way = 1e-5 / std::max(1.0, state.getQDot().normInf());
    for (const double side : {way, -way}) {
        probe.updY() = state.getY() + side * state.getYDot();
        system.realize(probe, Stage::Acceleration);
        for (std::size_t i = 0; i < outputs.size(); ++i)
            if (outputs[i].kind == Output::Kind::springForce)
                signals[i].second += forces->springForceRate(outputs[i].target, probe) / (2 * side);
    }
}

Mechanism::Mechanism(const Model& model) : parts_(std::make_unique<Parts>(model)) {}

Mechanism::~Mechanism() = default;

int Mechanism::degreesOfFreedom() const {
    const auto driven =
        std::count_if(parts_->inputs.begin(), parts_->inputs.end(), [](const Input& input) { return input.isMotion; });
    return parts_->state.getNU() - static_cast<int>(driven) - parts_->closures->independentEquations(parts_->state);
}

double Mechanism::time() const { return parts_->state.getTime(); }

void Mechanism::setTime(double time) {
    parts_->state.setTime(time);
    parts_->restarted = false;
}

void Mechanism::setInputs(const std::vector<double>& values) {
    if (values != parts_->inputValues) parts_->setInputs(values);
}

void Mechanism::advanceTo(double time) {
    try {
        parts_->restart();
        while (parts_->integrator.getTime() < time)
            if (parts_->integrator.stepTo(time, time) == SimTK::Integrator::ReachedStepLimit)
                throw std::runtime_error("The forces change too fast.");
        parts_->state = parts_->integrator.getState();
    } catch (const std::exception& error) {
        throw std::runtime_error(fmt::format("The motion can't be followed from {} s to {} s. Check stiffnesses, "
                                             "masses and inputs. The solver says: {}",
                                             this->time(), time, error.what()));
    }
}

void Mechanism::measure(std::vector<Signal>& signals) {
    signals.resize(parts_->outputs.size());
    parts_->system.realize(parts_->state, Stage::Acceleration);
    bool forces = false;
    for (std::size_t i = 0; i < signals.size(); ++i) {
        signals[i] = parts_->measure(parts_->outputs[i]);
        forces = forces || parts_->outputs[i].kind == Output::Kind::springForce;
    }
    if (forces) parts_->differentiateForces(signals);
}

} // namespace solver
