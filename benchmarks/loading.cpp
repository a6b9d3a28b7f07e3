// Loads libraries one after the other with all symbols bound, then looks up names in the last one. Prints the
// nanoseconds of each load and of all look-ups: loading LIBRARY... -- NAME...
#include <stdio.h>
#include <string.h>
#include <time.h>

#include <dlfcn.h>

static double now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return 1e9 * static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec);
}

int main(int argc, char** argv) {
    void* last = nullptr;
    int i = 1;
    for (; i < argc && strcmp(argv[i], "--") != 0; ++i) {
        const double start = now();
        last = dlopen(argv[i], RTLD_NOW | RTLD_LOCAL);
        printf("%.0f\n", now() - start);
        if (last == nullptr) {
            fprintf(stderr, "%s\n", dlerror());
            return 1;
        }
    }
    const double start = now();
    for (++i; i < argc; ++i)
        if (dlsym(last, argv[i]) == nullptr) return 1;
    printf("%.0f\n", now() - start);
}
