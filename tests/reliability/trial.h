// What the long trials have in common. Calls go straight to the linked library.
#pragma once

#include <string>
#include <vector>

#include "fmi/fmi2.h"
#include "tests/tools/test_bed.h"

/// A string made as printf does, so that it is compared with what the logger was given.
[[gnu::format(printf, 1, 2)]] std::string textOf(const char* format, ...);

/// Ends the program with a message when the condition does not hold.
[[gnu::format(printf, 2, 3)]] void require(bool condition, const char* format, ...);

/// Makes the FMU's files. Nothing is recorded until a trial asks for it.
struct Trial : TestBed {
    Trial() {
        files.make();
        master.recording = false;
    }
    fmi2Component instantiate() {
        return fmi2Instantiate("unit", fmi2CoSimulation, "{guid}", files.location.c_str(), &master.callbacks, 0, 1);
    }
    void requireNothingLeft() const { require(leftovers().empty(), "%s", leftovers().c_str()); }
};
