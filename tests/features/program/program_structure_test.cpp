// Programs whose if, else and endif do not fit together.
#include <gtest/gtest.h>

#include "support/program.hpp"

namespace {

using zel_test::Outcome;
using zel_test::Program;

// Ends the process (-1) with the message, and prints nothing else.
void expectRefused(const std::string& text, const std::string& message)
{
    const Program program(text);
    EXPECT_TRUE(program.outcome.ended) << text;
    EXPECT_EQ(program.outcome.status, -1) << text;
    EXPECT_EQ(program.outcome.err, message) << text;
    EXPECT_EQ(program.outcome.out, "") << text;
}

TEST(ProgramStructure, AnEndifNeedsAnIf)
{
    const char* const message = "Endif error: Missing If or Else before endif\n";
    expectRefused("endif\n", message);
    expectRefused("if (Ch1) then\nclass=1\nendif\nendif\n", message);
    expectRefused("if (Ch1) class=1\nendif\n", message);
}

TEST(ProgramStructure, ASingleLineIfNeedsAStatementAfterIt)
{
    expectRefused("class=2\nif (Ch1 > 5) class=1\n",
                  "If: Ch1 > 5\n"
                  "If error: missing statement or block following single line if\n");
}

TEST(ProgramStructure, AnElseNeedsAnIf)
{
    const char* const message = "Else error: Missing If before endif\n";
    expectRefused("else class=1\nclass=2\n", message);
    expectRefused("if (Ch1) class=1\nclass=2\nelse class=3\nclass=4\n", message);
    expectRefused("if (Ch1) class=1\nelse class=2\nelse class=3\nclass=4\n", message);
}

TEST(ProgramStructure, ASecondElseHasNoIf)
{
    expectRefused("if (Ch1) then\nclass=1\nelse\nclass=2\nelse\nclass=3\nendif\n",
                  "Else error: missing if statement before else\n");
}

TEST(ProgramStructure, ASingleLineElseNeedsAStatementAfterIt)
{
    const char* const message = "Else error: missing secondary statement after else\n";
    expectRefused("if (Ch1) class=1\nelse class=2\n", message);
    expectRefused("if (Ch1) then\nclass=1\nelse class=2\n", message);
}

TEST(ProgramStructure, OpenStatementsAtTheEndAreListedTheLastOneFirst)
{
    const Program program(
        "if (Ch1) then\nclass=1\nelse\nif (Ch2) then\nclass=2\nelse if (Ch3) then\nclass=3\n");
    EXPECT_TRUE(program.outcome.ended);
    EXPECT_EQ(program.outcome.status, -1);
    EXPECT_EQ(program.outcome.err,
              "Stack Processing Error: programStackPtr 3 elseifCount 1\nMissing Endif\n");
    EXPECT_EQ(program.outcome.out, "6: IF_STATEMENT Ch3 T -> 6    F -> 6\n"
                                   "5: ELSE_IF_END_STATEMENT class=2 T -> 6    F -> 6\n"
                                   "2: OTHER_STATEMENT class=1 T -> 3    F -> 3\n");
}

std::string nested(int depth)
{
    std::string text;
    for (int i = 0; i < depth; ++i) text += "if (Ch1) then\n";
    for (int i = 0; i < depth; ++i) text += "endif\n";
    return text;
}

TEST(ProgramStructure, AHundredStatementsMayBeOpen)
{
    EXPECT_NE(Program(nested(100)).first, nullptr);
    expectRefused(nested(101), "error: more than 100 open if or else statements\n");
}

// ---- Lists that no text compiles to ----

class HandMade : public testing::Test {
protected:
    ~HandMade() override { ZELFeatureFreeProgram(first); }
    ProgramStruct* add(int kind, const char* expression = nullptr)
    {
        last = addProgamStatement(last, kind, ++line);
        if (!first) first = last;
        int status = 0;
        if (expression) last->Statement = parseCondition(expression, &status, 1, nullptr);
        return last;
    }
    void expectRefused(const std::string& message)
    {
        const Outcome outcome = zel_test::runFeature([&] { setupProgramLogic(first); });
        EXPECT_TRUE(outcome.ended);
        EXPECT_EQ(outcome.status, -1);
        EXPECT_EQ(outcome.err, message);
        EXPECT_EQ(outcome.out, "");
    }

    ProgramStruct* first = nullptr;
    ProgramStruct* last = nullptr;
    int line = 0;
};

TEST_F(HandMade, AnIfAtTheEndLacksItsStatement)
{
    add(IF_STATEMENT, "Ch1>5");
    expectRefused("If: Ch1>5\nIf error: missing statement or block following if\n");
}

TEST_F(HandMade, AnImpliedEndifAtTheEndLacksWhatItEndsBefore)
{
    add(IF_STATEMENT, "Ch1>5");
    add(OTHER_STATEMENT, "class=1");
    add(IMPLIED_ENDIF_STATEMENT);
    expectRefused(
        "If: Ch1>5\n"
        "If error: missing statement or block following single line if (implied endif)\n");
}

TEST_F(HandMade, AnElseAtTheEndLacksItsStatement)
{
    add(IF_STATEMENT, "Ch1>5");
    add(THEN_STATEMENT);
    add(ELSE_STATEMENT);
    expectRefused("Else error: missing statement after else\n");
}

TEST_F(HandMade, AnElseNeedsAStatementBeforeIt)
{
    for (const int following : {OTHER_STATEMENT, ELSE_THEN_STATEMENT}) {
        add(IF_STATEMENT, "Ch1>5");
        add(THEN_STATEMENT);
        add(ELSE_STATEMENT)->previous = nullptr;
        add(following);
        add(RETURN_STATEMENT);
        expectRefused("Else error: missing statement before else\n");
        ZELFeatureFreeProgram(first);
        first = last = nullptr;
    }
}

TEST_F(HandMade, AnElseWithAnExpressionShowsIt)
{
    add(IF_STATEMENT, "Ch1>5");
    add(THEN_STATEMENT);
    add(OTHER_STATEMENT, "class=1");
    add(ELSE_STATEMENT);
    add(ELSE_THEN_STATEMENT);
    add(ELSE_STATEMENT, "Ch2");
    add(RETURN_STATEMENT);
    expectRefused("Else: Ch2\nElse error: missing if statement before else\n");
}

TEST_F(HandMade, NothingIsLinkedOfNothing)
{
    const Outcome outcome = zel_test::runFeature([] { setupProgramLogic(nullptr); });
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(outcome.err, "");
}

}  // namespace
