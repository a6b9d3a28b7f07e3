// What a test tells the scripted interface library, and how it hears of the calls. Shared by both sides.
#pragma once

/// The environment variable with the address of the script, in hexadecimal digits.
inline constexpr const char* scriptVariable = "SCRIPTED_SOLVER";

/// By entry point: start, deposit, request, terminate.
struct SolverScript {
    void (*record)(const char* line);
    int report[4]; ///< the level of a message, plus 10; 0: no message
    int raise[4];  ///< what is thrown then: 1 a standard exception, 2 an int, 3 a class of the library
};
