// Locations as masters write them, and the paths that come of them.
#include "resources/resource_location.h"

#include <memory>

#include <gtest/gtest.h>

#include "util/internal/owners.h"

TEST(ResourceLocation, BecomesAPathByTheUriParserOrByItsPrefixAlone) {
    const struct {
        const char* location;
        const char* parsed; // null: there is no path
        int prefix;
        const char* stripped;
    } rows[] = {
        {"file:///opt/fmu/resources", "/opt/fmu/resources", 7, "/opt/fmu/resources"},
        {"FILE:///a%20b", "/a b", 7, "/a%20b"},
        {"file:////tmp/x/", "//tmp/x/", 7, "//tmp/x/"},
        {"file://host/dir/x?q#f", "/dir/x", 7, "host/dir/x?q#f"},
        {"file:///C:/dir", "/C:/dir", 7, "/C:/dir"},
        {"file:/tmp/x", "/tmp/x", 0, "file:/tmp/x"},
        {"file://", nullptr, 0, "file://"},
        {"file://host", nullptr, 7, "host"},
        {"file:///with space", "file:///with space", 7, "/with space"}, // not a URI: taken verbatim
        {"file:///50%", "file:///50%", 7, "/50%"},
        {"dir/x", "dir/x", 0, "dir/x"},
        {"", nullptr, 0, ""},
        {nullptr, nullptr, 0, nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.location != nullptr ? row.location : "null");
        EXPECT_STREQ(MallocText(convert_URI_to_path(row.location)).get(), row.parsed);
        EXPECT_EQ(isURIFile(row.location), row.prefix);
        char* stripped = nullptr;
        ConvertFmuLocationToPath(row.location, &stripped);
        EXPECT_STREQ(std::unique_ptr<char[]>(stripped).get(), row.stripped);
    }
}
