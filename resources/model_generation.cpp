#include "resources/model_generation.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>
#include <string>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

#include "fmi/call_rules.h"
#include "fmi/log.h"
#include "resources/model_names.h"
#include "resources/parameter_files.h"
#include "resources/resource_location.h"
#include "resources/value_text.h"
#include "util/owners.h"

namespace {

/// Where the translator may lie under the installation root, in the order tried.
constexpr std::array translatorDirectories{"io/translators/bin", "pldesktop/io/translators/bin"};

/// Whether the process lacks the means to open any file.
bool lacksMeansToOpen() { return errno == EMFILE || errno == ENFILE || errno == ENOMEM; }

/// Works in another directory while it lives; without a path, in the one that the process is in. The former one is kept
/// as a descriptor: returning needs no memory, and succeeds when it was renamed or removed meanwhile. One that may not
/// be entered again is left all the same.
class WorkingDirectory {
public:
    WorkingDirectory(const FmuInstance* instance, const char* path) : instance_(instance) {
        if (path == nullptr) return;
        saved_ = open(".", O_PATH | O_DIRECTORY | O_CLOEXEC);
        if (saved_ < 0) failure_ = errno;
        entered_ = (saved_ >= 0 || !lacksMeansToOpen()) && chdir(path) == 0;
        if (!entered_)
            logSetupError(instance, "fmi2EnterInitializationMode: Unable to change the working directory to [%s]: %s.",
                          path, std::strerror(errno));
    }
    ~WorkingDirectory() {
        if (saved_ >= 0 && entered_ && fchdir(saved_) != 0) failure_ = errno;
        if (saved_ >= 0) close(saved_);
        if (entered_ && failure_ != 0)
            logSetupError(instance_, "fmi2EnterInitializationMode: Unable to change the working directory back: %s.",
                          std::strerror(failure_));
    }
    WorkingDirectory(const WorkingDirectory&) = delete;
    WorkingDirectory& operator=(const WorkingDirectory&) = delete;

    bool entered() const { return entered_; }

private:
    const FmuInstance* instance_;
    int saved_ = -1;
    int failure_ = 0; ///< why there is no way back; 0 when there is one
    bool entered_ = true;
};

struct ReleaseNamesAtEnd {
    ~ReleaseNamesAtEnd() { releaseNames(g_mv_par); }
};

/// After a file could not be opened: throws when the process lacks the means to open any. A file that is there must not
/// be taken for missing, and be replaced.
void requireMeansToOpen(const char* name) {
    if (lacksMeansToOpen()) throw std::system_error(errno, std::generic_category(), name);
}

bool canBeRead(const std::string& name) {
    const int file = open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (file >= 0) return close(file) == 0;

    requireMeansToOpen(name.c_str());
    return false;
}

/// Some masters unpack only the resources and the library; then a copy among the resources serves.
Stream openModelDescription() {
    Stream description;
    for (const char* name : {"../modelDescription.xml", "modelDescription.xml"}) {
        description.reset(std::fopen(name, "r"));
        if (description) break;
        requireMeansToOpen(name);
    }
    return description;
}

/// Writes the lines of the variables that were set.
class ValueFile {
public:
    ValueFile(const FmuInstance* instance, std::FILE* stream) : instance_(instance), stream_(stream) {}

    void writeReals() const {
        write(
            "Real", instance_->realValues, 0, instance_->nReal, g_mv_par.realNames, g_mv_par.nRealNames,
            [](double value) { return value != neverSetReal; },
            [this](const char* name, double value) {
                ValueText text;
                writeLine(name, writeValue(value, text));
            });
    }

    void writeIntegers() const {
        writeWhole("Integer", instance_->integerValues, instance_->nInteger, g_mv_par.integerNames,
                   g_mv_par.nIntegerNames);
    }

    void writeBooleans() const {
        writeWhole("Boolean", instance_->booleanValues, instance_->nBoolean, g_mv_par.booleanNames,
                   g_mv_par.nBooleanNames);
    }

    // Kept: string variable 0 is the result file name and never written.
    void writeStrings() const {
        write(
            "String", instance_->stringValues, 1, instance_->nString, g_mv_par.stringNames, g_mv_par.nStringNames,
            [](const char* value) { return value != nullptr; },
            [this](const char* name, const char* value) { writeLine(name, value); });
    }

private:
    /// In pieces, which takes less time than a formatted print.
    void writeLine(const char* name, std::string_view value) const {
        std::fputs(name, stream_);
        std::fputs(", ", stream_);
        std::fwrite(value.data(), 1, value.size(), stream_);
        std::fputc('\n', stream_);
    }

    void writeWhole(const char* type, const int* values, std::uint32_t count, char** names, std::int32_t nNames) const {
        write(
            type, values, 0, count, names, nNames, [](int value) { return value != neverSetInteger; },
            [this](const char* name, int value) { writeLine(name, std::to_string(value)); });
    }

