#include "tool/os/progress.h"

#include <cstdio>

#include <fmt/format.h>
#include <unistd.h>

namespace tool {

Progress::Progress(const std::string& what) : isShown_(isatty(STDERR_FILENO) == 1) {
    if (isShown_) std::fputs(fmt::format("\r\x1b[K{} ...", what).c_str(), stderr);
}

Progress::~Progress() {
    if (isShown_) std::fputs("\r\x1b[K", stderr);
}

} // namespace tool
