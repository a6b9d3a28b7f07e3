// What an interruption leaves of an archive that is being written.
#include <cstdio>

#include <csignal>

#include <fcntl.h>
#include <gtest/gtest.h>

#include "tests/support.h"
#include "tool/fmu/archive.h"
#include "tool/os/interruption.h"

namespace {

int signalAtRenaming = 0;

} // namespace

/// The C library's, as the archive's writer calls it when all bytes are written.
extern "C" [[gnu::visibility("default")]] int rename(const char* from, const char* to) noexcept {
    if (signalAtRenaming != 0) std::raise(signalAtRenaming);
    return renameat(AT_FDCWD, from, AT_FDCWD, to);
}

TEST(ArchiveDeathTest, IsNotThereAfterASignalThatComesAsItIsComplete) {
    const Folder folder;
    const auto writeInterrupted = [&] {
        const tool::SignalWatch watch;
        signalAtRenaming = SIGTERM;
        try {
            tool::writeArchive(folder.path / "model.fmu", {{"modelDescription.xml", "<a/>"}});
        } catch (const tool::Interrupted&) {
            return;
        }
    };
    EXPECT_EXIT(writeInterrupted(), testing::KilledBySignal(SIGTERM), "^$");
    EXPECT_TRUE(fs::is_empty(folder.path));
}
