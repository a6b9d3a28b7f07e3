// What the sessions with the solver are made from. Lives in the parent process, and by fork in its children.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tool/doctor/solver/watched_instance.h"
#include "tool/fmu/model_description.h"
#include "tool/fmu/parameter_files.h"

namespace tool {

/// A signal of a port, as the model description names it.
struct PortSignal {
    Port port;
    int index = 0; ///< within the port
    std::string name, unit;
    double driven = 0; ///< of an input: a value other than 0 that the description allows; 0 when there is none

    std::string place() const { return fmt::format("{}, signal {}", port.name(), index); }
};

struct SessionPlan {
    std::filesystem::path library;
    std::filesystem::path resources;      ///< with the model file
    std::filesystem::path otherResources; ///< a copy in another folder
    std::string modelFile;                ///< the model file's name
    std::string model;                    ///< its content: a start that does not find it gets it again
    const ShapeFile& shape;               ///< without errors
    std::vector<PortSignal> signals;      ///< of inputs, then of outputs
    double stepSize = 0;                  ///< seconds
    DerivativeOrders orders{};
    double patience = 30; ///< seconds after which no further run is begun
};

/// The signals of the ports with what the description says of them.
std::vector<PortSignal> signalsOf(const ShapeFile& shape, const ModelDescription& description);

} // namespace tool
