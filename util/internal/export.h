// Marks exported functions. Everything else is compiled with hidden visibility. `tessaro_fmu.map` lists the same names
// for the linker, and a test compares that list with the built library.
#pragma once

#define TESSARO_EXPORT __attribute__((visibility("default")))
