#include "demo/solver/model_reader.h"

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <set>
#include <utility>
#include <vector>

namespace solver {

namespace {

/// Fills a model element by element, in the document's order: an element can refer only to those above it.
class ModelReader {
public:
    explicit ModelReader(XmlDocument& document) : document_(document) {
        model_.bodies.emplace_back();
        model_.bodies.front().name = "ground";
    }

    Model read();

private:
    void readElement(XmlElement& element);
    void readParameter(XmlElement& element);
    void readGravity(XmlElement& element);
    void readBody(XmlElement& element);
    Joint readJoint(XmlElement element) const;
    void readClosure(XmlElement& element);
    void readPointSpring(XmlElement& element);
    void readJointSpring(XmlElement& element);
    void readInputPort(XmlElement& element);
    void readOutputPort(XmlElement& element);
    Input readInput(XmlElement element);
    Output readOutput(XmlElement element);
    Load readLoad(XmlElement& element) const;

    std::string declaredName(XmlElement& element, const char* what);
    /// The name of a signal or parameter: a value file names both alike.
    std::string variableName(XmlElement& element);
    std::size_t body(XmlElement& element, const char* attribute, bool optional = false) const;
    std::size_t coordinate(XmlElement& element, const char* attribute, bool optional = false) const;
    std::size_t spring(XmlElement& element, const char* attribute) const;
    void checkMasses(const XmlElement& root) const;

    /// The unit of a coordinate or of an effort along it: `linear` for a slider, `angular` for a pin.
    const char* unitOf(std::size_t body, const char* linear, const char* angular) const {
        return model_.bodies[body].joint.type == JointType::slider ? linear : angular;
    }

