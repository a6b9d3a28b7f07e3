#include "resources/model_generation.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>
#include <string_view>
#include <utility>

#include <unistd.h>

#include "fmi/call_rules.h"
#include "fmi/log.h"
#include "resources/parameter_files.h"
#include "resources/resource_location.h"
#include "resources/value_text.h"
#include "util/owners.h"

namespace {

constexpr std::size_t longestFileName = 255;

/// Where the translator may lie under the installation root, in the order tried.
constexpr std::array translatorDirectories{"io/translators/bin", "pldesktop/io/translators/bin"};

/// Works in another directory while it lives; without a path, in the one that the process is in. A directory that has
/// been removed meanwhile cannot be returned to.
class WorkingDirectory {
public:
    WorkingDirectory(const FmuInstance* instance, const char* path) : instance_(instance) {
        if (path == nullptr) return;
        saved_.reset(getcwd(nullptr, 0));
        entered_ = chdir(path) == 0;
        if (!entered_)
            logSetupError(instance, "fmi2EnterInitializationMode: Unable to change the working directory to [%s]: %s.",
                          path, std::strerror(errno));
    }
    ~WorkingDirectory() {
        if (saved_ != nullptr && entered_ && chdir(saved_.get()) != 0)
            logSetupError(instance_,
                          "fmi2EnterInitializationMode: Unable to change the working directory back to [%s]: %s.",
                          saved_.get(), std::strerror(errno));
    }
    WorkingDirectory(const WorkingDirectory&) = delete;
    WorkingDirectory& operator=(const WorkingDirectory&) = delete;

    bool entered() const { return entered_; }

private:
    const FmuInstance* instance_;
    MallocText saved_;
    bool entered_ = true;
};

struct ReleaseNamesAtEnd {
    ~ReleaseNamesAtEnd() { releaseNames(g_mv_par); }
};

bool canBeRead(const std::string& name) { return Stream(std::fopen(name.c_str(), "r")) != nullptr; }

/// Some masters unpack only the resources and the library; then a copy among the resources serves.
Stream openModelDescription() {
    Stream description(std::fopen("../modelDescription.xml", "r"));
    if (!description) description.reset(std::fopen("modelDescription.xml", "r"));
    return description;
}

/// The model file's name, from the first line with the word "modelName"; empty when there is none.
std::string modelFileName(Stream description) {
    constexpr std::size_t toValue = 11; // over the word, the equals sign and the opening quote
    std::array<char, 1024> line{};
    const char* word = nullptr;
    while (word == nullptr && std::fgets(line.data(), static_cast<int>(line.size()), description.get()) != nullptr)
        word = std::strstr(line.data(), "modelName");
    if (word == nullptr || std::strlen(word) < toValue) return {};

    // Kept: the name ends at the line's last quote. Attributes that follow on the same line become part of it, and
    // without a quote the rest of the line, line feed included, is the name.
    const std::string text = word + toValue;
    const std::size_t quote = text.rfind('"');
    return quote == std::string::npos ? text : text.substr(0, quote) + ".xml";
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
    /// In pieces: a formatted print takes several times as long.
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

/// Runs the translators in turn until the model file is there.
int translate(const FmuInstance* instance, const std::string& templateName, const std::string& valueName,
              const std::string& modelName) {
    const char* rootVariable = std::getenv("KORVAN_FMU_ROOT");
    if (rootVariable == nullptr) return -1;

    const std::string root = rootVariable;
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
    if (modelName.size() > longestFileName) {
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
    const MallocText path(convert_URI_to_path(resourceLocation));
    const WorkingDirectory directory(instance, path.get());
    if (!directory.entered()) return -1;

    Stream description = openModelDescription();
    if (!description) return -1; // Kept: the name lists are not released here.

    const ReleaseNamesAtEnd release;
    const std::string modelName = modelFileName(std::move(description));
    return generate(instance, modelName);
}

} // namespace

int fmu_generate_xml(const char* resourceLocation, FmuInstance* handle) {
    const FmuInstance* instance = instanceOf(handle);
    if (instance == nullptr) return -1;
    try {
        return generateInResources(resourceLocation, instance);
    } catch (const std::exception&) { // only memory can be lacking
        logSetupError(instance, "fmi2EnterInitializationMode: Unable allocating memory.");
        return -1;
    }
}
