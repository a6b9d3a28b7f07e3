#include "tool/os/text.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include <fmt/format.h>

namespace tool {

namespace {

constexpr std::size_t longestQuote = 100;
constexpr std::size_t longestSentence = 600;

bool isControl(char c) { return (c >= 0 && c < 0x20) || c == 0x7f; }

bool isContinuationByte(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

/// The text's beginning, without half a character at its end.
std::string_view cut(std::string_view text, std::size_t longest) {
    std::size_t length = std::min(text.size(), longest);
    while (length > 0 && length < text.size() && isContinuationByte(text[length])) --length;
    return text.substr(0, length);
}

std::string escaped(char c) {
    switch (c) {
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    default:
        return fmt::format("\\x{:02x}", static_cast<unsigned char>(c));
    }
}

/// The bytes of the UTF-8 character that a text begins with; 0 when it begins with none.
std::size_t lengthOfCharacter(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    const std::size_t length = first < 0x80   ? 1
                               : first < 0xC2 ? 0
                               : first < 0xE0 ? 2
                               : first < 0xF0 ? 3
                               : first < 0xF5 ? 4
                                              : 0;
    if (length > text.size()) return 0;
    return std::ranges::all_of(text.substr(1, std::max<std::size_t>(length, 1) - 1), isContinuationByte) ? length : 0;
}

unsigned codeOf(std::string_view character) {
    constexpr std::array<unsigned, 5> maskOfFirst{0, 0x7F, 0x1F, 0x0F, 0x07};
    unsigned code = static_cast<unsigned char>(character[0]) & maskOfFirst.at(character.size());
    for (const char byte : character.substr(1)) code = code << 6U | (static_cast<unsigned char>(byte) & 0x3FU);
    return code;
}

/// What changes what a terminal does or the order in which it shows text: C1 controls, separators, marks without width
/// or for the direction of writing, surrogates.
bool misleads(unsigned code) {
    constexpr std::array<std::pair<unsigned, unsigned>, 7> ranges{{{0x80, 0x9F},
                                                                   {0x61C, 0x61C},
                                                                   {0x200B, 0x200F},
                                                                   {0x2028, 0x202E},
                                                                   {0x2060, 0x206F},
                                                                   {0xD800, 0xDFFF},
                                                                   {0xFEFF, 0xFEFF}}};
    return std::ranges::any_of(ranges,
                               [code](const auto& range) { return code >= range.first && code <= range.second; });
}

} // namespace

bool hasControlCharacters(std::string_view text) {
    return std::ranges::any_of(text, isControl) || text.find("\xEF\xBF\xBE") != std::string_view::npos ||
           text.find("\xEF\xBF\xBF") != std::string_view::npos;
}

std::string printable(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        const std::size_t length = lengthOfCharacter(text);
        const std::string_view character = text.substr(0, std::max<std::size_t>(length, 1));
        if (length == 0 || isControl(text[0]))
            shown += escaped(text[0]);
        else if (misleads(codeOf(character)))
            shown += fmt::format("\\u{:04x}", codeOf(character));
        else
            shown += character;
        text.remove_prefix(character.size());
    }
    return shown;
}

std::string readable(std::string_view text) {
    const std::string shown = printable(cut(text, longestSentence));
    const std::string_view kept = cut(shown, longestSentence);
    const bool isWhole = text.size() <= longestSentence && kept.size() == shown.size();
    return std::string(kept) + (isWhole ? "" : "...");
}

std::string inQuotes(std::string_view text) {
    const std::string_view kept = cut(text, longestQuote);
    return fmt::format("\"{}{}\"", printable(kept), kept.size() < text.size() ? "..." : "");
}

std::size_t editDistance(std::string_view from, std::string_view to) {
    // The distances of the beginnings, by their lengths.
    std::vector distances(from.size() + 1, std::vector<std::size_t>(to.size() + 1));
    for (std::size_t i = 0; i <= from.size(); ++i) {
        for (std::size_t j = 0; j <= to.size(); ++j) {
            std::size_t& least = distances[i][j] = i + j;
            if (i == 0 || j == 0) continue;
            least = std::min({distances[i - 1][j - 1] + (from[i - 1] == to[j - 1] ? 0 : 1), distances[i - 1][j] + 1,
                              distances[i][j - 1] + 1});
            if (i > 1 && j > 1 && from[i - 2] == to[j - 1] && from[i - 1] == to[j - 2])
                least = std::min(least, distances[i - 2][j - 2] + 1);
        }
    }
    return distances[from.size()][to.size()];
}

} // namespace tool
