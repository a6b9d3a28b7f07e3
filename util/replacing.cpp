#include "util/replacing.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>

namespace {

/// The next occurrence at or after `text`; null when there is none.
const char* findPattern(const char* text, const char* pattern) {
    return *pattern != '\0' ? std::strstr(text, pattern) : nullptr;
}

long long lengthOf(const char* text) { return static_cast<long long>(std::strlen(text)); }

/// Copies without a terminator; returns the position after the copy.
char* append(char* out, const char* text, std::size_t length) {
    std::memcpy(out, text, length);
    return out + length;
}

} // namespace

int ReplaceSubstringNewLength(const char* text, const char* oldText, const char* newText) {
    if (text == nullptr || oldText == nullptr || newText == nullptr) return -1;

    // Kept: the search resumes one character after each match start, so overlapping occurrences count.
    long long nFound = 0;
    for (const char* at = text; (at = findPattern(at, oldText)) != nullptr; ++at) ++nFound;
    const long long size = lengthOf(text) + 1 + nFound * (lengthOf(newText) - lengthOf(oldText));
    return nFound == 0 || size > INT_MAX || size < INT_MIN ? -1 : static_cast<int>(size);
}

int ReplaceSubstring(const char* text, const char* oldText, const char* newText, char* out) {
    if (text == nullptr || oldText == nullptr || newText == nullptr || out == nullptr) return -1;
    // In place, the string is read from a copy. So the result is correct even for an overlapping pattern, where it is
    // longer than ReplaceSubstringNewLength says.
    const std::string copy(out == text ? text : "");
    if (out == text) text = copy.c_str();

    const std::size_t oldLength = std::strlen(oldText);
    const std::size_t newLength = std::strlen(newText);
    long long nReplaced = 0;
    for (const char* at = text; (at = findPattern(text, oldText)) != nullptr; text = at + oldLength, ++nReplaced) {
        out = append(out, text, static_cast<std::size_t>(at - text));
        out = append(out, newText, newLength);
    }
    append(out, text, std::strlen(text) + 1);
    return static_cast<int>(std::min<long long>(nReplaced, INT_MAX));
}