    template <typename Value, typename IsSet, typename Print>
    void write(const char* type, const Value* values, std::uint32_t first, std::uint32_t count, char** names,
               std::int32_t nNames, const IsSet& isSet, const Print& print) const {
        for (std::uint32_t k = first; values != nullptr && k < count; ++k) {
            if (!isSet(values[k])) continue;
            const bool named = names != nullptr && k < static_cast<std::uint32_t>(std::max(nNames, 0));
            if (named && names[k] != nullptr)
                print(names[k], values[k]);
            else
                warnOfMissingName(type, k);
        }
    }

    void warnOfMissingName(const char* type, std::uint32_t valueReference) const {
        if (instance_->loggingOn)
            logMessage(instance_, fmi2Warning, "warning",
                       "fmi2EnterInitializationMode: %s variable %u was set, but mv.par has no name for it: the model "
                       "keeps its own value.",
                       type, valueReference);
    }

    const FmuInstance* instance_;
    std::FILE* stream_;
};

bool writeValueFile(const FmuInstance* instance, const std::string& name) {
    bool written = false;
    if (Stream stream{std::fopen(name.c_str(), "w")}) {
        const ValueFile file(instance, stream.get());
        file.writeReals();
        file.writeIntegers();
        file.writeBooleans();
        file.writeStrings();
        const bool failed = std::ferror(stream.get()) != 0;
        written = std::fclose(stream.release()) == 0 && !failed;
    }
    if (!written)
        logSetupError(instance, "fmi2EnterInitializationMode: Unable to write value file [%s]: %s.", name.c_str(),
                      std::strerror(errno));
    return written;
}

/// Runs the translators in turn until the model file is there. Nothing is run when the shell would read something else
/// than the names.
int translate(const FmuInstance* instance, const std::string& templateName, const std::string& valueName,
              const std::string& modelName) {
    const char* rootVariable = std::getenv("KORVAN_FMU_ROOT");
    if (rootVariable == nullptr) return -1;

    const std::string root = rootVariable;
    if (!isPlainInQuotes(root)) {
        logSetupError(instance,
                      "fmi2EnterInitializationMode: Environment variable KORVAN_FMU_ROOT must not contain a double "
                      "quote, dollar sign, backquote, double backslash or line feed: [%s].",
                      rootVariable);
        return -1;
    }
    if (!isPlainWord(modelName)) {
        logSetupError(instance,
                      "fmi2EnterInitializationMode: modelName in modelDescription.xml cannot be given to fmu_batch, "
                      "since it contains a blank or a character that the shell interprets, or begins with '-': [%s].",
                      modelName.c_str());
        return -1;
    }
    for (const char* directory : translatorDirectories) {
        const std::string command =
            "\"" + root + "/" + directory + "/linux64/fmu_batch\" " + templateName + " " + valueName;
        // Kept: the exit status is not looked at, only whether the model file is there afterwards.
        [[maybe_unused]] const int status = std::system(command.c_str());
        if (canBeRead(modelName)) return 0;
    }
    logSetupError(instance, "fmi2EnterInitializationMode: xml model not generated with fmu_batch call, wrong "
                            "Environment variable KORVAN_FMU_ROOT defined?");
    return -1;
}

int generate(const FmuInstance* instance, const std::string& modelName) {
    // Kept: a model file that is already there is used as it stands, the start values set by the master are ignored.
    if (canBeRead(modelName)) return 0;

    const std::size_t extension = modelName.find(".xml");
    if (extension == std::string::npos) return -1;
    if (modelName.size() > longestModelFileName) {
        logSetupError(instance, "fmi2EnterInitializationMode: modelName in modelDescription.xml is too long: [%s].",
                      modelName.c_str());
        return -1;
    }

    const std::string baseName = modelName.substr(0, extension);
    const std::string valueName = baseName + ".csv";
    if (!writeValueFile(instance, valueName)) return -1;

    const std::string templateName = baseName + ".mdl";
    if (!canBeRead(templateName)) return -1;
    return translate(instance, templateName, valueName, modelName);
}

int generateInResources(const char* resourceLocation, const FmuInstance* instance) {
    errno = 0;
    const MallocText path(convert_URI_to_path(resourceLocation));
    if (path == nullptr && errno == ENOMEM) throw std::bad_alloc(); // or a location without a path is meant

    const WorkingDirectory directory(instance, path.get());
    if (!directory.entered()) return -1;

    Stream description = openModelDescription();
    if (!description) return -1; // Kept: the name lists are not released here.

    const ReleaseNamesAtEnd release;
    const std::string modelName = modelFileName(description.get());
    description.reset();
    return generate(instance, modelName);
}

} // namespace

int fmu_generate_xml(const char* resourceLocation, FmuInstance* handle) {
    const FmuInstance* instance = instanceOf(handle);
    if (instance == nullptr) return -1;
    try {
        return generateInResources(resourceLocation, instance);
    } catch (const std::system_error& error) {
        logSetupError(instance, "fmi2EnterInitializationMode: Unable to read [%s].", error.what());
        return -1;
    } catch (const std::exception&) { // only memory can be lacking
        logSetupError(instance, "fmi2EnterInitializationMode: Unable allocating memory.");
        return -1;
    }
}
