// The tests that are a script each.
#include <regex>

#include "tests/recording_master.h"

namespace {

/// Another way in which masters load the library, call it and name the resources; "plain" is a link to the FMU whose
/// name needs no encoding.
struct Variant {
    const char* name;
    int flags;
    bool onThreads;
    const char *before, *folder, *behind; ///< of the resource location
};

constexpr Variant usual{"", RTLD_NOW | RTLD_LOCAL, false, "file://", "/unit%20%C3%BC", "/resources"};
constexpr Variant variants[] = {
    {"OnThreads", RTLD_LAZY | RTLD_GLOBAL, true, "FILE://", "/unit%20%C3%BC", "/resources/"},
    {"WithFourSlashes", RTLD_NOW | RTLD_GLOBAL, false, "file:///", "/plain", "/resources"},
    {"WithAPath", RTLD_LAZY | RTLD_LOCAL, false, "", "/plain", "/resources/"}};

class Script : public Master {
public:
    Script(std::string text, const Variant& variant) : text_(std::move(text)) {
        dlclose(library);
        library = dlopen(TESSARO_LIBRARY, variant.flags);
        onThreads = variant.onThreads;
        location = variant.before + folder.path.string() + variant.folder + variant.behind;
        fs::create_directory_symlink(resources.parent_path(), folder.path / "plain");
    }
    void TestBody() override { check(text_); }

private:
    const std::string text_;
};

void registerScript(const std::string& name, const std::string& text, const Variant& variant) {
    const std::size_t stop = name.find('.');
    testing::RegisterTest(name.substr(0, stop).c_str(), (name.substr(stop + 1) + variant.name).c_str(), nullptr,
                          nullptr, TESSARO_SCRIPTS, 1, [=]() -> Master* { return new Script(text, variant); });
}

[[maybe_unused]] const bool registered = [] {
    std::vector<std::pair<std::regex, std::string>> replacements;
    std::map<std::string, std::string> scripts;
    std::string section;
    const auto replaced = [&replacements](std::string line) {
        for (const auto& [form, text] : replacements) line = std::regex_replace(line, form, text);
        return line;
    };
    for (const char* path : {TESSARO_SCRIPTS, TESSARO_FAULTS}) {
        std::ifstream file(path);
        for (std::string line; std::getline(file, line);) {
            std::smatch parts;
            if (line[0] == '[')
                section = line.substr(1, line.size() - 2);
            else if (std::regex_match(line, parts, std::regex("s~(.*)~(.*)~")))
                replacements.emplace_back(std::regex(parts.str(1)), replaced(parts.str(2)));
            else if (line[0] != '#')
                scripts[section] += replaced(line) + "\n";
        }
    }
    for (const auto& [name, text] : scripts) {
        registerScript(name, text, usual);
        for (const Variant& variant : variants)
            if (name.starts_with("Masters.")) registerScript(name, text, variant);
    }
    return true;
}();

} // namespace
