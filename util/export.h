// Marks what leaves the shared library. Everything is compiled with hidden visibility; `tessaro_fmu.map` in the
// project's root lists the same names once more for the linker, and a test holds both against the built library.
#pragma once

#define TESSARO_EXPORT __attribute__((visibility("default")))
