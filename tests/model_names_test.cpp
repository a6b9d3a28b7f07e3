// The model's name as it is in model descriptions.
#include "resources/model_names.h"

#include <gtest/gtest.h>

#include "util/internal/owners.h"

TEST(ModelNames, AreTakenFromTheFirstLineWithTheWordUpToItsLastQuote) {
    const std::string longest(1010, ' ');
    const std::pair<std::string, const char*> rows[] = {
        {"<\nmodelName=\"Model\"\nmodelName=\"Later\">\n", "Model.xml"},
        {"modelName=\"A\" guid=\"B\">\n", "A\" guid=\"B.xml"},
        {"modelName='Model'>\n", "Model'>\n"},
        {"modelName = \"A\"", " \"A.xml"},
        {"modelName=\"\"", ".xml"},
        {"modelName", ""},
        {"no name", ""},
        {"", ""},
        {longest + "modelName=\"Model\"", "Mo"}, // lines are cut after 1023 characters
    };
    for (const auto& [content, name] : rows) {
        std::string copy = content + "\n";
        const Stream stream(fmemopen(copy.data(), copy.size(), "r"));
        EXPECT_EQ(modelFileName(stream.get()), name) << content;
    }
}
