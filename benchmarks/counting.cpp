// Runs under callgrind, which writes a file of counts for each case. The file's trigger line has the case and the
// number of runs.
#include <cstdio>

#include <valgrind/callgrind.h>

#include "benchmarks/cases.h"

int main() {
    for (const Case& counted : makeCases(1024)) {
        const std::size_t runs = counted.prepare ? 1 : counted.size < 100 ? 100 : 10;
        const std::string name =
            counted.what + "/" + counted.side + "/" + std::to_string(counted.size) + "/" + std::to_string(runs);
        if (counted.prepare)
            counted.prepare();
        else
            counted.run(2); // symbols are bound in the first calls
        CALLGRIND_ZERO_STATS;
        counted.run(runs);
        CALLGRIND_DUMP_STATS_AT(name.c_str());
    }
}
