// What libFuzzer calls; FUZZ_TARGET is the function that it feeds.
#include <cstddef>
#include <cstdint>
#include <string>

#include "tests/fuzz/targets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzzing::FUZZ_TARGET(std::string(reinterpret_cast<const char*>(data), size));
    return 0;
}
