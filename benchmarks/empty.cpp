// A library with one function and no other library: what loading costs at least.
extern "C" [[gnu::visibility("default")]] void nothing() {}
