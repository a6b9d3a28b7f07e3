#include "tool/pack/toml_file.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <system_error>

#include "tool/os/files.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t largestDescription = 32U << 20U;

/// The parser limits how deep values are nested, but not how long keys are, and a.b.c nests tables likewise.
constexpr std::ptrdiff_t longestKey = 16;

/// The length of a text in quotes or a comment, otherwise 1.
std::size_t tokenLength(std::string_view text) {
    const char first = text.front();
    if (first == '#') return std::min(text.find('\n'), text.size());
    if (first != '"' && first != '\'') return 1;

    const std::string quotes(3, first);
    const bool isMultiLine = text.starts_with(quotes);
    const std::string_view end = std::string_view(quotes).substr(0, isMultiLine ? 3 : 1);
    std::size_t at = end.size();
    for (; at < text.size() && !text.substr(at).starts_with(end) && (isMultiLine || text[at] != '\n'); ++at)
        if (text[at] == '\\' && first == '"') ++at;
    at = std::min(at + end.size(), text.size());
    while (isMultiLine && at < text.size() && text[at] == first) ++at;
    return at;
}

/// The line of the first key that is too long, or 0.
std::ptrdiff_t lineOfLongKey(std::string_view text) {
    std::ptrdiff_t dots = 0;
    for (std::string_view rest = text; !rest.empty(); rest.remove_prefix(tokenLength(rest))) {
        if (std::string_view("=,\n{}[]#").find(rest.front()) != std::string_view::npos) dots = 0;
        if (rest.front() == '.' && ++dots == longestKey)
            return 1 + std::count(text.begin(), text.end() - static_cast<std::ptrdiff_t>(rest.size()), '\n');
    }
    return 0;
}

} // namespace

std::optional<toml::table> readToml(const fs::path& file, Report& report) {
    const std::string text = readUserFile(file, largestDescription);
    if (const std::ptrdiff_t line = lineOfLongKey(text); line > 0) {
        report.add("description-size", {file.string(), static_cast<int>(line)}, "A key has more than {} parts.",
                   longestKey);
        return std::nullopt;
    }
    try {
        return toml::parse(text, file.string());
    } catch (const toml::parse_error& error) {
        report.add("toml-syntax", {file.string(), static_cast<int>(error.source().begin.line)}, "{}.",
                   error.description());
        return std::nullopt;
    }
}

} // namespace tool
