#include <stdexcept>

#include "tool/check/rules.h"
#include "tool/fmu/guid.h"
#include "tool/fmu/location.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

/// The files' hash as it was taken when the archive was made: the description without its GUID and without its copy.
ContentHash hashOf(const Fmu& fmu, std::string_view guid) {
    ContentHash hash;
    for (const auto& entry : fs::recursive_directory_iterator(fmu.root()))
        if (entry.symlink_status().type() == fs::file_type::regular)
            hash.addFile(entry.path().lexically_relative(fmu.root()).generic_string(), entry.path());
    std::string description = *fmu.descriptionText;
    const std::string attribute = guidAttribute(guid);
    if (const std::size_t at = description.find(attribute); at != std::string::npos)
        description.replace(at, attribute.size(), guidAttribute(""));
    hash.add(descriptionFile, description);
    hash.leaveOut(descriptionCopy);
    return hash;
}

/// What a run leaves in an unpacked FMU.
void leaveOutRunsFiles(const Fmu& fmu, ContentHash& hash) {
    hash.leaveOut(resourcesFolder + "/" + fmu.modelName() + ".csv");
    const std::string result(fmu.shape.resultFile.value_or(""));
    if (isAmongResources(result))
        hash.leaveOut(resourcesFolder + "/" + (result.empty() ? std::string(defaultResultFile) : result));
}

bool isAsPacked(const Fmu& fmu, std::string_view guid) {
    ContentHash hash = hashOf(fmu, guid);
    if (hash.guid() == guid) return true; // whatever the files' names are
    leaveOutRunsFiles(fmu, hash);
    if (hash.guid() == guid) return true;
    hash.leaveOut(fmu.modelFile()); // a run's as well, unless it was packed
    return hash.guid() == guid;
}

} // namespace

void checkContent(const Fmu& fmu, Report& report) {
    const XmlElement& root = *fmu.description.root;
    const XmlAttribute* guid = root.find("guid");
    if (guid == nullptr || fmu.hasOnlyCopy || textAttribute(root, "generationTool") != thisTool()) return;
    try {
        if (!isAsPacked(fmu, guid->value))
            report.add("content-changed", {descriptionFile, guid->line},
                       "The FMU is not as it was packed: its GUID is not the hash of its files.");
    } catch (const std::runtime_error&) { // a file or folder that cannot be read
        report.skips("the hash of the files");
    }
}

} // namespace tool
