// Owners for what C interfaces hand out.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <memory>

struct CloseStream {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
};

/// A stream, closed at the end of its scope.
using Stream = std::unique_ptr<std::FILE, CloseStream>;

struct FreeText {
    void operator()(char* text) const { std::free(text); }
};

/// A text from malloc.
using MallocText = std::unique_ptr<char, FreeText>;
