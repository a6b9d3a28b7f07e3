// The two constants that need no instance.
#include "fmi/fmi2.h"

const char* fmi2GetVersion() { return "2.0"; }

const char* fmi2GetTypesPlatform() { return "default"; }
