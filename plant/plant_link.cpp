#include "plant/plant_link.h"

#include <memory>
#include <stdexcept>

#include "plant/access_object.h"

namespace {

using plant::completes;

int derivativeOffset(FmuInstance* instance, TScicosAccessFnc2& access, int order) {
    if (instance == nullptr || instance->nOutputPorts == 0) return -1;

    const double* values = access.GetOutputPortRealSignalPtrs(instance, 0);
    if (order == 1) return static_cast<int>(access.GetOutputPortRealSignalDotPtrs(instance, 0) - values);
    if (order == 2) return static_cast<int>(access.GetOutputPortRealSignalDotDotPtrs(instance, 0) - values);
    return -1;
}

} // namespace

void plant::endRun(FmuInstance* instance, TScicosAccessFnc2* access) {
    if (instance != nullptr && instance->plant == access) instance->plant = nullptr;
    delete access;
}

void* TSplant_Instantiate(FmuInstance* instance) {
    if (instance == nullptr) return nullptr;

    std::unique_ptr<TScicosAccessFnc2> access;
    const bool started = completes([&] {
        access = std::make_unique<TScicosAccessFnc2>();
        if (!access->LoadInterfaceDll(instance))
            throw std::runtime_error(
                "Unable to load Tessaro interface dll during block initialization, please read the logfile.");
        access->blkStart(instance, access.get());
        if (access->getErrorCode() != 0) throw std::runtime_error("Problem in starting the simulation by Tessaro.");
    });
    return started ? access.release() : nullptr;
}

int TSplant_Terminate(FmuInstance* instance, void* plant, double time) {
    if (plant == nullptr) return -1;
    auto* access = static_cast<TScicosAccessFnc2*>(plant);

    const bool completed = completes([&] {
        if (access->isTSLoaded()) access->blkTerminate(instance, access, time);
    });
    plant::endRun(instance, access);
    return completed ? 0 : -1;
}

int TSplant_RequestPlantOutputDerivPtrOffset(FmuInstance* instance, void* plant, int order) {
    if (plant == nullptr) return -1;
    auto* access = static_cast<TScicosAccessFnc2*>(plant);

    int offset = -1;
    const bool completed = completes([&] { offset = derivativeOffset(instance, *access, order); });
    // Kept: an error reported since the last call ends the run here, but the offset is still returned.
    if (!completed || access->getErrorCode() != 0) plant::endRun(instance, access);
    return offset;
}
