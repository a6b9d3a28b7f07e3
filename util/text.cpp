#include "util/text.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstring>
#include <string_view>

namespace {

constexpr std::string_view trimmed = " \t\n\r";

char capital(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

char small(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

char* changeEach(char* text, char (*change)(char)) {
    if (text != nullptr) std::transform(text, text + std::strlen(text), text, change);
    return text;
}

bool isEmpty(const char* text) { return text == nullptr || *text == '\0'; }

bool isLetter(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }

bool isNameCharacter(char c) { return c == '_' || std::isalnum(static_cast<unsigned char>(c)) != 0; }

} // namespace

char* strmid(char* out, const char* text, int start, int count) {
    if (out == nullptr) return nullptr;
    const long long end = static_cast<long long>(start) + count;
    const long long length =
        text != nullptr && end > 0 ? static_cast<long long>(strnlen(text, static_cast<std::size_t>(end))) : 0;

    char* next = out;
    for (long long i = start; i < end; ++i) *next++ = i >= 0 && i < length ? text[i] : ' ';
    *next = '\0';
    return out;
}

char* rtrim(char* text) {
    if (isEmpty(text)) return text;
    const std::size_t last = std::string_view(text).find_last_not_of(trimmed);
    text[last == std::string_view::npos ? 0 : last + 1] = '\0';
    return text;
}

char* ltrim(char* text) {
    if (isEmpty(text)) return text;
    const std::string_view all(text);
    const std::size_t first = std::min(all.find_first_not_of(trimmed), all.size());
    std::memmove(text, text + first, all.size() - first + 1);
    return text;
}

char* lrtrim(char* text) { return ltrim(rtrim(text)); }

char* ucase(char* text) { return changeEach(text, capital); }

char* lcase(char* text) { return changeEach(text, small); }

char* lcaseq(char* text) {
    bool quoted = false;
    for (char* next = text; !isEmpty(next); ++next) {
        if (*next == '"') quoted = !quoted;
        if (!quoted) *next = small(*next);
    }
    return text;
}

int chrcnt(const char* text, char c) {
    if (text == nullptr) return 0;
    const std::string_view all(text);
    return static_cast<int>(std::min<std::ptrdiff_t>(std::count(all.begin(), all.end(), c), INT_MAX));
}

char* strndup(const char* text, int n) {
    if (text == nullptr) return nullptr;
    const auto length = static_cast<std::size_t>(std::max(n, 0));
    auto* copy = new char[length + 1];
    std::strncpy(copy, text, length);
    copy[length] = '\0';
    return copy;
}

char* newstrdup(const char* text) {
    if (text == nullptr) return nullptr;
    const std::size_t size = std::strlen(text) + 1;
    return static_cast<char*>(std::memcpy(new char[size], text, size));
}

// Kept: this function and the next one only copy; only platforms with carriage returns in their files convert.
char* RemoveCrLf(const char* text) { return newstrdup(text); }

char* AddCrLf(const char* text, int* added) {
    if (added != nullptr) *added = 0;
    return newstrdup(text);
}

int IsValidVariableName(const char* name) {
    if (isEmpty(name) || !isLetter(*name)) return 0;
    const std::string_view rest(name + 1);
    return std::all_of(rest.begin(), rest.end(), isNameCharacter) ? 1 : 0;
}
