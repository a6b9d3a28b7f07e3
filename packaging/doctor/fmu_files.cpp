#include "packaging/doctor/fmu_files.h"

#include <system_error>

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

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

/// The model file's name without its extension, as the library takes it from the model description; or empty.
std::string modelNameIn(const fs::path& description) {
    const Stream stream(std::fopen(description.c_str(), "r"));
    const std::string name = stream ? modelFileName(stream.get()) : "";
    const std::size_t extension = name.find(".xml");
    return extension == std::string::npos ? "" : name.substr(0, extension);
}

void examineName(FmuFiles& files, Findings& findings) {
    const fs::path name = "modelDescription.xml";
    const fs::path copy = fs::path("resources") / name;
    const fs::path description = isThere(files.root / name) ? name : copy;
    if (!isThere(files.root / description)) {
        findings.error("description-missing", {name.string()}, "The FMU has no model description.",
                       "Masters need it, and the library takes the name of the model file from it.",
                       "Name the FMU's own folder, or pack the FMU again.");
        return;
    }
    files.modelName = modelNameIn(files.root / description);
    if (!files.modelName.empty() && files.modelName.find('"') == std::string::npos) return;

    findings.error("model-name", {description.string()},
                   files.modelName.empty() ? "No line gives the attribute modelName with its value in double quotes."
                                           : "Behind modelName other attributes stand on the same line.",
                   "The library looks for the first line with this word, and takes all up to the line's last quote for "
                   "the name of the model file: initialization fails without a message.",
                   "Let modelName be the last attribute of its line, and the first one of which the file speaks.");
    files.modelName.clear();
}

void examineCommandLine(const FmuFiles& files, Findings& findings) {
    if (!isPlainWord(files.modelName))
        findings.error("model-name", {"modelDescription.xml"},
                       fmt::format("A shell would change the model's name \"{}\".", files.modelName),
                       "The library doesn't run the translator with it: initialization fails.",
                       "Let modelName consist of letters, digits, . _ and -, the last not at its start.");
}

void examineModel(FmuFiles& files, Findings& findings) {
    if (files.modelName.empty()) return;
    const std::string model = files.modelName + ".xml";
    const std::string source = files.modelName + ".mdl";
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

void examineParameters(FmuFiles& files, Findings& findings) {
    files.hasParameters = fread_par((files.resources / "fmu2ts.par").c_str(), &files.parameters) >= 0;
    if (!files.hasParameters)
        findings.error("parameter-file", {"resources/fmu2ts.par"}, "The parameter file isn't there or can't be read.",
                       "The library takes the number of ports and variables from it: instantiation fails.",
                       "Pack the FMU again.");
}

void examineModelWriting(const FmuFiles& files, Findings& findings) {
    if (files.isArchive || files.hasModelFile || !files.hasTemplate) return;
    const fs::path values = files.resources / (files.modelName + ".csv");
    const bool folder = !isWritable(files.resources);
    if (folder || (isThere(values) && !isWritable(values)))
        findings.error("resources-not-writable", {folder ? "resources" : "resources/" + files.modelName + ".csv"},
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

} // namespace

FmuFiles examineFiles(const fs::path& root, bool isArchive, Findings& findings) {
    FmuFiles files;
    files.root = fs::absolute(root).lexically_normal();
    files.resources = files.root / "resources";
    files.isArchive = isArchive;
    examineName(files, findings);
    examineParameters(files, findings);
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
                     "The solver's own results get lost, or it doesn't start.",
                     result.is_relative() && !result.empty() ? "Start the master in another working directory."
                                                             : "Make the folder, or give write permission.");
}

} // namespace packaging
