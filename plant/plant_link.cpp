#include "plant/plant_link.h"

#include <memory>
#include <stdexcept>

#include "plant/access_object.h"

namespace {

/// The barrier between our code and the solver's: runs a call and tells whether it came back without an exception of
/// any kind. The exception is gone when this returns. Only then may the access object be destroyed: that unloads the
/// library, and with it perhaps the exception's own class.
template <typename Call>
bool completes(const Call& call) {
    try {
        call();
        return true;
    } catch (...) {
        return false;
    }
}

// Kept: one text for every call, not only for the start. It is nobody's to read but a debugger's.
void requireNoError(TScicosAccessFnc2& access) {
    if (access.getErrorCode() != 0) throw std::runtime_error("Problem in starting the simulation by Tessaro.");
}

void destroyPlant(FmuInstance* instance, TScicosAccessFnc2* access) {
    if (instance != nullptr && instance->plant == access) instance->plant = nullptr;
    delete access;
}

/// One call into a running solver; ends the run when the call fails.
template <typename Call>
int callPlant(FmuInstance* instance, void* plant, const Call& call) {
    if (plant == nullptr) return -1;
    auto* access = static_cast<TScicosAccessFnc2*>(plant);

    const bool completed = completes([&] {
        call(*access);
        requireNoError(*access);
    });
    if (completed) return 0;

    destroyPlant(instance, access);
    return -1;
}

int derivativeOffset(FmuInstance* instance, TScicosAccessFnc2& access, int order) {
    if (instance == nullptr || instance->nOutputPorts == 0) return -1;

    const double* values = access.GetOutputPortRealSignalPtrs(instance, 0);
    if (order == 1) return static_cast<int>(access.GetOutputPortRealSignalDotPtrs(instance, 0) - values);
    if (order == 2) return static_cast<int>(access.GetOutputPortRealSignalDotDotPtrs(instance, 0) - values);
    return -1;
}

} // namespace

void* TSplant_Instantiate(FmuInstance* instance) {
    if (instance == nullptr) return nullptr;

    std::unique_ptr<TScicosAccessFnc2> access;
    const bool started = completes([&] {
        access = std::make_unique<TScicosAccessFnc2>();
        if (!access->LoadInterfaceDll(instance))
            throw std::runtime_error(
                "Unable to load Tessaro interface dll during block initialization, please read the logfile.");
        access->blkStart(instance, access.get());
        requireNoError(*access);
    });
    return started ? access.release() : nullptr;
}

int TSplant_DepositPlantInput(FmuInstance* instance, void* plant, int flag, double time) {
    return callPlant(instance, plant, [&](TScicosAccessFnc2& access) {
        access.blkDepositPlantInput(instance, flag != 0 ? 1 : 0, &access, time);
    });
}

int TSplant_RequestPlantOutput(FmuInstance* instance, void* plant, double time) {
    return callPlant(instance, plant,
                     [&](TScicosAccessFnc2& access) { access.blkRequestPlantOutput(instance, &access, time); });
}

int TSplant_Terminate(FmuInstance* instance, void* plant, double time) {
    if (plant == nullptr) return -1;
    auto* access = static_cast<TScicosAccessFnc2*>(plant);

    const bool completed = completes([&] {
        if (access->isTSLoaded()) access->blkTerminate(instance, access, time);
    });
    destroyPlant(instance, access);
    return completed ? 0 : -1;
}

int TSplant_RequestPlantOutputDerivPtrOffset(FmuInstance* instance, void* plant, int order) {
    if (plant == nullptr) return -1;
    auto* access = static_cast<TScicosAccessFnc2*>(plant);

    int offset = -1;
    const bool completed = completes([&] { offset = derivativeOffset(instance, *access, order); });
    // Kept: an error reported since the last call ends the run here, but the offset is still given.
    if (!completed || access->getErrorCode() != 0) destroyPlant(instance, access);
    return offset;
}
