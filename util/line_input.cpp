#include "util/line_input.h"

void fgets_modified(char* buffer, int n, std::FILE* stream) {
    if (buffer == nullptr) return;

    int nStored = 0;
    while (stream != nullptr && nStored < n) {
        // Kept: a carriage return ends the line; a line feed after it gives an empty next line.
        const int character = std::fgetc(stream);
        if (character == EOF || character == '\r' || character == '\n') break;
        buffer[nStored++] = static_cast<char>(character);
    }
    // Kept: the index of the terminator may be n, one past the last index that fgets writes to.
    buffer[nStored] = '\0';
}
