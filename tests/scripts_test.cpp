// The tests that are a script each.
#include <regex>

#include "tests/recording_master.h"

namespace {

class Script : public Master {
public:
    explicit Script(std::string text) : text_(std::move(text)) {}
    void TestBody() override { check(text_); }

private:
    const std::string text_;
};

[[maybe_unused]] const bool registered = [] {
    std::ifstream file(TESSARO_SCRIPTS);
    std::vector<std::pair<std::regex, std::string>> replacements;
    std::map<std::string, std::string> scripts;
    std::string section;
    const auto replaced = [&replacements](std::string line) {
        for (const auto& [form, text] : replacements) line = std::regex_replace(line, form, text);
        return line;
    };
    for (std::string line; std::getline(file, line);) {
        std::smatch parts;
        if (line[0] == '[')
            section = line.substr(1, line.size() - 2);
        else if (std::regex_match(line, parts, std::regex("s~(.*)~(.*)~")))
            replacements.emplace_back(std::regex(parts.str(1)), replaced(parts.str(2)));
        else if (line[0] != '#')
            scripts[section] += replaced(line) + "\n";
    }
    for (const auto& [name, text] : scripts)
        testing::RegisterTest(name.substr(0, name.find('.')).c_str(), name.substr(name.find('.') + 1).c_str(), nullptr,
                              nullptr, TESSARO_SCRIPTS, 1, [text = text]() -> Master* { return new Script(text); });
    return true;
}();

} // namespace
