#include "tool/fmu/library_log.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace tool {

LibraryLog::LibraryLog() : functions_{keep, std::calloc, std::free, nullptr, this} {
    instance_.functions = &functions_;
    instance_.instanceName = name_.data();
    instance_.loggingOn = fmi2True;
}

void LibraryLog::keep(fmi2ComponentEnvironment log, fmi2String /*name*/, fmi2Status status, fmi2String /*category*/,
                      fmi2String format, ...) {
    std::array<char, 2 * pathBufferSize + 256> text{};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    auto* kept = static_cast<LibraryLog*>(log);
    if (status == fmi2Warning) kept->warnings_.emplace_back(text.data());
    if (status == fmi2Error) kept->errors_.emplace_back(text.data());
}

} // namespace tool
