#include "tool/pack/pack.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "tool/fmu/archive.h"
#include "tool/fmu/guid.h"
#include "tool/fmu/names.h"
#include "tool/fmu/shared_object.h"
#include "tool/fmu/tree.h"
#include "tool/os/files.h"
#include "tool/os/user_error.h"
#include "tool/pack/bundle.h"
#include "tool/pack/description.h"
#include "tool/pack/documentation.h"
#include "tool/pack/layout.h"
#include "tool/pack/model_description_writer.h"
#include "tool/pack/parameter_file_writer.h"
#include "tool/pack/template_rules.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

/// The library of this project, not any other.
SharedObject inspectLibrary(const fs::path& library) {
    SharedObject object = readSharedObject(library);
    for (const char* function : {"fmi2Instantiate", "fmi2DoStep"})
        if (!object.hasFunction(function))
            fail("{} is not libtessaro_fmu.so: it has no function {}.", library.string(), function);
    return object;
}

/// Nothing but an earlier archive is ever replaced.
void checkTarget(const fs::path& archive) {
    std::error_code ignored;
    if (fs::is_directory(archive, ignored)) fail("{} is a folder: name the archive itself.", archive.string());
    if (!fs::is_regular_file(archive, ignored) || fs::file_size(archive, ignored) == 0) return;
    std::array<char, 4> start{};
    std::ifstream(archive, std::ios::binary).read(start.data(), start.size());
    if (std::string_view(start.data(), start.size()) != "PK\3\4")
        fail("{} already exists and is not an archive: it is not replaced.", archive.string());
}

/// A file's name in a rule of make.
std::string escaped(const fs::path& file) {
    std::string name;
    for (const char character : file.string()) {
        if (character == ' ' || character == '#' || character == '\\') name += '\\';
        if (character == '$') name += '$';
        name += character;
    }
    return name;
}

/// Gathers the files of an FMU, its model description first.
class Assembly {
public:
    Assembly(Description description, const PackOptions& options, Report& report)
        : options_(options), report_(report), description_(std::move(description)), layout_(layOut(description_)) {}

    /// Nothing when an error was found.
    std::optional<PackResult> write() {
        result_.inputs = {fs::absolute(options_.description)};
        result_.archive = options_.output.empty() ? fs::path(description_.name + ".fmu") : options_.output;
        checkTarget(result_.archive);
        checkInputs();
        checkDepfile();
        entries_.push_back({descriptionFile, ""});
        addLibraries();
        addDocumentation();
        addResources();
        addModelDescription();

        if (report_.errors() > 0) return std::nullopt;
        checkSize();
        writeArchive(result_.archive, entries_);
        if (!options_.depfile.empty()) writeDepfile();
        return std::move(result_);
    }

private:
    /// The files that the command line and the description name.
    std::vector<fs::path> namedFiles() const {
        std::vector<fs::path> files = description_.resources;
        files.insert(files.end(), {options_.description, description_.modelTemplate, options_.library});
        return files;
    }

    /// Before anything is read: neither is an input replaced, nor so much read that it could not be written.
    void checkInputs() const {
        std::uintmax_t bytes = 0;
        for (const fs::path& input : namedFiles()) {
            if (isTarget(input))
                fail("{} is one of the FMU's own inputs: it is not replaced.", result_.archive.string());
            std::error_code failure;
            const std::uintmax_t size = fs::file_size(input, failure);
            if (!failure) bytes += size;
        }
        checkBytes(bytes);
    }

    void checkDepfile() const {
        if (options_.depfile.empty()) return;
        if (isFolder(options_.depfile)) fail("{} is a folder: name the list itself.", options_.depfile.string());
        std::vector<fs::path> kept = namedFiles();
        for (const fs::path& file : documentationFiles()) kept.push_back(description_.documentation / file);
        std::error_code ignored;
        const auto isDepfile = [&](const fs::path& file) { return fs::equivalent(file, options_.depfile, ignored); };
        if (std::ranges::any_of(kept, isDepfile))
            fail("{} is an input of the archive: it is not replaced.", options_.depfile.string());
        const auto plain = [](const fs::path& file) { return fs::weakly_canonical(fs::absolute(file)); };
        if (plain(options_.depfile) == plain(result_.archive))
            fail("{} cannot be both the archive and the list of its inputs.", options_.depfile.string());
    }

    static void checkBytes(std::uintmax_t bytes) {
        constexpr UnpackingLimits limits;
        if (bytes > limits.bytes) fail("The files are more than {} GiB together.", limits.bytes >> 30U);
    }

    /// What check and the doctor would refuse to unpack or to read is not written.
    void checkSize() const {
        constexpr UnpackingLimits limits;
        std::uint64_t bytes = 0;
        for (const ArchiveEntry& entry : entries_) {
            bytes += entry.content.size();
            const bool isRead =
                entry.name == descriptionFile || entry.name == shapeFileName || entry.name == nameFileName;
            if (isRead && entry.content.size() > largestFile)
                fail("{} would be larger than {} MiB.", entry.name, largestFile >> 20U);
        }
        checkBytes(bytes);
        if (entries_.size() > limits.files) fail("There are more than {} files.", limits.files);
    }

