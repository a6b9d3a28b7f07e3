#include "util/line_breaking.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "util/text.h"

namespace {

constexpr char noQuote = '\0';

/// The quote that is open after the character `c` when `open` was open before it.
char quoteAfter(char open, char c) {
    if (open == noQuote) return c == '"' || c == '\'' || c == '`' ? c : noQuote;
    return c == open ? noQuote : open;
}

/// One part with the quotes added that it needs. `open` is the quote open before the part, and on return after it.
std::string closedPart(std::string_view text, char& open) {
    std::string part;
    if (open != noQuote) part += open;
    for (const char c : text) open = quoteAfter(open, c);
    part += text;
    if (open != noQuote) part += open;
    return part;
}

std::vector<std::string> breakText(int width, const char* text) {
    std::vector<std::string> parts;
    if (width < 1 || text == nullptr) return parts;

    char open = noQuote;
    const auto step = static_cast<std::size_t>(width);
    for (std::string_view rest(text); !rest.empty(); rest.remove_prefix(std::min(step, rest.size()))) {
        if (parts.size() == INT_MAX) return {};
        parts.push_back(closedPart(rest.substr(0, step), open));
    }
    return parts;
}

} // namespace

int BreakLongString(int width, const char* text, char*** parts) {
    if (parts == nullptr) return 0;
    *parts = nullptr;
    const std::vector<std::string> broken = breakText(width, text);
    if (broken.empty()) return 0;

    std::vector<std::unique_ptr<char[]>> buffers;
    buffers.reserve(broken.size());
    for (const std::string& part : broken) {
        buffers.emplace_back(new char[static_cast<std::size_t>(width) + 3]);
        std::memcpy(buffers.back().get(), part.c_str(), part.size() + 1);
    }
    *parts = new char*[buffers.size()];
    std::transform(buffers.begin(), buffers.end(), *parts, [](auto& buffer) { return buffer.release(); });
    return static_cast<int>(buffers.size());
}

char* InsertReturnCharacters(int width, const char* text) {
    std::string lines;
    for (const std::string& part : breakText(width, text)) {
        if (!lines.empty()) lines += '\n';
        lines += part;
    }
    return newstrdup(lines.c_str());
}
