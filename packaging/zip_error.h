// What libzip says of an archive that it doesn't open.
#pragma once

#include <string>

#include <zip.h>

namespace packaging {

/// The text of an error code that `zip_open` gave.
inline std::string zipErrorText(int code) {
    zip_error_t error;
    zip_error_init_with_code(&error, code);
    std::string text = zip_error_strerror(&error);
    zip_error_fini(&error);
    return text;
}

} // namespace packaging
