#include "util/bytes.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

constexpr unsigned char escape = 127;

unsigned char toByte(char c) { return static_cast<unsigned char>(c); }

} // namespace

char* str8to7(char* text) {
    if (text == nullptr) return nullptr;
    auto* result = static_cast<char*>(std::malloc(2 * std::strlen(text) + 1));
    if (result == nullptr) return nullptr;

    char* out = result;
    for (const char* in = text; *in != '\0'; ++in) {
        // Kept: 127 is copied and decoded as an escape; 128 becomes 127 and a zero, which ends the string.
        if (toByte(*in) >= 128) *out++ = static_cast<char>(escape);
        *out++ = static_cast<char>(toByte(*in) % 128);
    }
    *out = '\0';
    std::free(text);
    return result;
}

char* str7to8(char* text) {
    if (text == nullptr) return nullptr;

    char* out = text;
    for (const char* in = text; *in != '\0'; ++in) {
        // Kept: bytes of 128 and more are also read as escapes.
        const bool isPair = toByte(*in) >= escape && in[1] != '\0';
        if (isPair) ++in;
        *out++ = static_cast<char>(toByte(*in) + (isPair ? 128 : 0));
    }
    *out = '\0';
    return text;
}

void ReverseByteMemory(void* data, int size, int count) {
    if (data == nullptr || size < 1) return;

    auto* element = static_cast<unsigned char*>(data);
    for (int i = 0; i < count; ++i, element += size) std::reverse(element, element + size);
}
