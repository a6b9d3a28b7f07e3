#include "resources/model_names.h"

#include <array>
#include <cstring>

std::string modelFileName(std::FILE* description) {
    constexpr std::size_t toValue = 11; // over the word, the equals sign and the opening quote
    std::array<char, 1024> line{};
    const char* word = nullptr;
    while (word == nullptr && std::fgets(line.data(), static_cast<int>(line.size()), description) != nullptr)
        word = std::strstr(line.data(), "modelName");
    if (word == nullptr || std::strlen(word) < toValue) return {};

    // Kept: the name ends at the line's last quote. Attributes that follow on the same line become part of it, and
    // without a quote the rest of the line, line feed included, is the name.
    const std::string text = word + toValue;
    const std::size_t quote = text.rfind('"');
    return quote == std::string::npos ? text : text.substr(0, quote) + ".xml";
}

bool isPlainWord(std::string_view name) {
    const auto has = [name](std::string_view text) { return name.find(text) != std::string_view::npos; };
    const bool isPattern = (has("[") && has("]")) || (has("{") && (has(",") || has("..")));
    return name.find_first_of(" \t\n|&;<>()$`\\\"'*?") == std::string_view::npos && !isPattern &&
           (name.empty() || std::strchr("-~#", name.front()) == nullptr);
}

bool isPlainInQuotes(std::string_view text) {
    // A backslash or dollar sign stands for itself there, unless it finds something to act on.
    for (std::size_t i = 0; i + 1 < text.size(); ++i)
        if ((text[i] == '\\' && text[i + 1] == '\\') || (text[i] == '$' && text[i + 1] != '/')) return false;
    return text.find_first_of("\"`\n") == std::string_view::npos;
}
