#include "packaging/doctor/fmu_files.h"

#include <system_error>

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include "packaging/doctor/parameter_rules.h"
#include "resources/model_names.h"
#include "resources/resource_location.h"
#include "util/owners.h"

namespace packaging {

namespace {

namespace fs = std::filesystem;

bool isThere(const fs::path& path) {
    std::error_code ignored;
    return fs::exists(path, ignored);
}

/// Whether files can be made in a folder, or a file be written, with the rights that this process has now.
bool isWritable(const fs::path& path) {
    std::error_code ignored;
    const int mode = fs::is_directory(path, ignored) ? W_OK | X_OK : W_OK;
    return faccessat(AT_FDCWD, path.c_str(), mode, AT_EACCESS) == 0;
}

void examineCommandLine(const FmuFiles& files, Findings& findings) {
    if (!isPlainWord(files.description.modelName))
        findings.error("model-name", {"modelDescription.xml"},
                       fmt::format("A shell would change the model's name \"{}\".", files.description.modelName),
                       "The library doesn't run the translator with it: initialization fails.",
                       "Let modelName consist of letters, digits, . _ and -, the last not at its start.");
}

void examineModel(FmuFiles& files, Findings& findings) {
    if (files.description.modelName.empty()) return;
    const std::string model = files.description.modelName + ".xml";
    const std::string source = files.description.modelName + ".mdl";
    files.hasModelFile = isThere(files.resources / model);
    files.hasTemplate = isThere(files.resources / source);

    if (files.hasModelFile && files.hasTemplate)
        findings.warning("model-file-left", {"resources/" + model},
                         "There is a model file already, most likely left by an earlier run.",
                         "It is used as it stands: the translator isn't run, and start values of parameters that the "
                         "master sets have no effect.",
                         "Remove it; the next run makes it anew from the template.");
    else if (files.hasModelFile)
        findings.note("model", fmt::format("resources/{}, used as it stands: start values have no effect", model));
    else if (files.hasTemplate) {
        examineCommandLine(files, findings);
        findings.note("model", fmt::format("made from resources/{} at each start", source));
    } else
        findings.error("template-missing", {"resources/" + source},
                       fmt::format("There is neither this template nor the model file {}.", model),
                       "Initialization fails without a message.",
                       "The names follow from modelName in the model description; rename the file, or pack it, too.");
}

void examineModelWriting(const FmuFiles& files, Findings& findings) {
    if (files.isArchive || files.hasModelFile || !files.hasTemplate) return;
    const fs::path values = files.resources / (files.description.modelName + ".csv");
    const bool folder = !isWritable(files.resources);
    if (folder || (isThere(values) && !isWritable(values)))
        findings.error("resources-not-writable",
                       {folder ? "resources" : "resources/" + files.description.modelName + ".csv"},
                       fmt::format("This {} can't be written by the user who runs this.", folder ? "folder" : "file"),
                       "At each start the library writes the values that the master set, and the translator the model "
                       "file: initialization fails.",
                       "Give write permission, or unpack the FMU to another place.");
}

/// Where the result file lands; empty: among the resources.
fs::path resultPath(const FmuFiles& files) {
    const std::string name(parameterText(files.parameters, files.parameters.outputName));
    if (name.find_first_of("/\\") == std::string::npos) return {};
    const MallocText path(convert_URI_to_path(name.c_str()));
    return path != nullptr ? path.get() : "";
}

/// What to do when the result file can't be written.
const char* adviceFor(const fs::path& result) {
    if (result.string().starts_with('~') || result.string().find('$') != std::string::npos)
        return "Nobody expands a ~ or a variable in the name: write the path in full.";
    const bool namesFolder = result.lexically_normal().has_parent_path();
    return result.empty() || namesFolder ? "Make the folder, or give write permission."
                                         : "Start the master in another working directory.";
}

} // namespace

FmuFiles examineFiles(const fs::path& root, bool isArchive, Findings& findings) {
    FmuFiles files;
    files.root = fs::absolute(root).lexically_normal();
    files.resources = files.root / "resources";
    files.isArchive = isArchive;
    files.description = examineDescription(files.root, isArchive, findings);
    examineParameterFiles(files, findings);
    examineModel(files, findings);
    return files;
}

void examineWriting(const FmuFiles& files, Findings& findings) {
    examineModelWriting(files, findings);
    if (!files.hasParameters) return;

    const fs::path result = resultPath(files);
    std::error_code ignored;
    const fs::path folder =
        result.empty() ? files.resources : (fs::current_path(ignored) / result).lexically_normal().parent_path();
    if (result.empty())
        findings.note("result file", "among the FMU's resources");
    else if (result.is_absolute())
        findings.note("result file", result.string());
    else
        findings.note("result file", fmt::format("{}, in the master's working directory; here it would be {}",
                                                 result.string(), folder.string()));
    if (isWritable(folder)) return;
    findings.warning("result-not-writable", {}, fmt::format("No result file can be written in {}.", folder.string()),
                     "The solver's own results get lost, or it doesn't start.", adviceFor(result));
}

} // namespace packaging
