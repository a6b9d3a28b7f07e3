// A library that is there when an interface library is linked, and not where that one is run.
[[gnu::visibility("default")]] void vanished() {}
