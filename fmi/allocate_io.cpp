// The part of instantiation that the parameter files decide: counts, real values, ports.
#include <algorithm>
#include <cerrno>
#include <cstring>

#include "fmi/allocation.h"
#include "fmi/fmu_callback2.h"
#include "fmi/installation.h"
#include "fmi/log.h"
#include "resources/parameter_files.h"
#include "resources/resource_location.h"
#include "util/joining.h"
#include "util/owners.h"

namespace {

/// Joins the resources folder and a file's name; false, with a message, when the path buffer is too small.
bool joinPath(const FmuInstance* instance, const char* folder, const char* name, PathBuffer& path) {
    if (joinInto(path.data(), path.size(), {folder, "/", name})) return true;

    logSetupError(instance, "fmi2Instantiate: Path of parameter file [%s] is too long.", name);
    return false;
}

/// False, with a message, for counts that no instance can have.
bool checkCounts(const FmuInstance* instance, const FmuParRecord& record, const char* path) {
    const struct {
        const char* name;
        std::int32_t value;
        bool possible;
    } counts[] = {{"input ports", record.nInputPorts, record.nInputPorts >= 0 && record.nInputPorts <= maxPorts},
                  {"output ports", record.nOutputPorts, record.nOutputPorts >= 0 && record.nOutputPorts <= maxPorts},
                  {"real variables", record.nReal, record.nReal >= 0},
                  {"integer variables", record.nInteger, record.nInteger >= 0},
                  {"boolean variables", record.nBoolean, record.nBoolean >= 0},
                  {"string variables", record.nString, record.nString >= 0}};
    for (const auto& count : counts) {
        if (count.possible) continue;
        logSetupError(instance, "fmi2Instantiate: Illegal number of %s in parameter file [%s]: %d.", count.name, path,
                      count.value);
        return false;
    }
    return true;
}

/// Reads `mv.par` into `g_mv_par`. A missing file is no failure: the record is then left as it is.
bool readNames(const FmuInstance* instance, const char* path) {
    MvParRecord read{};
    const int result = fread_mv_par(path, &read);
    const bool lacking = errno == EMFILE || errno == ENFILE || errno == ENOMEM;
    if (result == -1 && !lacking) return true;
    if (result != 0) {
        logSetupError(instance, "fmi2Instantiate: Unable to read parameter file [%s]: %s.", path,
                      result == -1   ? std::strerror(errno)
                      : result == -2 ? "illegal number of names"
                                     : "out of memory");
        return false;
    }
    releaseNames(g_mv_par);
    g_mv_par = read;
    return true;
}

bool readParameterFiles(const FmuInstance* instance, const char* resourceLocation) {
    const MallocText folder(convert_URI_to_path(resourceLocation));
    if (!folder) {
        logSetupError(instance, "fmi2Instantiate: Resource location [%s] has no path.", resourceLocation);
        return false;
    }

    PathBuffer shapePath;
    PathBuffer namesPath;
    if (!joinPath(instance, folder.get(), "fmu2ts.par", shapePath)) return false;
    if (!joinPath(instance, folder.get(), "mv.par", namesPath)) return false;
    if (fread_par(shapePath.data(), &g_fmu_par) < 0) {
        logSetupError(instance, "fmi2Instantiate: Unable to read parameter file [%s].", shapePath.data());
        return false;
    }
    return readNames(instance, namesPath.data()) && checkCounts(instance, g_fmu_par, shapePath.data());
}

void takeCounts(FmuInstance* instance, const FmuParRecord& record) {
    instance->nInputPorts = static_cast<std::uint32_t>(record.nInputPorts);
    instance->nOutputPorts = static_cast<std::uint32_t>(record.nOutputPorts);
    instance->endTime = record.finalTime;
    instance->nReal = static_cast<std::uint32_t>(record.nReal);
    instance->nInteger = static_cast<std::uint32_t>(record.nInteger);
    instance->nBoolean = static_cast<std::uint32_t>(record.nBoolean);
    instance->nString = static_cast<std::uint32_t>(record.nString);
}

/// False when one of the arrays is lacking.
bool allocateArrays(FmuInstance* instance) {
    const fmi2CallbackFunctions& functions = *instance->functions;
    instance->inputPortSize = allocateArray<std::uint32_t>(functions, instance->nInputPorts);
    instance->inputPortValues = allocateArray<double*>(functions, instance->nInputPorts);
    instance->outputPortValues = allocateArray<double*>(functions, instance->nOutputPorts);
    instance->outputPortDots = allocateArray<double*>(functions, instance->nOutputPorts);
    instance->outputPortDotDots = allocateArray<double*>(functions, instance->nOutputPorts);
    instance->outputPortSize = allocateArray<std::uint32_t>(functions, instance->nOutputPorts);
    instance->realValues = allocateArray<double>(functions, instance->nReal);

    if (instance->nReal > 0 && instance->realValues == nullptr) return false;
    if (instance->nInputPorts > 0 && (instance->inputPortSize == nullptr || instance->inputPortValues == nullptr))
        return false;
    return instance->nOutputPorts == 0 ||
           (instance->outputPortSize != nullptr && instance->outputPortValues != nullptr &&
            instance->outputPortDots != nullptr && instance->outputPortDotDots != nullptr);
}

/// Where `count` reals from `first` on stand; null when not all of them are there.
double* blockOfReals(const FmuInstance* instance, std::int32_t first, std::int64_t count) {
    const bool inside = first >= 0 && count >= 0 && first + count <= std::int64_t{instance->nReal};
    return inside && instance->realValues != nullptr ? instance->realValues + first : nullptr;
}

/// Points every port at its block of reals; the derivatives of an output port follow its values. The addresses of a
/// port that does not lie within the reals stay null, and initialization is refused.
void placePorts(FmuInstance* instance, const FmuParRecord& record) {
    for (std::uint32_t i = 0; i < instance->nInputPorts; ++i) {
        const std::int32_t width = record.inputPortWidth[i];
        instance->inputPortSize[i] = static_cast<std::uint32_t>(width);
        instance->inputPortValues[i] = blockOfReals(instance, record.inputPortOffset[i], width);
    }
    for (std::uint32_t i = 0; i < instance->nOutputPorts; ++i) {
        const std::int32_t width = record.outputPortWidth[i];
        instance->outputPortSize[i] = static_cast<std::uint32_t>(width);
        double* values = blockOfReals(instance, record.outputPortOffset[i], 3 * std::int64_t{width});
        if (values == nullptr) continue;
        instance->outputPortValues[i] = values;
        instance->outputPortDots[i] = values + width;
        instance->outputPortDotDots[i] = values + 2 * std::ptrdiff_t{width};
    }
}

} // namespace

int Allocate_io(FmuInstance* instance, const char* resourceLocation) {
    if (!readParameterFiles(instance, resourceLocation)) return filesUnusable;

    takeCounts(instance, g_fmu_par);
    if (!allocateArrays(instance)) return allocationFailed;

    std::fill_n(instance->realValues, instance->nReal, neverSetReal);
    placePorts(instance, g_fmu_par);
    return 0;
}