    XmlDocument& document_;
    Model model_;
    std::set<std::string>
        names_; ///< of parameters, bodies, closures, springs and signals, each with its kind before it
    std::set<std::size_t> drivenBodies_;
};

Vector direction(XmlElement& element, const char* attribute) {
    Vector vector = element.vector(attribute, true);
    const double length = std::hypot(vector[0], vector[1], vector[2]);
    if (length == 0) element.fail(fmt::format("{}: a direction must not be 0 0 0", attribute));
    for (double& component : vector) component /= length;
    return vector;
}

/// A single number applies to all three axes, for a body that is alike about them or turns about one.
std::array<double, 6> readInertia(XmlElement& element) {
    const Vector products = element.vector("products");
    const std::vector<double> moments = element.numbers("inertia", {1, 3}, false);
    const double x = moments.front(), y = moments[moments.size() / 2], z = moments.back();
    const double slack = 1e-9 * (x + y + z);
    if (x < 0 || y < 0 || z < 0 || x + y < z - slack || y + z < x - slack || z + x < y - slack)
        element.fail(fmt::format("inertia: no body has the moments {} {} {}: none may be negative or exceed the sum of "
                                 "the other two",
                                 x, y, z));
    return {x, y, z, products[0], products[1], products[2]};
}

Model ModelReader::read() {
    XmlElement root(document_, document_.root());
    if (root.name() != "mechanism")
        root.fail(fmt::format("the root element must be <mechanism>, not <{}>", root.name()));
    model_.name = root.text("name");
    root.finish();

    for (XmlElement& element : root.children()) readElement(element);
    checkMasses(root);
    return std::move(model_);
}

void ModelReader::readElement(XmlElement& element) {
    const std::string kind = element.name();
    if (kind == "parameter") return readParameter(element);
    if (kind == "gravity") return readGravity(element);
    if (kind == "body") return readBody(element);
    if (kind == "closure") return readClosure(element);
    if (kind == "point_spring") return readPointSpring(element);
    if (kind == "joint_spring") return readJointSpring(element);
    if (kind == "input") return readInputPort(element);
    if (kind == "output") return readOutputPort(element);
    if (kind == "effort" || kind == "force" || kind == "torque") {
        model_.loads.push_back(readLoad(element));
        model_.loads.back().value = element.number("value");
        return element.finishLeaf();
    }
    element.fail(fmt::format("unknown element <{}>; <mechanism> may contain parameter, gravity, body, closure, "
                             "point_spring, joint_spring, effort, force, torque, input and output",
                             kind));
}

void ModelReader::readParameter(XmlElement& element) {
    const std::string name = variableName(element);
    document_.setParameter(name, element.text("value"));
    element.text("unit", "");
    element.finishLeaf();
}

/// Names of parameters and signals are used in expressions, in value files and in the result file's header.
std::string ModelReader::variableName(XmlElement& element) {
    const std::string name = declaredName(element, "variable");
    if (name.find_first_of(" ,*/${}") != std::string::npos)
        element.fail(fmt::format("name: '{}' must not contain a space or one of , * / $ {{ }}", name));
    return name;
}

void ModelReader::readGravity(XmlElement& element) {
    model_.gravity = element.vector("acceleration", true);
    element.finishLeaf();
}

void ModelReader::readBody(XmlElement& element) {
    Body body;
    body.name = declaredName(element, "body");
    if (body.name == "ground") element.fail("name: 'ground' is the fixed frame; give the body another name");
    body.mass = element.notNegative("mass");
    body.centre = element.vector("centre");
    body.inertia = readInertia(element);
    element.finish();

    std::vector<XmlElement> joints = element.children();
    if (joints.size() != 1 || joints.front().name() != "joint")
        element.fail(fmt::format("body '{}' needs exactly one <joint> and nothing else", body.name));
    body.joint = readJoint(joints.front());
    model_.bodies.push_back(body);
}

Joint ModelReader::readJoint(XmlElement element) const {
    Joint joint;
    const std::string type = element.text("type");
    if (type == "pin")
        joint.type = JointType::pin;
    else if (type == "slider")
        joint.type = JointType::slider;
    else if (type == "weld")
        joint.type = JointType::weld;
    else if (type == "free")
        joint.type = JointType::free;
    else
        element.fail(fmt::format("type: must be pin, slider, weld or free, not '{}'", type));

    joint.parent = body(element, "parent", true);
    joint.at = element.vector("at");
    joint.childAt = element.vector("child_at");
    if (joint.type == JointType::pin || joint.type == JointType::slider) {
        joint.axis = direction(element, "axis");
        joint.coordinate = element.number("coordinate", 0);
        const double speed = element.number("speed", 0);
        if (element.has("speed")) joint.speed = speed;
    }
    element.finishLeaf();
    return joint;
}

void ModelReader::readClosure(XmlElement& element) {
    Closure closure;
    closure.name = declaredName(element, "closure");
    closure.place = element.place();
    closure.from = body(element, "from", true);
    closure.to = body(element, "to");
    if (closure.from == closure.to) element.fail("to: both ends are on the same body");
    closure.fromPoint = element.vector("from_at");
    closure.toPoint = element.vector("to_at");
    if (element.has("axis")) closure.axis = direction(element, "axis");
    element.numbers("axis", {3}, false);
    element.finishLeaf();
    model_.closures.push_back(closure);
}

void ModelReader::readPointSpring(XmlElement& element) {
    Spring spring;
    spring.name = declaredName(element, "spring");
    spring.from = body(element, "from", true);
    spring.to = body(element, "to");
    if (spring.from == spring.to) element.fail("to: both ends are on the same body");
    spring.fromPoint = element.vector("from_at");
    spring.toPoint = element.vector("to_at");
    spring.stiffness = element.notNegative("stiffness", 0);
    spring.damping = element.notNegative("damping", 0);
    spring.rest = element.notNegative("rest", 0);
    element.finishLeaf();
    model_.springs.push_back(spring);
}

void ModelReader::readJointSpring(XmlElement& element) {
    Spring spring;
    spring.name = declaredName(element, "spring");
    spring.kind = Spring::Kind::coordinates;
    spring.from = coordinate(element, "from", true);
    spring.to = coordinate(element, "to");
    if (spring.from == spring.to) element.fail("to: both ends are on the same body");
    if (spring.from != 0 && model_.bodies[spring.from].joint.type != model_.bodies[spring.to].joint.type)
        element.fail("from: a spring can't connect an angle and a displacement");
    spring.stiffness = element.notNegative("stiffness", 0);
    spring.damping = element.notNegative("damping", 0);
    spring.rest = element.number("rest", 0);
    element.finishLeaf();
    model_.springs.push_back(spring);
}

void ModelReader::readInputPort(XmlElement& element) {
    element.finish();
    std::vector<Input> signals;
    for (XmlElement& child : element.children()) signals.push_back(readInput(child));
    if (signals.empty()) element.fail("a port needs at least one signal: motion, effort, force or torque");
    model_.inputPorts.push_back(signals);
}

Input ModelReader::readInput(XmlElement element) {
    Input input;
    input.name = variableName(element);
    if (element.has("start")) input.start = element.number("start");
    element.number("start", 0);

    const std::string kind = element.name();
    if (kind == "motion") {
        input.isMotion = true;
        input.target = coordinate(element, "joint");
        input.unit = unitOf(input.target, "m", "rad");
        if (!drivenBodies_.insert(input.target).second)
            element.fail(fmt::format("joint: '{}' is driven by another input", model_.bodies[input.target].name));
    } else if (kind == "effort" || kind == "force" || kind == "torque") {
        model_.loads.push_back(readLoad(element));
        input.target = model_.loads.size() - 1;
        input.unit = kind == "force" ? "N" : kind == "torque" ? "N m" : unitOf(model_.loads.back().body, "N", "N m");
    } else {
        element.fail(fmt::format("unknown element <{}>; an input is motion, effort, force or torque", kind));
    }
    element.finishLeaf();
    return input;
}

Load ModelReader::readLoad(XmlElement& element) const {
    Load load;
    const std::string kind = element.name();
    if (kind == "effort") {
        load.body = coordinate(element, "joint");
        return load;
    }
    load.kind = kind == "force" ? Load::Kind::force : Load::Kind::torque;
    load.body = body(element, "body");
    load.direction = direction(element, "direction");
    if (load.kind == Load::Kind::force) load.point = element.vector("at");
    return load;
}

void ModelReader::readOutputPort(XmlElement& element) {
    element.finish();
    std::vector<Output> signals;
    for (XmlElement& child : element.children()) signals.push_back(readOutput(child));
    if (signals.empty()) element.fail("a port needs at least one signal: coordinate, point or spring_force");
    model_.outputPorts.push_back(signals);
}

Output ModelReader::readOutput(XmlElement element) {
    Output output;
    output.name = variableName(element);

    const std::string kind = element.name();
    if (kind == "coordinate") {
        output.target = coordinate(element, "joint");
        output.unit = unitOf(output.target, "m", "rad");
    } else if (kind == "point") {
        output.kind = Output::Kind::point;
        output.target = body(element, "body");
        output.point = element.vector("at");
        const std::string component = element.text("component");
        output.component = component == "x" ? 0 : component == "y" ? 1 : component == "z" ? 2 : -1;
        if (output.component < 0) element.fail(fmt::format("component: must be x, y or z, not '{}'", component));
        output.unit = "m";
    } else if (kind == "spring_force") {
        output.kind = Output::Kind::springForce;
        output.target = spring(element, "spring");
        const Spring& measured = model_.springs[output.target];
        output.unit = measured.kind == Spring::Kind::points ? "N" : unitOf(measured.to, "N", "N m");
    } else {
        element.fail(fmt::format("unknown element <{}>; an output is coordinate, point or spring_force", kind));
    }
    element.finishLeaf();
    return output;
}

std::string ModelReader::declaredName(XmlElement& element, const char* what) {
    std::string name = element.text("name");
    if (name.empty()) element.fail("name: must not be empty");
    if (!names_.insert(fmt::format("{} {}", what, name)).second)
        element.fail(fmt::format("name: '{}' is used by another element above", name));
    return name;
}

std::size_t ModelReader::body(XmlElement& element, const char* attribute, bool optional) const {
    const std::string name = optional ? element.text(attribute, "ground") : element.text(attribute);
    for (std::size_t i = 0; i < model_.bodies.size(); ++i)
        if (model_.bodies[i].name == name) return i;
    element.fail(fmt::format("{}: there is no body '{}' above", attribute, name));
}

std::size_t ModelReader::coordinate(XmlElement& element, const char* attribute, bool optional) const {
    const std::size_t index = body(element, attribute, optional);
    if ((index == 0 && optional) || model_.bodies[index].hasCoordinate()) return index;
    element.fail(fmt::format("{}: the joint of '{}' must be a pin or slider", attribute, model_.bodies[index].name));
}

std::size_t ModelReader::spring(XmlElement& element, const char* attribute) const {
    const std::string name = element.text(attribute);
    for (std::size_t i = 0; i < model_.springs.size(); ++i)
        if (model_.springs[i].name == name) return i;
    element.fail(fmt::format("{}: there is no spring '{}' above", attribute, name));
}

/// Without a mass, the equations of motion of a body at the end of a chain have no solution unless an input drives it.
void ModelReader::checkMasses(const XmlElement& root) const {
    std::set<std::size_t> parents;
    for (const Body& body : model_.bodies) parents.insert(body.joint.parent);
    for (std::size_t i = 1; i < model_.bodies.size(); ++i) {
        const Body& body = model_.bodies[i];
        if (drivenBodies_.count(i) != 0 || parents.count(i) != 0) continue;
        const bool resistsTurning = body.inertia[0] + body.inertia[1] + body.inertia[2] > 0;
        const JointType type = body.joint.type;
        if (body.mass == 0 &&
            (type == JointType::slider || type == JointType::free || (type == JointType::pin && !resistsTurning)))
            root.fail(fmt::format("body '{}' needs a mass because no input drives its joint", body.name));
        if (type == JointType::free && !resistsTurning)
            root.fail(fmt::format("body '{}' can turn freely and needs an inertia", body.name));
    }
}

} // namespace

Model readModel(XmlDocument& document) { return ModelReader(document).read(); }

} // namespace solver
