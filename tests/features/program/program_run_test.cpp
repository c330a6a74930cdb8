// Running pixel programs.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "support/program.hpp"

namespace {

using zel_test::Outcome;
using zel_test::Program;

TEST(ProgramRun, NoProgramDoesNothing)
{
    Program program("");
    EXPECT_EQ(program.classOf(1), 0.0f);
    EXPECT_EQ(program.result, 0);
}

TEST(ProgramRun, StatementsRunInOrder)
{
    Program program("register1 = Ch1 * 2\nCh2 = register1 + 1\nclass = Ch2\n");
    EXPECT_EQ(program.classOf(3), 7.0f);
    EXPECT_EQ(program.result, 0);
    EXPECT_EQ(program.channels[1], 7.0f);
    EXPECT_EQ(program.pixel.Registers[0], 6.0f);
}

TEST(ProgramRun, AReturnEndsIt)
{
    Program program("class=1\nreturn\nclass=2\n");
    EXPECT_EQ(program.classOf(0), 1.0f);
    EXPECT_EQ(program.result, 0);
}

TEST(ProgramRun, ASkippedPixelHasClassZeroAndEndsIt)
{
    Program program("class=5\nif (Ch1>3) skip_pixel\nclass=6\n");
    EXPECT_EQ(program.classOf(4), 0.0f);
    EXPECT_EQ(program.result, 1);
    EXPECT_EQ(program.pixel.skipPixelFlag, 1);
    EXPECT_EQ(program.classOf(3), 6.0f);
    EXPECT_EQ(program.result, 0);
    EXPECT_EQ(program.executed.err, "");
}

TEST(ProgramRun, AConditionThatSkipsThePixelEndsItToo)
{
    Program program("if (skip_pixel) class=1\nclass=2\n");
    EXPECT_EQ(program.classOf(0), 0.0f);
    EXPECT_EQ(program.result, 1);
}

TEST(ProgramRun, AValueIsTruncatedBeforeItIsTakenForTrue)
{
    Program program("if (Ch1) class=1\nreturn\n");
    EXPECT_EQ(program.classOf(0.7f), 0.0f);
    EXPECT_EQ(program.classOf(-0.7f), 0.0f);
    EXPECT_EQ(program.classOf(1.0f), 1.0f);
    EXPECT_EQ(program.classOf(-1.0f), 1.0f);
}

// 0.7 does not go on into the else block.
TEST(ProgramRun, AStatementWhoseValueIsBelowOneCountsAsFalse)
{
    Program program("if (Ch1) then\nregister1=Ch2\nelse\nclass=2\nendif\n");
    EXPECT_EQ(program.classOf(1, 0.7f), 0.0f);
    EXPECT_EQ(program.classOf(1, 1.0f), 2.0f);
}

// ---- Weights ----

TEST(ProgramRun, WeightsAreSetForTheClassesOfTheListAndForClassZeroByTheirCommas)
{
    Program program("weightclasses 3,5:0.5\n");
    program.classOf(0);
    EXPECT_EQ(program.result, 0);
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(program.pixel.class_weights[i], i == 0 || i == 3 || i == 5 ? 0.5f : 0.0f) << i;
}

TEST(ProgramRun, ASingleClassLeavesClassZeroAlone)
{
    Program program("weightclasses 3:Ch1+1\n");
    program.classOf(6);
    EXPECT_EQ(program.pixel.class_weights[3], 7.0f);
    EXPECT_EQ(program.pixel.class_weights[0], 0.0f);
}

TEST(ProgramRun, ClassesOfAListAreRoundedAndThoseOutsideTheTableIgnored)
{
    Program program("weightclasses 2.5,999,1000,1e30:4\n");
    program.classOf(0);
    EXPECT_EQ(program.result, 0);
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(program.pixel.class_weights[i], i == 0 || i == 3 || i == 999 ? 4.0f : 0.0f) << i;
}

// Half of the way is added in double: of floats, 0.49999997 and 0.5 make 1. What is written as
// 4.4999998 is the float 4.5.
TEST(ProgramRun, ClassesJustBelowAHalfAreRoundedAsTheirFloatsAre)
{
    const std::pair<const char*, int> rows[] = {
        {"0.49999997", 0}, {"0.5", 1}, {"4.4999995", 4}, {"4.4999998", 5}};
    for (const auto& [text, number] : rows) {
        Program program(std::string("weightclasses ") + text + ":4\n");
        program.classOf(0);
        for (int i = 0; i < 1000; ++i)
            EXPECT_EQ(program.pixel.class_weights[i], i == number ? 4.0f : 0.0f) << text << i;
    }
}

// The list is not evaluated: a channel's number is bits that round to class 0.
TEST(ProgramRun, AListOfAnythingButConstantsSetsClassZero)
{
    Program program("weightclasses Ch3,register5:4\n");
    program.classOf(7, 7, 7);
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(program.pixel.class_weights[i], i == 0 ? 4.0f : 0.0f) << i;
}

TEST(ProgramRun, AWeightGoesOnEvenWhenItIsZero)
{
    Program program("if (Ch1) weightclasses 1:0\nclass=2\n");
    EXPECT_EQ(program.classOf(1), 2.0f);
}

TEST(ProgramRun, AWeightThatSkipsThePixelIsAnError)
{
    Program program("weightclasses 3:skip_pixel\n");
    program.pixel.class_weights[3] = 8;
    program.classOf(0);
    EXPECT_EQ(program.result, -1);
    EXPECT_EQ(program.executed.err, "executeProgram: invalid statement error:\n"
                                    "skip_pixel statement cannot be used in a weightclasses\n");
    EXPECT_EQ(program.pixel.class_weights[3], 8.0f);
}

TEST(ProgramRun, TheWeightsOfAPixelCanBeSet)
{
    // What follows the last weight, and would hold one more.
    struct {
        ZELPixelStruct pixel;
        float next[2];
    } memory;
    std::memset(&memory, 0, sizeof memory);
    ZELPixelStruct& pixel = memory.pixel;
    ZELFeatureClearClassWeights(&pixel, 2.5f);
    for (const float weight : pixel.class_weights) EXPECT_EQ(weight, 2.5f);
    ZELFeatureSetClassWeight(&pixel, 0, 1.0f);
    ZELFeatureSetClassWeight(&pixel, 999, 3.0f);
    ZELFeatureSetClassWeight(&pixel, -1, 9.0f);
    ZELFeatureSetClassWeight(&pixel, 1000, 9.0f);
    EXPECT_EQ(pixel.class_weights[0], 1.0f);
    EXPECT_EQ(pixel.class_weights[1], 2.5f);
    EXPECT_EQ(pixel.class_weights[999], 3.0f);
    const auto* after = reinterpret_cast<const unsigned char*>(pixel.class_weights + 1000);
    const auto* end = reinterpret_cast<const unsigned char*>(&memory + 1);
    EXPECT_TRUE(std::all_of(after, end, [](unsigned char byte) { return byte == 0; }));
}

// ---- Errors ----

struct Statement {
    explicit Statement(int kind) : first(addProgamStatement(nullptr, kind, 1)) {}
    ~Statement() { ZELFeatureFreeProgram(first); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    void expectError(const char* message)
    {
        int result = 0;
        const Outcome outcome =
            zel_test::runFeature([&] { result = executeProgram(first, &pixel); });
        EXPECT_FALSE(outcome.ended);
        EXPECT_EQ(result, -1);
        EXPECT_EQ(outcome.err, message);
    }

    ProgramStruct* first;
    ZELPixelStruct pixel{};
};

TEST(ProgramRun, AnIfWithoutAConditionIsAnError)
{
    Statement(IF_STATEMENT).expectError("executeProgram: If error: missing statement\n");
}

TEST(ProgramRun, WeightsWithoutAListOrAValueAreAnError)
{
    Statement statement(WEIGHT_STATEMENT);
    statement.expectError("executeProgram: weightclasses error: missing class list\n");
    int status = 0;
    statement.first->ClassList = parseCondition("3", &status, 0, nullptr);
    statement.expectError("executeProgram: weightclasses error: missing value\n");
}

TEST(ProgramRun, OtherStatementsWithoutAnExpressionGoOn)
{
    for (int kind = 0; kind < 14; ++kind) {
        if (kind == IF_STATEMENT || kind == WEIGHT_STATEMENT) continue;
        const Statement statement(kind);
        ZELPixelStruct pixel{};
        EXPECT_EQ(executeProgram(statement.first, &pixel), 0) << kind;
    }
}

// ---- The programs of a mask ----

struct Mask {
    explicit Mask(const std::string& text) : program(text)
    {
        parameters.PreProcessHead = parameters.PostProcessHead = program.first;
    }
    Outcome pre()
    {
        return zel_test::runFeature(
            [this] { result = ZELPreProcessPixel(&parameters, &program.pixel); });
    }
    Outcome post()
    {
        return zel_test::runFeature(
            [this] { result = ZELPostProcessPixel(&parameters, &program.pixel); });
    }

