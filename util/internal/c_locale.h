// Numbers in files use a decimal point, whatever locale the master has set. For code that parses such numbers with the
// C library (strtod).
#pragma once

#include <locale.h>

/// Switches the calling thread to the "C" locale for the lifetime of the object, then back to its former locale. Other
/// threads and the locale of the process are not affected. Destroy the objects of a thread in reverse order, on the
/// thread that created them.
class NumericLocaleScope {
public:
    NumericLocaleScope() : former_(uselocale(cLocale())) {}
    ~NumericLocaleScope() { uselocale(former_); }
    NumericLocaleScope(const NumericLocaleScope&) = delete;
    NumericLocaleScope& operator=(const NumericLocaleScope&) = delete;

private:
    /// Created once and never freed. Null when it cannot be created: the scope then changes nothing.
    static locale_t cLocale() {
        static const locale_t locale = newlocale(LC_ALL_MASK, "C", locale_t{});
        return locale;
    }

    locale_t former_;
};
