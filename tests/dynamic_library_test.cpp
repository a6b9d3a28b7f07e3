// Loading libraries by the functions of util/dynamic_library.h.
#include "util/dynamic_library.h"

#include <functional>
#include <string>

#include <dlfcn.h>
#include <gtest/gtest.h>

namespace {

int loadedMode = 0;

std::string printedBy(const std::function<void()>& call) {
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

std::string block(const std::string& name, const std::string& reason) {
    const std::string rule(46, '-');
    return rule + "\nDynamic Library loading error: " + name + "\n    " + reason + "\n" + rule + "\n";
}

} // namespace

// Takes the place of the C library's: remembers the flags, and removes the one that AddressSanitizer refuses.
extern "C" void* dlopen(const char* file, int mode) noexcept {
    loadedMode = mode;
    const auto open = reinterpret_cast<void* (*)(const char*, int)>(dlsym(RTLD_NEXT, "dlopen"));
    return open(file, mode & ~RTLD_DEEPBIND);
}

TEST(DynamicLibrary, IsLoadedWithTheFlagsOfTheFunction) {
    const struct {
        void* (*load)(const char*);
        int flag;
    } rows[] = {
        {NuPLDyLoadLibrary, RTLD_DEEPBIND}, {NuPLDyLoadLibrary2, RTLD_GLOBAL}, {NuPLDyLoadLibrary3, RTLD_DEEPBIND}};
    for (const auto& row : rows) {
        void* library = row.load("libm.so.6");
        EXPECT_EQ(loadedMode, RTLD_LAZY | row.flag);
        EXPECT_EQ(NuPLDyGetFunction(library, "cos"), dlsym(library, "cos"));
        EXPECT_EQ(NuPLDyUnloadLibrary(library), 0);
        EXPECT_EQ(printedBy([&] { EXPECT_EQ(row.load("/no.so"), nullptr); }),
                  block("/no.so", "/no.so: cannot open shared object file: No such file or directory"));
    }
    EXPECT_EQ(NuPLDyUnloadLibrary(nullptr), -1);
}

TEST(DynamicLibrary, AMissingFunctionIsPrintedWithTheReasonOfThisCall) {
    void* library = NuPLDyLoadLibrary("libm.so.6");
    const std::string printed = printedBy([&] { EXPECT_EQ(NuPLDyGetFunction(library, "no_such"), nullptr); });
    EXPECT_EQ(dlsym(library, "no_such"), nullptr);
    EXPECT_EQ(printed, block("no_such", NuPLDyLoadError()));
    EXPECT_EQ(dlsym(library, "no_such"), nullptr) << "the reason of an earlier call";
    EXPECT_EQ(printedBy([] { NuPLDyGetFunction(nullptr, nullptr); }), block("(null)", "(null)"));
    NuPLDyUnloadLibrary(library);
}
