#include "util/line_input.h"

void fgets_modified(char* buffer, int n, std::FILE* stream) {
    if (buffer == nullptr) return;

    int nStored = 0;
    while (stream != nullptr && nStored < n) {
        // Kept: a carriage return ends the line alone; the line feed behind it makes the next line an empty one.
        const int character = std::fgetc(stream);
        if (character == EOF || character == '\r' || character == '\n') break;
        buffer[nStored++] = static_cast<char>(character);
    }
    // Kept: the index of the zero may be n, one behind the last that fgets would write to.
    buffer[nStored] = '\0';
}
