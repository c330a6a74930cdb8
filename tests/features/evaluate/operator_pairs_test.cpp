// Two operators that are computed in one pass: the same as one after the other, to the bit.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "support/expression.hpp"
#include "support/line.hpp"
#include "support/random_expression.hpp"
#include "zel_features/evaluate/pairs.hpp"
#include "zel_features/zel_features.h"

namespace {

using zel_test::Compiled;
using zel_test::PixelLine;
using zel_test::Random;

constexpr std::array operators = {"-", "+", "*", "/", "!=", "==", "<=", ">=", ">", "<", "&&", "||"};

// Values that are equal, zero or not finite often enough for each comparison.
PixelLine lineOf(Random& random)
{
    constexpr float few[] = {0.0f, -0.0f, 1.0f, -1.0f, 2.5f, 3.0f, INFINITY, -INFINITY};
    PixelLine line = zel_test::randomLine(random, 600);
    for (zel_test::Row& row : line.channelRows) {
        row.resize(600);
        for (float& value : row)
            value = random.below(3) == 0 ? few[random.below(8)] : random.value();
    }
    return line;
}

void expectSame(const std::string& text, const PixelLine& line)
{
    const Compiled compiled(text);
    ASSERT_EQ(compiled.status, 0) << text;
    PixelLine byPixels = line, byRows = line;
    byPixels.byPixels([&](ZELPixelStruct& pixel, std::size_t i) {
        byPixels.values[i] = ZELEvaluateStack(&compiled.stack, &pixel);
        byPixels.skipFlags[i] = pixel.skipPixelFlag;
    });
    const ZELLineStruct structure = byRows.structure();
    ZELEvaluateLine(&compiled.stack, &byRows.record, &structure, byRows.values.data(),
                    byRows.skipFlags.data());
    ASSERT_EQ(zel_test::difference(byRows, byPixels), "") << text;
}

class OperatorPairs : public testing::TestWithParam<zel::Width> {
protected:
    void SetUp() override { zel::limitKernelWidth(GetParam()); }
    void TearDown() override { zel::limitKernelWidth(zel::Width::widest); }
};
INSTANTIATE_TEST_SUITE_P(All, OperatorPairs,
                         testing::Values(zel::Width::narrow, zel::Width::wide, zel::Width::widest));

TEST_P(OperatorPairs, AreThoseOfThePixelInEitherPlace)
{
    Random random(11);
    const PixelLine line = lineOf(random);
    const std::vector<std::array<std::string, 3>> arguments = {
        {"Ch1", "Ch2", "Ch3"}, {"2.5", "Ch2", "Ch3"}, {"Ch1", "0", "Ch3"},  {"Ch1", "Ch2", "1"},
        {"Ch1", "3", "2.5"},   {"1", "Ch2", "0"},     {"Ch1", "Ch1", "Ch1"}};
    for (const std::string first : operators)
        for (const std::string second : operators)
            for (const auto& [a, b, c] : arguments) {
                const std::string between = "(" + a + first + b + ")";
                ASSERT_NO_FATAL_FAILURE(expectSame(between + second + c, line));
                ASSERT_NO_FATAL_FAILURE(expectSame(c + second + between, line));
            }
}

TEST_P(OperatorPairs, LeaveValuesAloneThatAreStillPending)
{
    Random random(12);
    const PixelLine line = lineOf(random);
    for (const char* text :
         {"(Ch1+Ch2)*((Ch1-Ch2)*(Ch3+Ch1))-(Ch2*Ch3+Ch1)", "Ch1-(Ch2-(Ch3-(Ch1*Ch2)))",
          "(Ch1=Ch1+Ch2)*Ch3-Ch1", "(Register1=Ch1+Ch2)*Ch3-Register1"})
        ASSERT_NO_FATAL_FAILURE(expectSame(text, line));
}

TEST(PairKernels, AreThereForArithmeticAndForTruthsOfComparisons)
{
    EXPECT_NE(zel::pairKernelOf(ADD, DIV, 0), nullptr);
    EXPECT_NE(zel::pairKernelOf(ADD, DIV, 1), zel::pairKernelOf(ADD, DIV, 0));
    EXPECT_NE(zel::pairKernelOf(GREATERTHAN, AND, 1), nullptr);
    EXPECT_EQ(zel::pairKernelOf(ADD, AND, 0), nullptr);
    EXPECT_EQ(zel::pairKernelOf(GREATERTHAN, ADD, 0), nullptr);
    EXPECT_EQ(zel::pairKernelOf(RATIO, ADD, 0), nullptr);
    EXPECT_EQ(zel::pairKernelOf(-1, ADD, 0), nullptr);
}

}  // namespace
