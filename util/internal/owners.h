// Owners for resources of C interfaces.
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

/// A string allocated with malloc.
using MallocText = std::unique_ptr<char, FreeText>;
