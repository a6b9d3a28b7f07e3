#include "resources/model_generation.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>
#include <system_error>

#include "fmi/instance/installation.h"
#include "fmi/instance/log.h"
#include "fmi/instance/process_lock.h"
#include "fmi/instance/released_handles.h"
#include "resources/model_file.h"
#include "resources/model_names.h"
#include "resources/parameter_records.h"
#include "resources/resource_location.h"
#include "resources/shell_command.h"
#include "resources/value_file.h"

namespace {

/// Some masters unpack only the resources and the library; then a copy among the resources serves.
Stream openModelDescription(const ResourcesFolder& folder) {
    Stream description = folder.open("../modelDescription.xml");
    return description ? std::move(description) : folder.open("modelDescription.xml");
}

/// Reads `mv.par` if an earlier generation has released its lists. A missing file is not a failure: the variables then
/// have no names. 0, or the failure value of `fread_mv_par`.
int readNamesAgain(const ResourcesFolder& folder, NameLists& names) {
    if (!names.areGone()) return 0;
    const Stream stream = folder.open("mv.par");
    return stream ? readNames(stream.get(), names.record) : 0;
}

bool writeValueFile(const FmuInstance* instance, const ResourcesFolder& folder, const std::string& name,
                    NameLists& names) {
    if (const int result = readNamesAgain(folder, names); result != 0) {
        logSetupError(instance, "fmi2EnterInitializationMode: Unable to read parameter file [mv.par]: %s.",
                      namesFailure(result));
        return false;
    }
    const ValueLines lines = valueLines(instance, names.record);
    for (const auto& [type, valueReference] : lines.unnamed)
        if (instance->loggingOn)
            logMessage(instance, fmi2Warning, "warning",
                       "fmi2EnterInitializationMode: %s variable %u was set, but mv.par has no name for it: the model "
                       "keeps its own value.",
                       type, valueReference);
    if (const int error = folder.write(name, lines.text); error != 0) {
        logSetupError(instance, "fmi2EnterInitializationMode: Unable to write value file [%s]: %s.", name.c_str(),
                      std::strerror(error));
        return false;
    }
    return true;
}

/// Whether values were set and the value file is not the one that they would give: a model file that exists was then
/// made by hand or for other values. False if that cannot be found out.
bool haveOtherValues(const FmuInstance* instance, const ResourcesFolder& folder, const std::string& modelName,
                     NameLists& names) {
    try {
        if (readNamesAgain(folder, names) != 0) return false;
        const std::string lines = valueLines(instance, names.record).text;
        const std::string valueName = modelName.substr(0, modelName.find(".xml")) + ".csv";
        return !lines.empty() && folder.contentOf(valueName) != lines;
    } catch (const std::exception&) {
        return false;
    }
}

/// The value of KORVAN_FMU_ROOT; nothing if it is not set.
std::optional<std::string> installationRoot() {
    const ProcessLock lock;
    const char* root = std::getenv(installation::rootVariable);
    return root != nullptr ? std::optional<std::string>(root) : std::nullopt;
}

/// False, with a message, if the shell would read another path than the installation's, or run something else.
bool checkCommand(const FmuInstance* instance, const std::string& root, const std::string& baseName,
                  const std::string& modelName) {
    if (!isPlainInQuotes(root)) {
        logSetupError(instance,
                      "fmi2EnterInitializationMode: Environment variable KORVAN_FMU_ROOT must not contain a double "
                      "quote, dollar sign, backquote, double backslash or line feed: [%s].",
                      root.c_str());
        return false;
    }
    if (runsOrRedirects(baseName)) {
        logSetupError(instance,
                      "fmi2EnterInitializationMode: modelName in modelDescription.xml cannot be given to fmu_batch, "
                      "since the shell would run or redirect something: [%s].",
                      modelName.c_str());
        return false;
    }
    return true;
}

/// Runs the translators in turn until the model file exists; false, with a message, if it does not.
bool translate(const FmuInstance* instance, const ResourcesFolder& folder, const std::string& baseName,
               const std::string& modelName) {
    const std::optional<std::string> root = installationRoot();
    if (!root || !checkCommand(instance, *root, baseName, modelName)) return false;

    for (const char* directory : installation::translatorDirectories) {
        // Kept: the two file names are not quoted, the shell splits and changes them.
        const std::string command = "\"" + *root + "/" + directory + "/" + installation::translator + "\" " + baseName +
                                    ".mdl " + baseName + ".csv";
        // Kept: the exit status is not looked at, only whether the model file exists afterwards.
        runInFolder(folder.descriptor(), command);
        if (folder.hasReadable(modelName)) return true;
    }
    logSetupError(instance, "fmi2EnterInitializationMode: xml model not generated with fmu_batch call, wrong "
                            "Environment variable KORVAN_FMU_ROOT defined?");
    if (const char* effect = shellEffect(baseName))
        logSetupError(instance,
                      "fmi2EnterInitializationMode: modelName in modelDescription.xml is not quoted in the "
                      "translator's command, and %s: [%s].",
                      effect, modelName.c_str());
    return false;
}

bool generate(const FmuInstance* instance, const ResourcesFolder& folder, const std::string& modelName,
              NameLists& names) {
    const std::size_t extension = modelName.find(".xml");
    if (extension == std::string::npos) return false;
    if (modelName.size() > longestModelFileName) {
        logSetupError(instance, "fmi2EnterInitializationMode: modelName in modelDescription.xml is too long: [%s].",
                      modelName.c_str());
        return false;
    }

    const std::string baseName = modelName.substr(0, extension);
    return writeValueFile(instance, folder, baseName + ".csv", names) && folder.hasReadable(baseName + ".mdl") &&
           translate(instance, folder, baseName, modelName);
}

bool provideIn(const ResourcesFolder& folder, const FmuInstance* instance) {
    Stream description = openModelDescription(folder);
    if (!description) return false; // Kept: the name lists are not released here.

    NameLists names; // released at the end
    takeNames(names);
    const std::string modelName = modelFileName(description.get());
    description.reset();
    if (!folder.hasReadable(modelName)) return generate(instance, folder, modelName, names);

    // Kept: a model file that exists is used as it is, the start values set by the master are ignored.
    if (instance->loggingOn && haveOtherValues(instance, folder, modelName, names))
        logMessage(instance, fmi2Warning, "warning",
                   "fmi2EnterInitializationMode: model file [%s] was there already and is used as it is: the values "
                   "that were set have no effect.",
                   modelName.c_str());
    return true;
}

/// The path in the resource location; null, which means the present directory, if it has none.
MallocText pathOf(const char* resourceLocation) {
    errno = 0;
    MallocText path(convert_URI_to_path(resourceLocation));
    if (path == nullptr && errno == ENOMEM) throw std::bad_alloc();
    return path;
}

} // namespace

std::unique_ptr<const ResourcesFolder> provideModelFile(const char* resourceLocation, const FmuInstance* instance) {
    try {
        const MallocText path = pathOf(resourceLocation);
        auto folder = std::make_unique<const ResourcesFolder>(path.get());
        return provideIn(*folder, instance) ? std::move(folder) : nullptr;
    } catch (const std::system_error& error) {
        logSetupError(instance, "fmi2EnterInitializationMode: Unable to read [%s].", error.what());
    } catch (const std::exception&) { // std::bad_alloc
        logSetupError(instance, "fmi2EnterInitializationMode: Unable allocating memory.");
    }
    return nullptr;
}

int fmu_generate_xml(const char* resourceLocation, FmuInstance* handle) {
    const FmuInstance* instance = instanceOf(handle);
    return instance != nullptr && provideModelFile(resourceLocation, instance) != nullptr ? 0 : -1;
}
