// The part of instantiation that the parameter files decide: counts, real values, ports.
#include <algorithm>

#include "fmi/fmu_callback2.h"
#include "fmi/instance/allocation.h"
#include "fmi/instance/installation.h"
#include "fmi/instance/log.h"
#include "fmi/instance/process_lock.h"
#include "resources/parameter_records.h"
#include "resources/resource_location.h"
#include "util/internal/joining.h"
#include "util/internal/open_failure.h"
#include "util/internal/owners.h"

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

/// Reads `fmu2ts.par` into `g_fmu_par`, of which `parameters` becomes a copy. False if it cannot be read.
bool readParameters(const char* path, FmuParRecord& parameters) {
    const ProcessLock lock; // lines may be empty: what they leave alone is the former content
    if (fread_par(path, &g_fmu_par) < 0) return false;
    parameters = g_fmu_par;
    return true;
}

/// Reads `mv.par` into `g_mv_par`. A missing file is not a failure: the record is then left unchanged.
bool readNames(const FmuInstance* instance, const char* path) {
    NameLists names;
    const int result = fread_mv_par(path, &names.record);
    if (result == -1 && !ranOutOfResources()) return true;
    if (result != 0) {
        logSetupError(instance, "fmi2Instantiate: Unable to read parameter file [%s]: %s.", path, namesFailure(result));
        return false;
    }
    exchangeNames(names);
    return true;
}

bool readParameterFiles(const FmuInstance* instance, const char* resourceLocation, FmuParRecord& parameters) {
    const MallocText folder(convert_URI_to_path(resourceLocation));
    if (!folder) {
        logSetupError(instance, "fmi2Instantiate: Resource location [%s] has no path.", resourceLocation);
        return false;
    }

    PathBuffer shapePath;
    PathBuffer namesPath;
    if (!joinPath(instance, folder.get(), "fmu2ts.par", shapePath)) return false;
    if (!joinPath(instance, folder.get(), "mv.par", namesPath)) return false;
    if (!readParameters(shapePath.data(), parameters)) {
        logSetupError(instance, "fmi2Instantiate: Unable to read parameter file [%s].", shapePath.data());
        return false;
    }
    return readNames(instance, namesPath.data()) && checkCounts(instance, parameters, shapePath.data());
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

/// Whether `width` reals from `first` on all belong to variables.
bool areVariables(std::int32_t first, std::int32_t width, std::int32_t nReal) {
    return first >= 0 && width >= 0 && std::int64_t{first} + width <= nReal;
}

/// How many reals there must be for the variables and for the derivatives of every output port whose values are
/// variables. Those of a port at the end may go past the last variable.
std::size_t realsNeeded(const FmuParRecord& record) {
    std::int64_t needed = record.nReal;
    for (int i = 0; i < record.nOutputPorts; ++i) {
        const std::int32_t first = record.outputPortOffset[i], width = record.outputPortWidth[i];
        if (areVariables(first, width, record.nReal)) needed = std::max(needed, first + 3 * std::int64_t{width});
    }
    return static_cast<std::size_t>(needed);
}

/// False if an allocation fails.
bool allocateArrays(FmuInstance* instance, std::size_t nReals) {
    const fmi2CallbackFunctions& functions = *instance->functions;
    instance->inputPortSize = allocateArray<std::uint32_t>(functions, instance->nInputPorts);
    instance->inputPortValues = allocateArray<double*>(functions, instance->nInputPorts);
    instance->outputPortValues = allocateArray<double*>(functions, instance->nOutputPorts);
    instance->outputPortDots = allocateArray<double*>(functions, instance->nOutputPorts);
    instance->outputPortDotDots = allocateArray<double*>(functions, instance->nOutputPorts);
    instance->outputPortSize = allocateArray<std::uint32_t>(functions, instance->nOutputPorts);
    instance->realValues = allocateArray<double>(functions, nReals);

    if (nReals > 0 && instance->realValues == nullptr) return false;
    if (instance->nInputPorts > 0 && (instance->inputPortSize == nullptr || instance->inputPortValues == nullptr))
        return false;
    return instance->nOutputPorts == 0 ||
           (instance->outputPortSize != nullptr && instance->outputPortValues != nullptr &&
            instance->outputPortDots != nullptr && instance->outputPortDotDots != nullptr);
}

/// Points every port at its block of reals; the derivatives of an output port follow its values. The addresses of a
/// port whose values are not all variables stay null, and initialization is refused.
void placePorts(FmuInstance* instance, const FmuParRecord& record) {
    std::fill_n(instance->inputPortValues, instance->nInputPorts, nullptr);
    for (double** addresses : {instance->outputPortValues, instance->outputPortDots, instance->outputPortDotDots})
        std::fill_n(addresses, instance->nOutputPorts, nullptr);

    for (std::uint32_t i = 0; i < instance->nInputPorts; ++i) {
        const std::int32_t first = record.inputPortOffset[i], width = record.inputPortWidth[i];
        instance->inputPortSize[i] = static_cast<std::uint32_t>(width);
        if (areVariables(first, width, record.nReal)) instance->inputPortValues[i] = instance->realValues + first;
    }
    for (std::uint32_t i = 0; i < instance->nOutputPorts; ++i) {
        const std::int32_t first = record.outputPortOffset[i], width = record.outputPortWidth[i];
        instance->outputPortSize[i] = static_cast<std::uint32_t>(width);
        if (!areVariables(first, width, record.nReal)) continue;
        double* values = instance->realValues + first;
        instance->outputPortValues[i] = values;
        instance->outputPortDots[i] = values + width;
        instance->outputPortDotDots[i] = values + 2 * std::ptrdiff_t{width};
    }
}

} // namespace

int Allocate_io(FmuInstance* instance, const char* resourceLocation, FmuParRecord& parameters) {
    if (!readParameterFiles(instance, resourceLocation, parameters)) return -1;

    takeCounts(instance, parameters);
    const std::size_t nReals = realsNeeded(parameters);
    if (!allocateArrays(instance, nReals)) {
        logSetupError(instance, "fmi2Instantiate: Unable allocating memory.");
        return -1;
    }

    std::fill_n(instance->realValues, nReals, 0.0);
    std::fill_n(instance->realValues, instance->nReal, neverSetReal);
    placePorts(instance, parameters);
    return 0;
}
