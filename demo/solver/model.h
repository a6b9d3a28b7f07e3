// The mechanism that a model file describes, as plain data: what the model reader fills and the solver builds from.
//
// All values are in SI units (m, rad, kg, s, N, N m); vectors are in the axes of the body or frame that is named.
// This header compiles as C++17, for the code that includes Simbody.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace solver {

using Vector = std::array<double, 3>;

enum class JointType { pin, slider, weld, free };

/// The joint that carries a body. At coordinate 0 the axes of the body are parallel to those of its parent.
struct Joint {
    JointType type = JointType::weld;
    std::size_t parent = 0;      ///< index of an earlier body
    Vector at{};                 ///< the joint in the parent's frame
    Vector childAt{};            ///< the joint in the body's own frame
    Vector axis{0, 0, 1};        ///< of rotation or translation, of any length but 0
    double coordinate = 0;       ///< at the start: angle in rad or displacement in m
    std::optional<double> speed; ///< at the start; without it the joint rests, or moves as closures make it
};

/// A rigid body with the joint that carries it; a joint is known by the name of its body.
struct Body {
    std::string name;
    double mass = 0;
    Vector centre{};                 ///< centre of mass in the body's frame
    std::array<double, 6> inertia{}; ///< xx yy zz xy xz yz, about the centre of mass, in the body's axes
    Joint joint;

    /// Whether the joint has exactly one coordinate, which can be driven, coupled and measured.
    bool hasCoordinate() const { return joint.type == JointType::pin || joint.type == JointType::slider; }
};

/// A linear spring and damper. Its force is stiffness * (stretch - rest) + damping * (rate of the stretch) and draws
/// its ends together when it is positive.
struct Spring {
    enum class Kind {
        points,     ///< between two points; the stretch is their distance
        coordinates ///< between two joint coordinates; the stretch is that of `from` minus that of `to`
    };

    std::string name;
    Kind kind = Kind::points;
    std::size_t from = 0; ///< body; as an end of kind `coordinates`, ground (0) has the coordinate 0
    std::size_t to = 0;
    Vector fromPoint{}; ///< in the frame of `from`; points only
    Vector toPoint{};
    double stiffness = 0; ///< N/m, or N m/rad between angles
    double damping = 0;   ///< N s/m, or N m s/rad
    double rest = 0;      ///< the stretch without force
};

/// Keeps a point of one body on a point of another, or on a line through it, and so closes a loop of bodies.
struct Closure {
    std::string name;
    std::string place; ///< file and line, for messages
    std::size_t from = 0;
    std::size_t to = 0;
    Vector fromPoint{}; ///< in the frame of `from`
    Vector toPoint{};
    std::optional<Vector> axis; ///< unit vector along which `toPoint` is free, in the frame of `from`
};

/// A force or torque on a body, constant or driven by an input.
struct Load {
    enum class Kind {
        effort, ///< along a joint's coordinate: a force (slider) or torque (pin), its reaction on the parent
        force,  ///< at a point of the body, in a direction of the ground frame
        torque  ///< on the body, about a direction of the ground frame
    };

    Kind kind = Kind::effort;
    std::size_t body = 0;
    Vector point{};     ///< in the body's frame; force only
    Vector direction{}; ///< unit vector; force and torque only
    double value = 0;   ///< N or N m; of a driven load until its input is set
};

/// A scalar that the master sets: it prescribes a joint's coordinate or drives a load.
struct Input {
    std::string name;
    std::string unit;
    std::optional<double> start; ///< holds until the first deposit; without it the port's own value does
    bool isMotion = false;
    std::size_t target = 0; ///< the driven body, or the index of the driven load
};

/// A scalar that the master reads.
struct Output {
    enum class Kind { coordinate, point, springForce };

    std::string name;
    std::string unit;
    Kind kind = Kind::coordinate;
    std::size_t target = 0; ///< the measured body, or the index of the measured spring
    Vector point{};         ///< in the body's frame; point only
    int component = 0;      ///< 0, 1, 2 for the ground's x, y, z; point only
};

struct Model {
    std::string name;
    Vector gravity{};         ///< m/s2
    std::vector<Body> bodies; ///< the first is the ground
    std::vector<Closure> closures;
    std::vector<Spring> springs;
    std::vector<Load> loads;
    std::vector<std::vector<Input>> inputPorts; ///< the signals of each port, in the order of the FMU's ports
    std::vector<std::vector<Output>> outputPorts;
};

} // namespace solver
