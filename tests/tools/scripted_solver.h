// The scripted interface library: what a test makes it do, and how the test hears of the FMU's calls. Shared by both
// sides; the library itself is scripted_solver.cpp.
#pragma once

#include <functional>
#include <string>
#include <utility>

#include "plant/access_interface.h"

/// The entry points of an interface library.
enum class Entry { start, deposit, request, terminate };

/// What the library throws: a class of the standard library, an int, a class of its own.
enum class Thrown { nothing, standardException, number, ownClass };

/// What an entry point does each time that it is called, in this order: it calls `action`, reports, throws.
class Behaviour {
public:
    Behaviour& run(std::function<void(void* handle, TScicosAccessAPI2& access)> what) {
        action = std::move(what);
        return *this;
    }
    Behaviour& report(int messageLevel, const std::string& message) {
        reports = true;
        level = messageLevel;
        text = message;
        return *this;
    }
    Behaviour& raise(Thrown what) {
        thrown = what;
        return *this;
    }

    std::function<void(void* handle, TScicosAccessAPI2& access)> action;
    bool reports = false;
    int level = 0;
    std::string text;
    Thrown thrown = Thrown::nothing;
};

/// The environment variable with the address of the script, in hexadecimal digits.
inline constexpr const char* scriptVariable = "SCRIPTED_SOLVER";

/// The library finds it by `scriptVariable`.
struct SolverScript {
    /// Takes each call: "start", "deposit at 0.5: 1 2 3" with all input values, "request at 1", "terminate at 1".
    std::function<void(const std::string& call)> record;
    Behaviour behaviours[4];

    Behaviour& during(Entry entry) { return behaviours[static_cast<int>(entry)]; }

    /// From now on the solver neither reports nor throws.
    void behave() {
        for (Behaviour& behaviour : behaviours) behaviour = {};
    }
};
