// Which variables of an instance were set since it was reset. A reset leaves all values as they are, but the next run
// starts from the model's own values again, except for those that are set anew. What is needed for that is kept here,
// beside the instance's record.
#pragma once

#include <atomic>
#include <vector>

#include "fmi/instance/fmu_instance.h"

/// One flag per variable, by value reference.
struct SetSinceReset {
    std::vector<bool> reals;
    std::vector<bool> integers;
    std::vector<bool> booleans;
    std::vector<bool> strings;
};

/// How many instances were reset and have not started since. While it is 0 a setter has nothing to note.
inline std::atomic<int> nResetInstances{0};

/// Notes that an instance was reset and nothing set since. False if the allocation fails.
bool noteReset(const FmuInstance* instance);

/// The flags of an instance that was reset and has not started since, to be changed by its own calls; otherwise null.
SetSinceReset* setSinceReset(const FmuInstance* instance);

/// Forgets the flags of an instance, if it has any: when its run has started, and when it is released.
void forgetReset(const FmuInstance* instance);
