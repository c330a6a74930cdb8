// Programs and filters for a line: the same as pixel after pixel, to the bit.
#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include "support/expression.hpp"
#include "support/line.hpp"
#include "support/program.hpp"
#include "zel_features/evaluate/rows.hpp"

namespace {

using zel_test::difference;
using zel_test::Outcome;
using zel_test::PixelLine;
using zel_test::Program;
using zel_test::Random;
using zel_test::randomLine;
using zel_test::Row;
using zel_test::Texts;

using Flags = std::vector<int>;

// ---- One program on one line, both ways ----

struct Ran {
    PixelLine line;
    Flags results;
    Outcome outcome;
};

Ran byRows(const ProgramStruct* program, const PixelLine& line, const int* passedOver = nullptr)
{
    Ran ran = {line, Flags(line.values.size(), -77), {}};
    const ZELLineStruct structure = ran.line.structure();
    errno = 0;
    ran.outcome = zel_test::run([&] {
        ZELExecuteProgramLine(program, &ran.line.record, &structure, passedOver,
                              ran.results.data());
    });
    return ran;
}

Ran byPixels(const ProgramStruct* program, const PixelLine& line, const int* passedOver = nullptr)
{
    Ran ran = {line, Flags(line.values.size(), -77), {}};
    errno = 0;
    ran.outcome = zel_test::run([&] {
        ran.line.byPixels([&](ZELPixelStruct& pixel, std::size_t i) {
            const bool passed = passedOver && passedOver[i] != 0;
            ran.results[i] = passed ? passedOver[i] : executeProgram(program, &pixel);
        });
    });
    ZELBindPixel(nullptr);
    return ran;
}

void expectSame(const std::string& text, const PixelLine& line, const int* passedOver = nullptr)
{
    const Program program(text);
    ASSERT_TRUE(program.first) << text << program.outcome.err;
    const Ran pixels = byPixels(program.first, line, passedOver);
    const Ran rows = byRows(program.first, line, passedOver);
    ASSERT_FALSE(pixels.outcome.ended) << text << pixels.outcome.err;
    ASSERT_EQ(difference(rows.line, pixels.line), "") << text;
    ASSERT_EQ(rows.results, pixels.results) << text;
    ASSERT_EQ(rows.outcome.err, pixels.outcome.err) << text;
}

// ---- Random programs ----

class Programs {
public:
    explicit Programs(unsigned seed) : texts_(seed), random_(seed) {}

    std::string next()
    {
        text_.clear();
        block(3);
        text_ += "register1=register1\n";  // something after the last endif or single-line if
        return text_;
    }

private:
    std::string expression()
    {
        const std::string text = texts_.nextSound();
        const bool skips = text.find("skip_pixel") != std::string::npos;
        return text.size() <= 200 && !skips && zel_test::Compiled(text).status == 0 ? text : "Ch2";
    }
    std::string condition()
    {
        static const char* const common[] = {"Ch1>Ch2", "sz>20",         "Ch3<0&&Ch2>0", "class==2",
                                             "Ch1",     "register1>lat", "!(Ch2==1)",    "1",
                                             "vz/lat",  "register2==1",  "lon>50",       "0.5"};
        return random_.oneIn(4) ? expression() : random_.of(common);
    }
    std::string statement()
    {
        static const char* const simple[] = {"class=2",
                                             "class=class+1",
                                             "register1=Ch1/Ch2",
                                             "register2=Ch1>Ch3",
                                             "register2=5",
                                             "register3=register1*2",
                                             "Ch2=Ch1*0.5",
                                             "year=lat",
                                             "weightclasses 3,5:Ch1*0.1",
                                             "weightclasses 7:0",
                                             "weightclasses 3: register1+1",
                                             "sz=sqrt(lat)"};
        if (random_.oneIn(25)) return "skip_pixel";
        if (random_.oneIn(40)) return "return";
        return random_.oneIn(6) ? expression() : random_.of(simple);
    }
    void add(const std::string& line) { text_ += line + "\n"; }

