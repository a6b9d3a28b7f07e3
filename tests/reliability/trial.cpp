#include "tests/reliability/trial.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace {

std::string format(const char* form, std::va_list arguments) {
    char text[4096];
    std::vsnprintf(text, sizeof text, form, arguments);
    return text;
}

} // namespace

std::string textOf(const char* form, ...) {
    std::va_list arguments;
    va_start(arguments, form);
    const std::string text = format(form, arguments);
    va_end(arguments);
    return text;
}

void require(bool condition, const char* form, ...) {
    if (condition) return;
    std::va_list arguments;
    va_start(arguments, form);
    std::fprintf(stderr, "failed: %s\n", format(form, arguments).c_str());
    va_end(arguments);
    std::_Exit(1);
}