    Program program;
    ZELMaskParameterType parameters{};
    int result = -9;
};

TEST(ProgramRun, AMaskWithoutProgramsDoesNothing)
{
    Mask mask("");
    EXPECT_EQ(mask.pre().err, "");
    EXPECT_EQ(mask.result, 0);
    EXPECT_EQ(mask.post().err, "");
    EXPECT_EQ(mask.result, 0);
}

TEST(ProgramRun, EachProgramOfAMaskRunsInItsPlace)
{
    Program pre("class=1\n");
    Program post("class=2\n");
    ZELMaskParameterType parameters{};
    parameters.PreProcessHead = pre.first;
    parameters.PostProcessHead = post.first;
    EXPECT_EQ(ZELPreProcessPixel(&parameters, &post.pixel), 0);
    EXPECT_EQ(post.pixel.Class, 1.0f);
    EXPECT_EQ(ZELPostProcessPixel(&parameters, &post.pixel), 0);
    EXPECT_EQ(post.pixel.Class, 2.0f);
}

// A skipped pixel passes silently before classification and is reported after it.
TEST(ProgramRun, ASkippedPixelIsReportedAfterClassificationOnly)
{
    Mask mask("skip_pixel\n");
    mask.program.pixel.Class = 9;
    EXPECT_EQ(mask.pre().err, "");
    EXPECT_EQ(mask.result, 1);
    EXPECT_EQ(mask.program.pixel.Class, 0.0f);
    EXPECT_EQ(mask.post().err, "ZELPostProcessPixel: Error occurred during execution of program\n");
    EXPECT_EQ(mask.result, 1);
}

TEST(ProgramRun, AnErrorIsReportedByBoth)
{
    Mask mask("weightclasses 3:skip_pixel\n");
    const char* const error = "executeProgram: invalid statement error:\n"
                              "skip_pixel statement cannot be used in a weightclasses\n";
    EXPECT_EQ(
        mask.pre().err,
        std::string(error) + "ZELPreProcessPixel: Error occurred during execution of program\n");
    EXPECT_EQ(mask.result, -1);
    EXPECT_EQ(
        mask.post().err,
        std::string(error) + "ZELPostProcessPixel: Error occurred during execution of program\n");
    EXPECT_EQ(mask.result, -1);
}

}  // namespace
