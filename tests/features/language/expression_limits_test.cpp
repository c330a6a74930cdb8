// What keeps a small text from becoming a large expression.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/outcome.hpp"
#include "zel/zel_features/zel_features.h"

namespace {

TEST(ExpressionLimits, DefinitionsThatDoubleEndWithASyntaxError)
{
    CommandStruct definitions{};
    std::string text = "Ch1+Ch1";
    int status = ZEL_PARSE_OK;
    int lines = 0;
    zel_test::run([&] {
        for (; status == ZEL_PARSE_OK && lines < 40; ++lines) {
            ZELStackStruct* stack = parseCondition(text.c_str(), &status, 1, definitions.ListHead);
            if (!stack) break;
            CommandListStruct* entry = allocateNewCommand(&definitions);
            const std::string label = "d" + std::to_string(lines);
            entry->Label = strdup(label.c_str());
            entry->Condition = stack;
            text = label + "+" + label;
        }
        freeCommandList(&definitions);
    });
    EXPECT_EQ(status, ZEL_PARSE_SYNTAX_ERROR);
    EXPECT_GT(lines, 10);
    EXPECT_LT(lines, 20);
}

}  // namespace
