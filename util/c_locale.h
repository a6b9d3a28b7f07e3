// Numbers in files are written with a full stop, whatever the master has chosen for its own texts. This header is for
// code that hands such numbers to the C library (strtod); it is no general switch of languages.
#pragma once

#include <locale.h>

/// While an object lives, its thread formats and parses in the "C" locale; the other threads and the locale that the
/// process has set are untouched. The thread's former locale is back when the object is gone. Destroy the objects of a
/// thread in reverse order, on the thread that made them.
class NumericLocaleScope {
public:
    NumericLocaleScope() : former_(uselocale(cLocale())) {}
    ~NumericLocaleScope() { uselocale(former_); }
    NumericLocaleScope(const NumericLocaleScope&) = delete;
    NumericLocaleScope& operator=(const NumericLocaleScope&) = delete;

private:
    /// Made once and kept. Null when it cannot be made: the scope then changes nothing.
    static locale_t cLocale() {
        static const locale_t locale = newlocale(LC_ALL_MASK, "C", locale_t{});
        return locale;
    }

    locale_t former_;
};
