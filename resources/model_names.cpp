#include "resources/model_names.h"

#include <array>
#include <cstring>

std::string modelFileName(std::FILE* description) {
    constexpr std::size_t toValue = 11; // the word, the equals sign and the opening quote
    std::array<char, 1024> line{};
    const char* word = nullptr;
    while (word == nullptr && std::fgets(line.data(), static_cast<int>(line.size()), description) != nullptr)
        word = std::strstr(line.data(), "modelName");
    if (word == nullptr || std::strlen(word) < toValue) return {};

    // Kept: the name ends at the line's last quote. Attributes that follow on the same line become part of it. Without
    // a quote the name is the rest of the line, line feed included.
    const std::string text = word + toValue;
    const std::size_t quote = text.rfind('"');
    return quote == std::string::npos ? text : text.substr(0, quote) + ".xml";
}

bool runsOrRedirects(std::string_view name) {
    return name.find_first_of(";|&<>`\n") != std::string_view::npos || name.find("$(") != std::string_view::npos;
}

const char* shellEffect(std::string_view name) {
    const auto hasOneOf = [name](const char* characters) {
        return name.find_first_of(characters) != std::string_view::npos;
    };
    const auto startsWith = [name](char c) { return !name.empty() && name.front() == c; };

    if (runsOrRedirects(name)) return "the shell runs or redirects something";
    if (hasOneOf(" \t")) return "the shell splits it at its spaces";
    if (hasOneOf("\"'\\")) return "the shell removes its quotes and backslashes";
    if (hasOneOf("$")) return "the shell replaces the variable after its dollar sign";
    if (hasOneOf("()")) return "the shell does not accept its parentheses";
    if (hasOneOf("*?") || (hasOneOf("[") && hasOneOf("]"))) return "the shell takes it for a pattern of file names";
    if (hasOneOf("{") && (hasOneOf(",") || name.find("..") != std::string_view::npos))
        return "the shell may take its braces for a list";
    if (startsWith('~')) return "the shell may replace its tilde by a home folder";
    if (startsWith('#')) return "the shell takes it for a comment";
    if (startsWith('-')) return "fmu_batch may take it for an option";
    return nullptr;
}

bool isPlainWord(std::string_view name) { return shellEffect(name) == nullptr; }

bool isPlainInQuotes(std::string_view text) {
    // In double quotes a backslash or dollar sign is literal unless the next character gives it a meaning.
    for (std::size_t i = 0; i + 1 < text.size(); ++i)
        if ((text[i] == '\\' && text[i + 1] == '\\') || (text[i] == '$' && text[i + 1] != '/')) return false;
    return text.find_first_of("\"`\n") == std::string_view::npos;
}
