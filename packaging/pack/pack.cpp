#include "packaging/pack/pack.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "packaging/pack/archive_writer.h"
#include "packaging/pack/bundle.h"
#include "packaging/pack/description.h"
#include "packaging/pack/documentation.h"
#include "packaging/pack/files.h"
#include "packaging/pack/layout.h"
#include "packaging/pack/model_description.h"
#include "packaging/pack/parameter_file_writer.h"
#include "packaging/shared_object.h"
#include "packaging/text_forms.h"
#include "packaging/user_error.h"

namespace packaging {

namespace {

namespace fs = std::filesystem;

/// The library of this project, not any other.
SharedObject inspectLibrary(const fs::path& library) {
    SharedObject object = readSharedObject(library);
    for (const char* function : {"fmi2Instantiate", "fmi2DoStep"})
        if (!object.functions.contains(function))
            fail("{} isn't libtessaro_fmu.so: it has no function {}.", library.string(), function);
    return object;
}

/// Nothing but an earlier archive is ever replaced.
void checkTarget(const fs::path& archive) {
    std::error_code ignored;
    if (!fs::is_regular_file(archive, ignored) || fs::file_size(archive, ignored) == 0) return;
    std::array<char, 4> start{};
    std::ifstream(archive, std::ios::binary).read(start.data(), start.size());
    if (std::string_view(start.data(), start.size()) != "PK\3\4")
        fail("{} is there already and is no archive: it isn't replaced.", archive.string());
}

/// Gathers the files of an FMU, its model description first.
class Assembly {
public:
    Assembly(Description description, const PackOptions& options)
        : options_(options), description_(std::move(description)), layout_(layOut(description_)) {}

    PackResult write() {
        result_.archive = options_.output.empty() ? fs::path(description_.name + ".fmu") : options_.output;
        checkTarget(result_.archive);
        entries_.push_back({"modelDescription.xml", ""});
        addLibraries();
        addDocumentation();
        addResources();
        addModelDescription();

        writeArchive(result_.archive, entries_);
        result_.warnings = std::move(description_.warnings);
        return std::move(result_);
    }

private:
    void add(std::string name, std::string content, bool isExecutable = false) {
        entries_.push_back({std::move(name), std::move(content), isExecutable});
    }

    void addLibraries() {
        systemLibraries_ = inspectLibrary(options_.library).needed;
        const std::string name = description_.identifier + ".so";
        std::vector<ArchiveEntry> libraries =
            options_.bundle ? bundleLibraries(options_.library, name)
                            : std::vector<ArchiveEntry>{{name, contentOf(options_.library), true}};
        for (const ArchiveEntry& library : libraries) {
            std::erase(systemLibraries_, library.name);
            if (library.name == name) continue;
            result_.bundled.push_back(library.name);
            result_.bundledBytes += library.content.size();
        }
        for (ArchiveEntry& library : libraries)
            add("binaries/linux64/" + library.name, std::move(library.content), true);
    }

    void addDocumentation() {
        std::vector<fs::path> files;
        if (!description_.documentation.empty())
            for (const auto& item : fs::recursive_directory_iterator(description_.documentation))
                if (item.is_regular_file() && !isTarget(item))
                    files.push_back(item.path().lexically_relative(description_.documentation));
        std::ranges::sort(files);
        for (const fs::path& file : files)
            if (file.string().find('\\') != std::string::npos || hasControlCharacters(file.string()))
                fail("documentation: {} isn't a file name for every system.", printable(file.string()));
        for (const fs::path& file : files)
            add("documentation/" + file.generic_string(), contentOf(description_.documentation / file));

        const auto lacks = [&](const char* name) { return std::ranges::find(files, name) == files.end(); };
        if (lacks("externalDependencies.txt"))
            add("documentation/externalDependencies.txt", externalDependencies(description_, systemLibraries_));
        if (lacks("index.html")) add("documentation/index.html", indexPage(description_, layout_));
    }

    void addResources() {
        if (!description_.modelTemplate.empty())
            add("resources/" + description_.name + ".mdl", contentOf(description_.modelTemplate));
        add("resources/fmu2ts.par", fmu2tsPar(description_, layout_));
        add("resources/mv.par", mvPar(layout_));
        for (const fs::path& file : description_.resources)
            add("resources/" + file.filename().string(), contentOf(file));
    }

    /// Its GUID depends on all that is in the FMU, the rest of itself included.
    void addModelDescription() {
        entries_.front().content = modelDescription(description_, layout_, "");
        entries_.front().content = modelDescription(description_, layout_, guidOf(entries_));
        add("resources/modelDescription.xml", entries_.front().content);
    }

    /// An archive of an earlier run in a folder that is packed isn't packed with it.
    bool isTarget(const fs::path& file) const {
        std::error_code ignored;
        return fs::equivalent(file, result_.archive, ignored);
    }

    const PackOptions& options_;
    Description description_;
    Layout layout_;
    std::vector<ArchiveEntry> entries_;
    std::vector<std::string> systemLibraries_;
    PackResult result_;
};

} // namespace

PackResult pack(const PackOptions& options) { return Assembly(readDescription(options.description), options).write(); }

} // namespace packaging
