// Thousands of random expressions: the library against a second, naive evaluator, and the evaluator
// of a line against that of a pixel.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "support/expression.hpp"
#include "support/naive_expression.hpp"
#include "support/outcome.hpp"
#include "support/random_expression.hpp"
#include "zel_features/zel_features.h"

namespace {

using zel_test::Compiled;
using zel_test::naiveCompile;
using zel_test::naiveDump;
using zel_test::naiveEvaluate;
using zel_test::NaivePixel;
using zel_test::NaiveResult;
using zel_test::Random;
using zel_test::same;
using zel_test::Texts;

constexpr int numChannels = 5;

// The library's pixel record with the values of a naive one.
struct Mirror {
    explicit Mirror(const NaivePixel& naive) : channels(naive.channels)
    {
        const auto& v = naive.variables;
        record.Class = v[0];
        record.sz = v[1];
        record.vz = v[3];
        record.az = v[5];
        record.sg = v[7];
        record.lat = v[9];
        record.lon = v[11];
        record.olsonEco = v[13];
        record.igbpEco = v[14];
        record.percentWater = v[15];
        record.terrain = v[16];
        record.jday = v[17];
        record.year = v[18];
        record.Channels = channels.data();
        record.numChannels = static_cast<int>(channels.size());
        for (std::size_t i = 0; i < 20; ++i) record.Registers[i] = naive.registers[i];
    }
    bool agreesWith(const NaivePixel& naive) const
    {
        const auto& v = naive.variables;
        const ZELPixelStruct& r = record;
        bool agrees = same(r.Class, v[0]) && same(r.sz, v[1]) && same(r.vz, v[3]) &&
                      same(r.az, v[5]) && same(r.sg, v[7]) && same(r.lat, v[9]) &&
                      same(r.lon, v[11]) && same(r.olsonEco, v[13]) && same(r.igbpEco, v[14]) &&
                      same(r.percentWater, v[15]) && same(r.terrain, v[16]) &&
                      same(r.jday, v[17]) && same(r.year, v[18]) &&
                      (r.skipPixelFlag != 0) == naive.skipped;
        for (std::size_t i = 0; i < 20; ++i)
            agrees = agrees && same(r.Registers[i], naive.registers[i]);
        for (std::size_t i = 0; i < channels.size(); ++i)
            agrees = agrees && same(channels[i], naive.channels[i]);
        return agrees;
    }

    std::vector<float> channels;
    ZELPixelStruct record = {};
};

NaivePixel randomPixel(Random& random)
{
    NaivePixel pixel;
    for (float& value : pixel.variables) value = random.value();
    for (std::size_t i = 1; i <= 11; i += 2) pixel.variables[i + 1] = pixel.variables[i];
    for (int i = 0; i < numChannels; ++i) pixel.channels.push_back(random.value());
    for (float& value : pixel.registers) value = random.value();
    return pixel;
}

TEST(ExpressionRandom, CompilesLikeTheNaiveOne)
{
    Texts texts(20011);
    int compiled_well = 0;
    for (int i = 0; i < 8000; ++i) {
        const std::string text = texts.next();
        for (const bool check : {true, false}) {
            const NaiveResult naive = naiveCompile(text, check);
            const Compiled compiled(text, check);
            ASSERT_EQ(compiled.status, naive.status) << text;
            if (compiled.status != 0) continue;
            compiled_well += check ? 1 : 0;
            ASSERT_EQ(zel_test::run([&] { printStack(&compiled.stack); }).out,
                      naiveDump(naive.items))
                << text;
        }
    }
    EXPECT_GT(compiled_well, 2000);
}

TEST(ExpressionRandom, EvaluatesLikeTheNaiveOne)
{
    Texts texts(577);
    Random random(9);
    int values = 0, failures = 0;
    for (int i = 0; i < 8000; ++i) {
        const std::string text = i % 2 == 0 ? texts.next() : texts.nextSound();
        const NaiveResult naive = naiveCompile(text, false);
        if (naive.status != 0) continue;
        const Compiled compiled(text, false);
        NaivePixel pixel = randomPixel(random);
        Mirror mirror(pixel);
        ZELBindPixel(&mirror.record);
        std::string failure;
        const float expected = naiveEvaluate(naive.items, pixel, failure);
        float value = 0;
        errno = 0;
        const auto outcome =
            zel_test::run([&] { value = ZELEvaluateStack(&compiled.stack, &mirror.record); });
        ZELBindPixel(nullptr);
        ASSERT_EQ(outcome.ended, !failure.empty()) << text;
        ASSERT_NE((outcome.out + outcome.err).find(failure), std::string::npos) << text;
        ASSERT_TRUE(mirror.agreesWith(pixel)) << text;
        ++(outcome.ended ? failures : values);
        ASSERT_TRUE(outcome.ended || same(value, expected))
            << text << ": " << value << ", not " << expected;
    }
    EXPECT_GT(values, 4000);
    EXPECT_GT(failures, 100);
}

// A tree and its value: parentheses everywhere, so that no rule of the grammar decides anything.
struct Tree {
    std::string text;
    float value;
};

Tree randomTree(Random& random, int depth)
{
    if (depth == 0) {
        const int n = random.below(1000);
        return {std::to_string(n), static_cast<float>(n)};
    }
    const Tree a = randomTree(random, depth - 1), b = randomTree(random, random.below(depth));
    const auto joined = [&](const char* text, float value) {
        return Tree{"(" + a.text + ")" + text + "(" + b.text + ")", value};
    };
    switch (random.below(7)) {
    case 0:
        return joined("+", a.value + b.value);
    case 1:
        return joined("-", a.value - b.value);
    case 2:
        return joined("*", a.value * b.value);
    case 3:
        return joined("/", a.value / b.value);
    case 4:
        return joined("<", a.value < b.value ? 1.0f : 0.0f);
    case 5:
        return {"-(" + a.text + ")", -a.value};
    default:
        return {"length2(" + a.text + "," + b.text + ")", a.value * a.value + b.value * b.value};
    }
}

TEST(ExpressionRandom, ParenthesesMakeAnyTree)
{
    Random random(4242);
    ZELPixelStruct pixel = {};
    for (int i = 0; i < 5000; ++i) {
        const Tree tree = randomTree(random, 1 + random.below(4));
        if (tree.text.size() > 240) continue;
        const Compiled compiled(tree.text);
        ASSERT_EQ(compiled.status, 0) << tree.text;
        const float value = ZELEvaluateStack(&compiled.stack, &pixel);
        ASSERT_TRUE(same(value, tree.value))
            << tree.text << ": " << value << ", not " << tree.value;
    }
    ZELBindPixel(nullptr);
}

}  // namespace