    void block(int depth)
    {
        for (int n = 1 + random_.below(4); n > 0; --n) {
            const int kind = depth > 0 ? random_.below(6) : 5;
            if (kind == 0) {
                add("if (" + condition() + ") " + statement());
                add(statement());
            } else if (kind == 1 || kind == 2) {
                add("if (" + condition() + ") then");
                block(depth - 1);
                if (kind == 2) {
                    add("else");
                    block(depth - 1);
                }
                add("endif");
            } else if (kind == 3) {
                add("if (" + condition() + ") then");
                block(depth - 1);
                add("else if (" + condition() + ") then");
                block(depth - 1);
                add("endif");
            } else {
                add(statement());
            }
        }
    }

    Texts texts_;
    Random random_;
    std::string text_;
};

// Registers are often written first, as programs in use do: such a program runs on rows.
std::string withRegistersSet(const std::string& text)
{
    return "register1=Ch2-Ch1\nregister2=sz\nregister3=0\nyear=2000\nclass=0\nsz=30\n" + text;
}

PixelLine randomProgramLine(Random& random)
{
    static const int sizes[] = {1, 5, 40, 511, 512, 513, 1030};
    PixelLine line =
        randomLine(random, sizes[random.oneIn(12) ? random.below(7) : random.below(3)]);
    // In a record, a channel without a row would keep a value until the end of the program.
    for (Row& row : line.channelRows)
        if (row.empty()) row = line.newRow(3.0f);
    for (const std::size_t r : {0U, 1U, 2U}) {
        if (!random.oneIn(4)) continue;
        line.registerRows[r] = line.newRow();
        for (float& value : line.registerRows[r]) value = zel_test::roughValue(random);
    }
    for (float& weight : line.record.class_weights) weight = 1.0f;
    for (const int index : {0, 3, 7})
        if (!random.oneIn(3)) line.weightRows[index] = line.newRow(1.0f);
    return line;
}

Flags randomFlags(Random& random, std::size_t count)
{
    Flags flags(count);
    for (int& flag : flags) flag = random.oneIn(3) ? 1 + random.below(2) : 0;
    return flags;
}

class ProgramLineWidths : public testing::TestWithParam<zel::Width> {
protected:
    void SetUp() override { zel::limitKernelWidth(GetParam()); }
    void TearDown() override { zel::limitKernelWidth(zel::Width::widest); }
};

TEST_P(ProgramLineWidths, RandomProgramsAreThoseOfThePixels)
{
    Programs programs(41);
    Random random(43);
    for (int i = 0; i < 1500 && !HasFatalFailure(); ++i) {
        const std::string text = i % 3 == 0 ? programs.next() : withRegistersSet(programs.next());
        const PixelLine line = randomProgramLine(random);
        const Flags passedOver = randomFlags(random, line.values.size());
        expectSame(text, line, random.oneIn(2) ? passedOver.data() : nullptr);
    }
}

INSTANTIATE_TEST_SUITE_P(All, ProgramLineWidths,
                         testing::Values(zel::Width::narrow, zel::Width::wide, zel::Width::widest));

// ---- What programs do, worked out by hand ----

PixelLine lineOf(const Row& channel1)
{
    PixelLine line(static_cast<int>(channel1.size()), 2);
    line.channelRows[0] = channel1;
    line.giveRow(12);  // class
    return line;
}

TEST(ProgramLine, BranchesTakeTheirPixels)
{
    const Program program("if (Ch1>2) then\nclass=0\nclass=7\nreturn\nelse\nclass=0\nclass=8\n"
                          "endif\nCh2=class*10\n");
    const Ran ran = byRows(program.first, lineOf({1, 2, 3, 4}));
    EXPECT_EQ(ran.line.fieldRows[12], Row({8, 8, 7, 7}));
    EXPECT_EQ(ran.line.channelRows[1], Row({80, 80, 2, 2}));  // not after the return
    EXPECT_EQ(ran.results, Flags({0, 0, 0, 0}));
}

TEST(ProgramLine, SkippedPixelsHaveClassZeroAndEnd)
{
    const Program program("class=5\nif (Ch1>2) skip_pixel\nclass=6\n");
    const Ran ran = byRows(program.first, lineOf({1, 3, 2, 4}));
    EXPECT_EQ(ran.line.fieldRows[12], Row({6, 0, 6, 0}));
    EXPECT_EQ(ran.results, Flags({0, 1, 0, 1}));
    EXPECT_EQ(ran.line.record.skipPixelFlag, 1);
}

TEST(ProgramLine, PixelsThatArePassedOverAreLeftAlone)
{
    const Program program("class=5\nif (Ch1>2) skip_pixel\nregister1=Ch1\n");
    const Flags passedOver = {0, 1, 0, 2};
    const Ran ran = byRows(program.first, lineOf({1, 3, 5, 2}), passedOver.data());
    EXPECT_EQ(ran.line.fieldRows[12], Row({5, 0, 0, 0}));
    EXPECT_EQ(ran.results, Flags({0, 1, 1, 2}));
    EXPECT_EQ(ran.line.record.Registers[0], 1.0f);
}

TEST(ProgramLine, TheRecordHasWhatTheLastPixelToWriteItWrote)
{
    const Program program("if (Ch1>2) register4=Ch1\nif (Ch1<2) weightclasses 9: Ch1\nCh2=0\n");
    PixelLine line = lineOf({9, 1, 8, 2});
    line.record.Registers[3] = -1.0f;
    const Ran ran = byRows(program.first, line);
    EXPECT_EQ(ran.line.record.Registers[3], 8.0f);
    EXPECT_EQ(ran.line.record.class_weights[9], 1.0f);
}

TEST(ProgramLine, ARegisterThatOnlyOneBranchWritesCarriesOver)
{
    const Program program("if (Ch1>2) register4=Ch1\nCh2=register4\n");
    PixelLine line = lineOf({1, 9, 2, 8});
    line.record.Registers[3] = -1.0f;
    EXPECT_EQ(byRows(program.first, line).line.channelRows[1], Row({-1, 9, 9, 8}));
}

TEST(ProgramLine, ARegisterWithARowDoesNotCarryOver)
{
    const Program program("if (Ch1>2) register4=Ch1\nCh2=register4\n");
    PixelLine line = lineOf({1, 9, 2, 8});
    line.registerRows[3] = line.newRow(-1.0f);
    EXPECT_EQ(byRows(program.first, line).line.channelRows[1], Row({-1, 9, -1, 8}));
}

TEST(ProgramLine, WeightsWithARowAreThePixels)
{
    const Program program("if (Ch1>2) weightclasses 3,5: Ch1\nCh2=0\n");
    PixelLine line = lineOf({1, 9, 2, 8});
    line.weightRows[3] = line.newRow(0.5f);
    const Ran ran = byRows(program.first, line);
    EXPECT_EQ(ran.line.weightRows.at(3), Row({0.5f, 9, 0.5f, 8}));
    EXPECT_EQ(ran.line.record.class_weights[5], 8.0f);
    EXPECT_EQ(ran.line.record.class_weights[0], 8.0f);  // the comma
    EXPECT_EQ(ran.line.record.class_weights[3], 0.0f);
}

TEST(ProgramLine, AChannelWithoutARowIsZeroAlsoAfterAnAssignment)
{
    for (const char* text : {"Ch1=5\nclass=Ch1+Ch2\n", "Ch1=5\nclass=Ch1+Ch2+0*year\nyear=1\n"}) {
        const Program program(text);
        PixelLine line = lineOf({1, 2});
        line.channelRows[0].clear();
        EXPECT_EQ(byRows(program.first, line).line.fieldRows[12], Row({2, 2})) << text;
    }
}

TEST(ProgramLine, NoProgramDoesNothing)
{
    const Flags passedOver = {0, 1, 0};
    const Ran ran = byRows(nullptr, lineOf({1, 2, 3}), passedOver.data());
    EXPECT_EQ(ran.results, Flags({0, 1, 0}));
    EXPECT_EQ(ran.line.fieldRows[12], Row({0, 0, 0}));
}

// ---- Errors ----

TEST(ProgramLine, ErrorsAreThoseOfThePixels)
{
    for (const char* text : {"if (Ch1>2) weightclasses 3: skip_pixel\nclass=1\n",
                             "class=4\nif (Ch1>2) class=Ch9\nclass=1\n",
                             "if (Ch1>2) register4=register21\nclass=1\n"}) {
        SCOPED_TRACE(text);
        const Program program(text);
        const PixelLine line = lineOf({1, 3, 2, 4});
        const Ran pixels = byPixels(program.first, line);
        const Ran rows = byRows(program.first, line);
        EXPECT_NE(rows.outcome.err, "");
        EXPECT_EQ(rows.outcome.err, pixels.outcome.err);
        EXPECT_EQ(rows.outcome.ended, pixels.outcome.ended);
        EXPECT_EQ(rows.outcome.status, pixels.outcome.status);
        EXPECT_EQ(rows.results, pixels.results);
    }
}

// A pixel that never gets to the error does not have it.
TEST(ProgramLine, AnErrorThatNoPixelReachesIsNotReported)
{
    const Program program("if (Ch1>200) class=Ch9\nclass=1\n");
    const Ran ran = byRows(program.first, lineOf({1, 3}));
    EXPECT_FALSE(ran.outcome.ended);
    EXPECT_EQ(ran.line.fieldRows[12], Row({1, 1}));
}

// ---- A plan is kept, and made again when something has changed ----

TEST(ProgramLine, AChangedProgramIsNoticed)
{
    Program program("class=3\nif (Ch1>2) class=4\nCh2=1\n");
    const PixelLine line = lineOf({1, 3});
    EXPECT_EQ(byRows(program.first, line).line.fieldRows[12], Row({3, 4}));
    program.first->Statement->stackHead->nextElement->op.float_t = 9.0f;
    EXPECT_EQ(byRows(program.first, line).line.fieldRows[12], Row({9, 4}));
    program.first->next->nextFalse = program.first->next->next;
    EXPECT_EQ(byRows(program.first, line).line.fieldRows[12], Row({4, 4}));
}

TEST(ProgramLine, OtherRowsAndOtherValuesOfTheRecordAreNoticed)
{
    Program program("class=year+Ch1\nCh2=sz\n");
    PixelLine line = lineOf({1, 3});
    line.record.year = 10.0f;
    line.record.sz = 40.0f;
    EXPECT_EQ(byRows(program.first, line).line.fieldRows[12], Row({11, 13}));
    line.record.year = 20.0f;
    EXPECT_EQ(byRows(program.first, line).line.fieldRows[12], Row({21, 23}));
    line.giveRow(4, 50.0f);
    EXPECT_EQ(byRows(program.first, line).line.channelRows[1], Row({50, 50}));
    line.channelRows[0].clear();
    EXPECT_EQ(byRows(program.first, line).line.fieldRows[12], Row({20, 20}));
}

TEST(ProgramLine, ManyProgramsInTurnAreKeptApart)
{
    std::vector<std::unique_ptr<Program>> programs;
    for (int i = 0; i < 50; ++i)
        programs.push_back(std::make_unique<Program>("class=" + std::to_string(i) + "+Ch1\n"));
    for (int round = 0; round < 2; ++round)
        for (int i = 0; i < 50; ++i)
            EXPECT_EQ(byRows(programs[static_cast<std::size_t>(i)]->first, lineOf({1, 2}))
                          .line.fieldRows[12],
                      Row({static_cast<float>(i) + 1, static_cast<float>(i) + 2}));
}

TEST(ProgramLine, AProgramThatGoesBackRunsPixelAfterPixel)
{
    const Program program("Ch2=Ch2+1\nif (Ch2<Ch1) class=1\nclass=2\n");
    ProgramStruct* test = program.first->next;
    test->nextTrue = program.first;
    const Ran ran = byRows(program.first, lineOf({1, 9}));
    EXPECT_EQ(ran.line.channelRows[1], Row({3, 9}));
    EXPECT_EQ(ran.line.fieldRows[12], Row({2, 2}));
}

// ---- Large programs ----

TEST(ProgramLine, LargeProgramsWork)
{
    Random random(3);
    std::string text = "register1=0\n";
    for (int i = 0; i < 300; ++i)
        text += "if (Ch1>" + std::to_string(i) + ") register1=register1+Ch2\n";
    expectSame(text + "class=register1\n", randomLine(random, 600));
    text.clear();
    for (int i = 0; i < 1200; ++i)  // more rows than a plan may have
        text += "if (Ch1>" + std::to_string(i % 50) + ") class=" + std::to_string(i) + "\n";
    expectSame(text + "class=class\n", randomLine(random, 30));
}

}  // namespace
