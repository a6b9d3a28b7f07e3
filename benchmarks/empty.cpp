// A library with one function and no dependencies: the floor of loading.
extern "C" [[gnu::visibility("default")]] void nothing() {}
