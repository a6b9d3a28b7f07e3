#include "tool/doctor/solver/working_copy.h"

#include "tool/os/interruption.h"
#include "tool/os/user_error.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

/// The copies can be written, whatever their originals are.
void copyFile(const fs::path& from, const fs::path& to) {
    fs::copy_file(from, to);
    fs::permissions(to, fs::perms::owner_write, fs::perm_options::add);
}

void copyFolder(const fs::path& from, const fs::path& to) {
    fs::create_directory(to);
    for (const fs::directory_entry& entry : fs::directory_iterator(from)) {
        throwIfInterrupted();
        if (entry.is_directory())
            copyFolder(entry.path(), to / entry.path().filename());
        else if (entry.is_regular_file())
            copyFile(entry.path(), to / entry.path().filename());
    }
}

} // namespace

WorkingCopy::WorkingCopy(const Fmu& fmu) {
    try {
        copyFolder(fmu.resources(), resources());
        const fs::path description = fmu.root() / descriptionFile;
        if (fs::exists(description)) copyFile(description, root() / descriptionFile);
    } catch (const fs::filesystem_error& error) {
        fail("The FMU's resources cannot be copied to {} for the solver: {}.", root().string(), error.code().message());
    }
}

} // namespace tool