    std::string read(const fs::path& file) {
        result_.inputs.push_back(fs::absolute(file));
        return readUserFile(file);
    }

    /// A rule of make.
    void writeDepfile() const {
        std::string rule = escaped(fs::absolute(result_.archive)) + ":";
        for (const fs::path& input : result_.inputs) rule += " \\\n  " + escaped(input);
        try {
            replaceFile(options_.depfile, rule + "\n");
        } catch (const UserError& error) {
            report_.add("not-packed", {}, "{}", error.what()).why("The archive was written without it.");
        }
    }

    void add(std::string name, std::string content, bool isExecutable = false) {
        entries_.push_back({std::move(name), std::move(content), isExecutable});
    }

    /// Libraries of one package share a licence.
    void addInput(const fs::path& file) {
        const fs::path full = fs::absolute(file);
        if (std::ranges::find(result_.inputs, full) == result_.inputs.end()) result_.inputs.push_back(full);
    }

    void addLibraries() {
        systemLibraries_ = inspectLibrary(options_.library).needed;
        result_.inputs.push_back(fs::absolute(options_.library));
        const std::string name = description_.identifier + ".so";
        Bundle bundle;
        if (options_.bundle)
            bundle = bundleLibraries(options_.library, name, report_);
        else
            bundle.libraries.push_back({name, readUserFile(options_.library), true});
        for (const fs::path& file : bundle.files) addInput(file);
        for (const License& license : bundle.licenses) addInput(license.file);
        licenses_ = std::move(bundle.licenses);
        for (ArchiveEntry& library : bundle.libraries) {
            std::erase(systemLibraries_, library.name);
            if (library.name != name) {
                result_.bundled.push_back(library.name);
                result_.bundledBytes += library.content.size();
            }
            add(librariesFolder + "/" + library.name, std::move(library.content), true);
        }
    }

    /// The user's own files; what is missing among them is generated.
    void addDocumentation() {
        for (const fs::path& file : documentationFiles()) {
            checkDocumentationName(file.string());
            add("documentation/" + file.generic_string(), read(description_.documentation / file));
        }
        addIfMissing("documentation/externalDependencies.txt", externalDependencies(description_, systemLibraries_));
        addIfMissing("documentation/index.html", indexPage(description_, layout_));
        for (const License& license : licenses_) addIfMissing("documentation/licenses/" + license.name, license.text);
    }

    void checkDocumentationName(const std::string& name) {
        if (name.find('\\') != std::string::npos || hasControlCharacters(name))
            report_.add("file-name", {options_.description.string()},
                        "documentation: {} holds a backslash or a control character.", inQuotes(name));
    }

    void addIfMissing(const std::string& name, std::string content) {
        const auto isNamed = [&name](const ArchiveEntry& entry) { return entry.name == name; };
        if (std::ranges::none_of(entries_, isNamed)) add(name, std::move(content));
    }

    /// Relative to the documentation's folder, in an order that does not depend on the file system.
    std::vector<fs::path> documentationFiles() const {
        std::vector<fs::path> files;
        if (description_.documentation.empty()) return files;
        for (const auto& item : fs::recursive_directory_iterator(description_.documentation)) {
            if (!item.is_regular_file() || isTarget(item)) continue;
            files.push_back(item.path().lexically_relative(description_.documentation));
        }
        std::ranges::sort(files);
        return files;
    }

    void addResources() {
        for (const fs::path& file : description_.resources)
            add(resourcesFolder + "/" + file.filename().string(), read(file));
        if (!description_.modelTemplate.empty()) addTemplate();
        add(shapeFileName, fmu2tsPar(description_, layout_));
        add(nameFileName, mvPar(layout_));
    }

    void addTemplate() {
        const std::string text = read(description_.modelTemplate);
        std::vector<std::string_view> resources;
        for (const ArchiveEntry& entry : entries_)
            if (entry.name.starts_with(resourcesFolder)) resources.push_back(entry.content);
        checkTemplate(description_, text, resources, report_);
        add(resourcesFolder + "/" + description_.name + std::string(templateExtension), text);
    }

    /// Its GUID depends on all that is in the FMU, the rest of itself included.
    void addModelDescription() {
        entries_.front().content = modelDescription(description_, layout_, "");
        ContentHash hash;
        for (const ArchiveEntry& entry : entries_) hash.add(entry.name, entry.content);
        entries_.front().content = modelDescription(description_, layout_, hash.guid());
        checkRootLine(description_, entries_.front().content, report_);
        add(descriptionCopy, entries_.front().content);
    }

    /// An archive of an earlier run in a folder that is packed is not packed with it.
    bool isTarget(const fs::path& file) const {
        std::error_code ignored;
        return fs::equivalent(file, result_.archive, ignored);
    }

    const PackOptions& options_;
    Report& report_;
    Description description_;
    Layout layout_;
    std::vector<ArchiveEntry> entries_;
    std::vector<std::string> systemLibraries_;
    std::vector<License> licenses_;
    PackResult result_;
};

} // namespace

std::optional<PackResult> pack(const PackOptions& options, Report& report) {
    std::optional<Description> description = readDescription(options.description, report, options.version);
    return description ? Assembly(std::move(*description), options, report).write() : std::nullopt;
}

} // namespace tool
