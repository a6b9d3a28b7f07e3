// The smallest master: minimal_master LIBRARY RESOURCE_LOCATION instantiates an FMU and sets its first real, which it
// has from its parameter files. Exit code 0 when that works, 1 when the library can't be loaded.
#include <cstdio>
#include <cstdlib>

#include <dlfcn.h>

#include "fmi/fmi2.h"

static void log(void*, fmi2String, fmi2Status, fmi2String, fmi2String text, ...) { std::fprintf(stderr, "%s\n", text); }

int main(int, char** arguments) {
    void* library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    const auto instantiate = reinterpret_cast<decltype(&fmi2Instantiate)>(dlsym(library, "fmi2Instantiate"));
    const auto setReal = reinterpret_cast<decltype(&fmi2SetReal)>(dlsym(library, "fmi2SetReal"));
    const fmi2CallbackFunctions callbacks{log, std::calloc, std::free, nullptr, nullptr};
    void* instance = instantiate("instance", fmi2CoSimulation, "guid", arguments[2], &callbacks, fmi2False, fmi2True);
    const fmi2ValueReference first = 0;
    const fmi2Real value = 1.0;
    return setReal(instance, &first, 1, &value) == fmi2OK ? 0 : 2;
}
