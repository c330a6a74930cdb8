// Evaluating an expression for a line: the same as pixel after pixel, to the bit.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/expression.hpp"
#include "support/line.hpp"
#include "support/outcome.hpp"
#include "support/random_expression.hpp"
#include "zel_features/evaluate/rows.hpp"
#include "zel_features/zel_features.h"

namespace {

using zel_test::Compiled;
using zel_test::Definitions;
using zel_test::difference;
using zel_test::Outcome;
using zel_test::PixelLine;
using zel_test::Random;
using zel_test::randomLine;
using zel_test::Row;
using zel_test::Texts;

void evaluate(PixelLine& line, const ZELStackStruct& stack)
{
    const ZELLineStruct structure = line.structure();
    ZELEvaluateLine(&stack, &line.record, &structure, line.values.data(), line.skipFlags.data());
}

void evaluateByPixels(PixelLine& line, const ZELStackStruct& stack)
{
    line.byPixels([&line, &stack](ZELPixelStruct& pixel, std::size_t i) {
        line.values[i] = ZELEvaluateStack(&stack, &pixel);
        line.skipFlags[i] = pixel.skipPixelFlag;
    });
}

void expectSame(const std::string& text, const PixelLine& line,
                const CommandListStruct* definitions = nullptr)
{
    const Compiled compiled(text, false, definitions);
    ASSERT_EQ(compiled.status, 0) << text;
    PixelLine by_pixels = line, by_rows = line;
    evaluateByPixels(by_pixels, compiled.stack);
    evaluate(by_rows, compiled.stack);
    ASSERT_EQ(difference(by_rows, by_pixels), "") << text;
}

// Instructions of every width that the processor has give the same results.
class ExpressionLineWidths : public testing::TestWithParam<zel::Width> {
protected:
    void SetUp() override { zel::limitKernelWidth(GetParam()); }
    void TearDown() override { zel::limitKernelWidth(zel::Width::widest); }
};
INSTANTIATE_TEST_SUITE_P(All, ExpressionLineWidths,
                         testing::Values(zel::Width::narrow, zel::Width::wide, zel::Width::widest));

TEST_P(ExpressionLineWidths, RandomExpressionsAreThoseOfThePixels)
{
    Texts texts(31);
    Random random(77);
    const int sizes[] = {1, 7, 64, 511, 512, 513, 1100};
    int compared = 0;
    for (int i = 0; i < 4000 && !HasFatalFailure(); ++i) {
        const std::string text = texts.nextSound();
        if (text.size() > 240) continue;
        expectSame(text, randomLine(random, sizes[random.below(i % 40 == 0 ? 7 : 3)]));
        ++compared;
    }
    EXPECT_GT(compared, 3500);
}

TEST_P(ExpressionLineWidths, EveryOperatorIsThatOfThePixel)
{
    Random random(5);
    for (const char* text : {"Ch1||Ch2",
                             "Ch1&&Ch2",
                             "Ch1!=Ch2",
                             "Ch1==Ch2",
                             "Ch1<=Ch2",
                             "Ch1>=Ch2",
                             "Ch1>Ch2",
                             "Ch1<Ch2",
                             "Ch1-Ch2",
                             "Ch1+Ch2",
                             "Ch1*Ch2",
                             "Ch1 saferatio Ch2",
                             "Ch1/Ch2",
                             "-Ch1",
                             "!Ch1",
                             "value(Ch1,Ch2,Ch3)",
                             "saturation(Ch1,Ch2,Ch3)",
                             "hue(Ch1,Ch2,Ch3)",
                             "length3(Ch1,Ch2,Ch3)",
                             "length2(Ch1,Ch2)",
                             "atan2(Ch1,Ch2)",
                             "tan(Ch1)",
                             "cos(Ch1)",
                             "sin(Ch1)",
                             "deg2rad(Ch1)",
                             "log10(Ch1)",
                             "log(Ch1)",
                             "exp(Ch1)",
                             "pow(Ch1,Ch2)",
                             "sqrt(Ch1)",
                             "pow(Ch1,2)",
                             "pow(2,Ch1)",
                             "value(1,Ch2,2)",
                             "hue(Ch1,3,4)"}) {
        PixelLine line = randomLine(random, 1500);
        for (Row& row : line.channelRows) {
            row.resize(1500);
            for (float& value : row) value = random.value();
        }
        expectSame(text, line);
    }
}

// Rows approximate these functions and ask the library in doubt: a few times in a million results
// (where they lie half-way between two floats), and for arguments out of the common range.
TEST_P(ExpressionLineWidths, FunctionsAreThoseOfThePixelForAnyArgument)
{
    constexpr int pixels = 300000;
    Random random(99);
    PixelLine line(pixels, 2);
    for (Row& row : line.channelRows)
        for (std::size_t i = 0; i < row.size(); ++i)
            row[i] = i % 2 == 0 ? random.anyFloat() : random.value();
    using Limits = std::numeric_limits<float>;
    const float special[] = {0.0f,
                             1.0f,
                             2.0f,
                             0.5f,
                             Limits::infinity(),
                             Limits::min(),
                             Limits::max(),
                             88.0f,
                             Limits::denorm_min(),
                             1e6f};
    std::size_t place = 0;
    for (const float a : special)
        for (const float b : special)
            for (int signs = 0; signs < 4; ++signs, ++place) {
                line.channelRows[0][place] = signs % 2 == 0 ? a : -a;
                line.channelRows[1][place] = signs / 2 == 0 ? b : -b;
            }
    line.channelRows[0][place] = Limits::quiet_NaN();
    for (const char* text :
         {"tan(Ch1)", "cos(Ch1)", "sin(Ch1)", "log10(Ch1)", "log(Ch1)", "exp(Ch1)", "sqrt(Ch1)",
          "pow(Ch1,Ch2)", "pow(Ch1,0.5)", "pow(1.5,Ch1)", "pow(Ch1,2)", "atan2(Ch1,Ch2)",
          "atan2(Ch1,1)", "atan2(0,Ch1)"})
        expectSame(text, line);
}

// Values that every pixel shares may stand on either side.
TEST(ExpressionLine, ConstantsStandOnEitherSide)
{
    Random random(6);
    for (const char* text : {"2-Ch1", "Ch1-(2)", "1/Ch1", "Ch1/3", "register1*Ch1", "Ch1<year",
                             "2*3+4", "(2*3)+Ch1", "register1", "3", ""})
        expectSame(text, randomLine(random, 600));
}

TEST(ExpressionLine, ARegisterThatIsReadFirstCarriesOver)
{
    PixelLine line(1000, 1);
    for (std::size_t i = 0; i < 1000; ++i) line.channelRows[0][i] = static_cast<float>(i);
    const Compiled sum("register1=register1+Ch1");
    evaluate(line, sum.stack);
    EXPECT_EQ(line.values[0], 0.0f);
    EXPECT_EQ(line.values[10], 55.0f);
    EXPECT_EQ(line.values[999], 499500.0f);
    EXPECT_EQ(line.record.Registers[0], 499500.0f);
}

TEST(ExpressionLine, ARegisterThatIsAssignedFirstHoldsTheLastPixelAfterwards)
{
    PixelLine line(1000, 1);
    for (std::size_t i = 0; i < 1000; ++i) line.channelRows[0][i] = static_cast<float>(i);
    const Compiled twice("(register1=Ch1)+register1");
    evaluate(line, twice.stack);
    EXPECT_EQ(line.values[999], 1998.0f);
    EXPECT_EQ(line.record.Registers[0], 999.0f);
    const Compiled constant("(register2=4)*(register2+Ch1)");
    evaluate(line, constant.stack);
    EXPECT_EQ(line.values[3], 28.0f);
    EXPECT_EQ(line.record.Registers[1], 4.0f);
}

TEST(ExpressionLine, AVariableWithoutARowIsTheRecords)
{
    PixelLine line(700, 1);
    line.record.year = 2000.0f;
    const Compiled read("year+Ch1");
    evaluate(line, read.stack);
    EXPECT_EQ(line.values[699], 2001.0f);
    const Compiled count("year=year+1");
    evaluate(line, count.stack);
    EXPECT_EQ(line.values[0], 2001.0f);
    EXPECT_EQ(line.values[699], 2700.0f);
    EXPECT_EQ(line.record.year, 2700.0f);
}

// By rows, and pixel after pixel where a register carries over.
TEST(ExpressionLine, AChannelWithoutARowIsZeroAlsoAfterAnAssignment)
{
    for (const char* text : {"(Ch1=7)*2+Ch1+Ch2", "(Ch1=7)*2+Ch1+Ch2+0*(register1=register1)"}) {
        PixelLine line(3, 2);
        line.channelRows[0].clear();
        const Compiled compiled(text, false);
        ASSERT_EQ(compiled.status, 0) << text;
        evaluate(line, compiled.stack);
        EXPECT_EQ(line.values, Row(3, 16.0f)) << text;  // 14 + 0 + 2
        EXPECT_TRUE(line.channelRows[0].empty());
    }
}

TEST(ExpressionLine, FieldsThatHaveARowStayAsTheyAreInTheRecord)
{
    PixelLine line(3, 1);
    line.record.Class = 5.0f;
    line.giveRow(12, 8.0f);
    const Compiled compiled("class=class+Ch1");
    evaluate(line, compiled.stack);
    EXPECT_EQ(line.fieldRows[12], Row({9.0f, 9.0f, 9.0f}));
    EXPECT_EQ(line.record.Class, 5.0f);
}

TEST(ExpressionLine, AnyRecordWillDoWhateverTheVariablesAreBoundTo)
{
    ZELPixelStruct elsewhere = {};
    elsewhere.sz = 50.0f;
    ZELBindPixel(&elsewhere);
    PixelLine line(2, 1);
    line.record.sz = 3.0f;
    const Compiled compiled("sz=sz+Ch1");
    evaluate(line, compiled.stack);
    EXPECT_EQ(line.values, Row({4.0f, 5.0f}));
    EXPECT_EQ(elsewhere.sz, 50.0f);
    ZELBindPixel(nullptr);
}

TEST(ExpressionLine, PendingValuesKeepWhatTheyWereBeforeAnAssignment)
{
    Random random(8);
    for (const char* text :
         {"Ch1+(Ch1=5)", "(Ch1)+(Ch2)+(Ch1=Ch2)+(Ch1)", "Ch1*(Ch1=Ch1+1)", "lat-(lat=Ch2)",
          "(register1=Ch1)+(register1=Ch2)", "pow(register1=Ch1,register1=2)",
          "(Ch1=Ch1)+(Ch2=Ch1)", "(77=Ch1+Ch2)*3", "(Ch6=Ch1+1)-(Ch6)", "class=class,class=class+1",
          "(register1=Ch1)+((register1=Ch2)+(register1=Ch3))"})
        expectSame(text, randomLine(random, 530));
}

TEST(ExpressionLine, TargetsThatAreComputedWork)
{
    PixelLine line(3, 2);
    line.channelRows[0] = {100.0f, 101.0f, 500.0f};  // channel 1, channel 2, register 1
    const Compiled compiled("(0+Ch1)=9");            // the right side of a target is read
    evaluate(line, compiled.stack);
    EXPECT_EQ(line.channelRows[0], Row({9.0f, 101.0f, 500.0f}));
    EXPECT_EQ(line.channelRows[1], Row({2.0f, 9.0f, 2.0f}));
    EXPECT_EQ(line.record.Registers[0], 9.0f);
}

TEST(ExpressionLine, SkipPixelMarksEveryPixel)
{
    PixelLine line(600, 1);
    const Compiled compiled("(class=3)+(skip_pixel)");
    evaluate(line, compiled.stack);
    EXPECT_EQ(line.values, Row(600, 0.0f));
    EXPECT_EQ(line.skipFlags, std::vector<int>(600, 1));
    EXPECT_EQ(line.record.skipPixelFlag, 1);
    EXPECT_EQ(line.record.Class, 3.0f);
    const Compiled plain("Ch1");
    evaluate(line, plain.stack);
    EXPECT_EQ(line.skipFlags, std::vector<int>(600, 0));
    EXPECT_EQ(line.record.skipPixelFlag, 0);
}

TEST(ExpressionLine, SkipFlagsMayBeLeftOut)
{
    PixelLine line(3, 1);
    const ZELLineStruct structure = line.structure();
    for (const char* text : {"Ch1+1", "register1=register1+1", "skip_pixel"}) {
        const Compiled compiled(text);
        ZELEvaluateLine(&compiled.stack, &line.record, &structure, line.values.data(), nullptr);
    }
    EXPECT_EQ(line.record.skipPixelFlag, 1);
    EXPECT_EQ(line.skipFlags, std::vector<int>(3, -77));
}

TEST(ExpressionLine, TheResultMayTakeTheRowOfAnArgument)
{
    for (const char* text : {"Ch1*Ch2+Ch1", "Ch1", "Ch2/Ch1-Ch2"}) {
        PixelLine line(1200, 2);
        for (std::size_t i = 0; i < 1200; ++i)
            line.channelRows[0][i] = static_cast<float>(i) + 1.0f;
        PixelLine separate = line;
        const Compiled compiled(text);
        evaluate(separate, compiled.stack);
        const ZELLineStruct structure = line.structure();
        ZELEvaluateLine(&compiled.stack, &line.record, &structure, line.channelRows[0].data(),
                        nullptr);
        EXPECT_EQ(line.channelRows[0], separate.values) << text;
    }
}

// The plan of an expression is kept, and made again when it no longer fits.
TEST(ExpressionLine, AnExpressionThatIsChangedIsNoticed)
{
    const Compiled compiled("Ch1+2");
    PixelLine line(3, 1);
    evaluate(line, compiled.stack);
    EXPECT_EQ(line.values, Row(3, 3.0f));
    compiled.stack.stackHead->nextElement->op.float_t = 5.0f;
    evaluate(line, compiled.stack);
    EXPECT_EQ(line.values, Row(3, 6.0f));
    compiled.stack.stackHead->nextElement->nextElement->op.int_t = MUL;
    evaluate(line, compiled.stack);
    EXPECT_EQ(line.values, Row(3, 5.0f));
}

TEST(ExpressionLine, OtherRowsAndOtherValuesOfTheRecordAreNoticed)
{
    const Compiled compiled("(Ch1+register1)*sz");
    PixelLine line(3, 2);
    line.record.Registers[0] = 1.0f;
    line.record.sz = 10.0f;
    evaluate(line, compiled.stack);
    EXPECT_EQ(line.values, Row(3, 20.0f));
    line.record.Registers[0] = 2.0f;
    evaluate(line, compiled.stack);
    EXPECT_EQ(line.values, Row(3, 30.0f));
    line.giveRow(4, 100.0f);
    evaluate(line, compiled.stack);
    EXPECT_EQ(line.values, Row(3, 300.0f));
    line.registerRows[0] = line.newRow(5.0f);
    evaluate(line, compiled.stack);
    EXPECT_EQ(line.values, Row(3, 600.0f));
    line.channelRows[0].clear();
    evaluate(line, compiled.stack);
    EXPECT_EQ(line.values, Row(3, 500.0f));
    line.channelRows.clear();
    line.channelRows.emplace_back(3, 7.0f);
    evaluate(line, compiled.stack);
    EXPECT_EQ(line.values, Row(3, 1200.0f));
}

TEST(ExpressionLine, MoreExpressionsThanPlansAreKeptApart)
{
    std::vector<std::unique_ptr<Compiled>> all;
    for (int i = 0; i < 70; ++i)
        all.push_back(std::make_unique<Compiled>("Ch1+" + std::to_string(i)));
    PixelLine line(3, 1);
    for (int round = 0; round < 2; ++round)
        for (int i = 0; i < 70; ++i) {
            evaluate(line, all[static_cast<std::size_t>(i)]->stack);
            EXPECT_EQ(line.values, Row(3, static_cast<float>(i + 1)));
        }
}

TEST(ExpressionLine, ARegisterWithARowIsEachPixelsOwn)
{
    PixelLine line(3, 1);
    line.registerRows[0] = {10.0f, 20.0f, 30.0f};
    const Compiled compiled("register1=register1+Ch1");
    evaluate(line, compiled.stack);
    EXPECT_EQ(line.registerRows[0], Row({11.0f, 21.0f, 31.0f}));
    EXPECT_EQ(line.record.Registers[0], 0.0f);
}

TEST(ExpressionLine, LargeExpressionsWork)
{
    Random random(12);
    // More pending values, more steps and more registers than are computed by rows.
    std::string deep = "Ch1";
    for (int i = 0; i < 30; ++i) deep = "Ch1-(" + std::move(deep) + ")";
    expectSame(deep, randomLine(random, 520));
    std::string deeper = "sz";
    for (int i = 0; i < 47; ++i) deeper = std::string("sz-(") + deeper + ")";
    ASSERT_LE(deeper.size(), 240U);
    expectSame(deeper, randomLine(random, 520));

    const Definitions names{{"ten", "Ch1+Ch2+Ch3+Ch4+Ch5+Ch1+Ch2+Ch3+Ch4+Ch5"}};
    std::string wide = "(ten)";
    for (int i = 0; i < 20; ++i) wide += "+(ten)";
    expectSame(wide, randomLine(random, 520), names.first());

    std::string registers = "(register1=Ch1)";
    for (int i = 2; i <= 12; ++i) registers += "+(register" + std::to_string(i) + "=Ch2)";
    expectSame(registers, randomLine(random, 520));
}

TEST(ExpressionLine, FailuresAreThoseOfTheFirstPixel)
{
    for (const char* text : {"Ch7", "Ch0=1", "register21", "1+", "(register1=3)+Ch9"}) {
        SCOPED_TRACE(text);
        const Compiled compiled(text, false);
        ZELPixelStruct pixel = {};
        Row channels(5, 1.0f);
        pixel.Channels = channels.data();
        pixel.numChannels = 5;
        PixelLine line(4);
        errno = 0;
        const Outcome one = zel_test::run([&] { ZELEvaluateStack(&compiled.stack, &pixel); });
        ZELBindPixel(nullptr);
        const Outcome all = zel_test::run([&] { evaluate(line, compiled.stack); });
        EXPECT_TRUE(one.ended);
        EXPECT_TRUE(all.ended);
        EXPECT_EQ(all.status, -1);
        EXPECT_EQ(all.out, one.out);
        EXPECT_EQ(all.err, one.err);
        EXPECT_EQ(line.record.Registers[0], pixel.Registers[0]);
    }
}

TEST(ExpressionLine, FailuresOfAListThatNoCompilerMadeAreThoseOfThePixelToo)
{
    constexpr int most = std::numeric_limits<int>::max();
    const std::pair<int, int> elements[] = {{VAR, -1},         {VAR, 19},
                                            {VAR, most},       {CHAN, -most - 1},
                                            {CHAN, most},      {CHAN_LVALUE, -most - 1},
                                            {REG, -most - 1},  {REG_LVALUE, most},
                                            {OPER, -most - 1}, {8, 0}};
    for (const auto& [type, operand] : elements) {
        const Compiled compiled("Ch1");
        compiled.stack.stackHead->type = type;
        compiled.stack.stackHead->op.int_t = operand;
        PixelLine line(4), pixels(4);
        errno = 0;
        const Outcome all = zel_test::run([&] { evaluate(line, compiled.stack); });
        const Outcome one = zel_test::run([&] { evaluateByPixels(pixels, compiled.stack); });
        ZELBindPixel(nullptr);
        EXPECT_TRUE(all.ended) << type << " " << operand;
        EXPECT_EQ(all.status, -1);
        EXPECT_EQ(all.err, one.err);
        EXPECT_NE(all.err, "");
    }
}

TEST(ExpressionLine, NoPixelsAreNoWork)
{
    PixelLine line(0);
    line.record.skipPixelFlag = 5;
    const Compiled wrong("Ch9");
    evaluate(line, wrong.stack);
    EXPECT_EQ(line.record.skipPixelFlag, 5);
}

}  // namespace
