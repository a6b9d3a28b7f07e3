// Joins strings into a buffer of fixed size.
#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <string_view>

/// Writes the pieces one after the other into a buffer of `size` bytes (at least 1) and terminates them. False when
/// they do not fit; the result is then cut.
inline bool joinInto(char* buffer, std::size_t size, std::initializer_list<std::string_view> pieces) {
    bool fits = true;
    for (std::string_view piece : pieces) {
        const std::size_t length = std::min(piece.size(), size - 1);
        fits = fits && length == piece.size();
        buffer += piece.copy(buffer, length);
        size -= length;
    }
    *buffer = '\0';
    return fits;
}
