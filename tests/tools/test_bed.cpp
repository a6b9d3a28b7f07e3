#include "tests/tools/test_bed.h"

#include <algorithm>
#include <sstream>

#include <sys/wait.h>

namespace {

/// The process's descriptors, without the streams that the library keeps open on purpose; their files may be deleted.
std::size_t countDescriptors() {
    const auto isCounted = [](const fs::directory_entry& file) {
        std::error_code gone;
        return fs::read_symlink(file, gone).string().find("fmu2ts.par") == std::string::npos;
    };
    return static_cast<std::size_t>(std::count_if(fs::directory_iterator("/proc/self/fd"), {}, isCounted));
}

} // namespace

TestBed::TestBed() {
    solver.record = [this](const std::string& call) { master.note(call); };
    std::ostringstream address;
    address << &solver;
    script.set(address.str());
    nDescriptors_ = countDescriptors();
}

std::string TestBed::leftovers() const {
    std::string left;
    if (master.nBlocks() != 0) left += std::to_string(master.nBlocks()) + " blocks were never freed. ";
    if (countDescriptors() != nDescriptors_)
        left += std::to_string(countDescriptors()) + " descriptors, but " + std::to_string(nDescriptors_) + " before. ";
    if (fs::current_path() != directory) left += "The working directory is " + fs::current_path().string() + ". ";
    if (waitpid(-1, nullptr, WNOHANG) != -1) left += "A process is left over. ";
    return left;
}

bool isLoaded(const std::string& folder) {
    return contentOf("/proc/self/maps").find(folder + "/") != std::string::npos;
}
