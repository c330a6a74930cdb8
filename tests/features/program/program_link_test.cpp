// Linking pixel programs: where each statement goes on, true and false, and the way that a pixel
// takes.
#include <gtest/gtest.h>

#include <random>

#include "support/program.hpp"

namespace {

using zel_test::Outcome;
using zel_test::Program;

TEST(ProgramLink, ABlockIfEndsAtItsEndif)
{
    Program program("if (Ch1>5) then\nclass=1\nendif\nclass=class+10\n");
    EXPECT_EQ(program.outcome.err, "");
    EXPECT_EQ(program.listing(), "1: IF_STATEMENT Ch1>5 T -> 1    F -> 3\n"
                                 "1: THEN_STATEMENT T -> 2    F -> 2\n"
                                 "2: OTHER_STATEMENT class=1 T -> 3    F -> 3\n"
                                 "3: ENDIF_STATEMENT T -> 4    F -> 4\n"
                                 "4: OTHER_STATEMENT class=class+10 T -> 0    F -> 0\n");
    EXPECT_EQ(program.classOf(9), 11.0f);
    EXPECT_EQ(program.classOf(1), 10.0f);
}

// The last statement of the first block goes to the endif only when its value is 0.
TEST(ProgramLink, AStatementRightBeforeABlockElseGoesOnIntoItUnlessItsValueIsZero)
{
    Program program("if (Ch1>5) then\nclass=Ch2\nelse\nclass=class+2\nendif\nclass=class+10\n");
    EXPECT_EQ(program.listing(), "1: IF_STATEMENT Ch1>5 T -> 1    F -> 3\n"
                                 "1: THEN_STATEMENT T -> 2    F -> 2\n"
                                 "2: OTHER_STATEMENT class=Ch2 T -> 3    F -> 5\n"
                                 "3: ELSE_STATEMENT T -> 3    F -> 3\n"
                                 "3: ELSE_THEN_STATEMENT (implied) T -> 4    F -> 4\n"
                                 "4: OTHER_STATEMENT class=class+2 T -> 5    F -> 5\n"
                                 "5: ENDIF_STATEMENT T -> 6    F -> 6\n"
                                 "6: OTHER_STATEMENT class=class+10 T -> 0    F -> 0\n");
    EXPECT_EQ(program.classOf(9, 1), 13.0f);
    EXPECT_EQ(program.classOf(9, 0), 10.0f);
    EXPECT_EQ(program.classOf(1, 1), 12.0f);
}

TEST(ProgramLink, ASingleLineIfGoesOnAfterItsStatement)
{
    Program program("if (Ch1>5) class=1\nclass=class+10\n");
    EXPECT_EQ(program.listing(), "1: IF_STATEMENT Ch1>5 T -> 1    F -> 2\n"
                                 "1: OTHER_STATEMENT class=1 T -> 2    F -> 2\n"
                                 "2: OTHER_STATEMENT class=class+10 T -> 0    F -> 0\n");
    EXPECT_EQ(program.classOf(9), 11.0f);
    EXPECT_EQ(program.classOf(1), 10.0f);
}

TEST(ProgramLink, ASingleLineIfWithASingleLineElse)
{
    Program program("if (Ch1>5) class=1\nelse class=2\nclass=class+10\n");
    EXPECT_EQ(program.outcome.err, "");
    EXPECT_EQ(program.listing(), "1: IF_STATEMENT Ch1>5 T -> 1    F -> 2\n"
                                 "1: OTHER_STATEMENT class=1 T -> 2    F -> 2\n"
                                 "2: IMPLIED_ENDIF_STATEMENT T -> 3    F -> 3\n"
                                 "2: ELSE_STATEMENT T -> 2    F -> 2\n"
                                 "2: OTHER_STATEMENT class=2 T -> 3    F -> 3\n"
                                 "3: OTHER_STATEMENT class=class+10 T -> 0    F -> 0\n");
    EXPECT_EQ(program.classOf(9), 11.0f);
    EXPECT_EQ(program.classOf(1), 12.0f);
}

TEST(ProgramLink, ASingleLineIfWithABlockElse)
{
    Program program("if (Ch1>5) class=1\nelse\nclass=2\nclass=class+3\nendif\nclass=class+10\n");
    EXPECT_EQ(program.outcome.err, "");
    EXPECT_EQ(program.listing(), "1: IF_STATEMENT Ch1>5 T -> 1    F -> 2\n"
                                 "1: OTHER_STATEMENT class=1 T -> 2    F -> 2\n"
                                 "2: IMPLIED_ENDIF_STATEMENT T -> 5    F -> 5\n"
                                 "2: ELSE_STATEMENT T -> 2    F -> 2\n"
                                 "2: ELSE_THEN_STATEMENT (implied) T -> 3    F -> 3\n"
                                 "3: OTHER_STATEMENT class=2 T -> 4    F -> 4\n"
                                 "4: OTHER_STATEMENT class=class+3 T -> 5    F -> 5\n"
                                 "5: ENDIF_STATEMENT T -> 6    F -> 6\n"
                                 "6: OTHER_STATEMENT class=class+10 T -> 0    F -> 0\n");
    EXPECT_EQ(program.classOf(9), 11.0f);
    EXPECT_EQ(program.classOf(1), 15.0f);
}

TEST(ProgramLink, ABlockIfWithASingleLineElseNeedsNoEndif)
{
    Program program("if (Ch1>5) then\nclass=1\nelse class=2\nclass=class+10\n");
    EXPECT_EQ(program.outcome.err, "");
    EXPECT_EQ(program.listing(), "1: IF_STATEMENT Ch1>5 T -> 1    F -> 3\n"
                                 "1: THEN_STATEMENT T -> 2    F -> 2\n"
                                 "2: OTHER_STATEMENT class=1 T -> 4    F -> 4\n"
                                 "3: ELSE_STATEMENT T -> 3    F -> 3\n"
                                 "3: OTHER_STATEMENT class=2 T -> 4    F -> 4\n"
                                 "4: OTHER_STATEMENT class=class+10 T -> 0    F -> 0\n");
    EXPECT_EQ(program.classOf(9), 11.0f);
    EXPECT_EQ(program.classOf(1), 12.0f);
}

// ---- Else-if chains ----

TEST(ProgramLink, OneEndifEndsAChainOfBlocks)
{
    Program program(
        "if (Ch1>9) then\nclass=1\nelse if (Ch1>5) then\nclass=2\nelse if (Ch1>3) then\n"
        "class=3\nendif\nclass=class+10\n");
    EXPECT_EQ(program.outcome.err, "");
    EXPECT_EQ(program.listing(), "1: IF_STATEMENT Ch1>9 T -> 1    F -> 3\n"
                                 "1: THEN_STATEMENT T -> 2    F -> 2\n"
                                 "2: ELSE_IF_END_STATEMENT class=1 T -> 7    F -> 7\n"
                                 "3: ELSE_STATEMENT T -> 3    F -> 3\n"
                                 "3: IF_STATEMENT Ch1>5 T -> 3    F -> 5\n"
                                 "3: THEN_STATEMENT T -> 4    F -> 4\n"
                                 "4: ELSE_IF_END_STATEMENT class=2 T -> 7    F -> 7\n"
                                 "5: ELSE_STATEMENT T -> 5    F -> 5\n"
                                 "5: IF_STATEMENT Ch1>3 T -> 5    F -> 7\n"
                                 "5: THEN_STATEMENT T -> 6    F -> 6\n"
                                 "6: OTHER_STATEMENT class=3 T -> 7    F -> 7\n"
                                 "7: ENDIF_STATEMENT T -> 8    F -> 8\n"
                                 "8: OTHER_STATEMENT class=class+10 T -> 0    F -> 0\n");
    EXPECT_EQ(program.classOf(10), 11.0f);
    EXPECT_EQ(program.classOf(9), 12.0f);
    EXPECT_EQ(program.classOf(4), 13.0f);
    EXPECT_EQ(program.classOf(1), 10.0f);
}

TEST(ProgramLink, AChainOfBlocksWithABlockElse)
{
    Program program(
        "if (Ch1>9) then\nclass=1\nelse if (Ch1>5) then\nclass=Ch2\nelse\nclass=class+3\nendif\n"
        "class=class+10\n");
    EXPECT_EQ(program.listing(), "1: IF_STATEMENT Ch1>9 T -> 1    F -> 3\n"
                                 "1: THEN_STATEMENT T -> 2    F -> 2\n"
                                 "2: ELSE_IF_END_STATEMENT class=1 T -> 7    F -> 7\n"
                                 "3: ELSE_STATEMENT T -> 3    F -> 3\n"
                                 "3: IF_STATEMENT Ch1>5 T -> 3    F -> 5\n"
                                 "3: THEN_STATEMENT T -> 4    F -> 4\n"
                                 "4: OTHER_STATEMENT class=Ch2 T -> 5    F -> 7\n"
                                 "5: ELSE_STATEMENT T -> 5    F -> 5\n"
                                 "5: ELSE_THEN_STATEMENT (implied) T -> 6    F -> 6\n"
                                 "6: OTHER_STATEMENT class=class+3 T -> 7    F -> 7\n"
                                 "7: ENDIF_STATEMENT T -> 8    F -> 8\n"
                                 "8: OTHER_STATEMENT class=class+10 T -> 0    F -> 0\n");
    EXPECT_EQ(program.classOf(10), 11.0f);
    EXPECT_EQ(program.classOf(7, 0), 10.0f);
    EXPECT_EQ(program.classOf(7, 2), 15.0f);  // into the else block, too
    EXPECT_EQ(program.classOf(1), 13.0f);
}

TEST(ProgramLink, AChainOfSingleLinesWithAnElse)
{
    Program program("if (Ch1>9) class=1\nelse if (Ch1>5) class=2\nelse class=3\nclass=class+10\n");
    EXPECT_EQ(program.outcome.err, "");
    EXPECT_EQ(program.listing(), "1: IF_STATEMENT Ch1>9 T -> 1    F -> 2\n"
                                 "1: OTHER_STATEMENT class=1 T -> 2    F -> 2\n"
                                 "2: ELSE_IF_END_STATEMENT T -> 3    F -> 3\n"
                                 "2: ELSE_STATEMENT T -> 2    F -> 2\n"
                                 "2: IF_STATEMENT Ch1>5 T -> 2    F -> 3\n"
                                 "2: OTHER_STATEMENT class=2 T -> 3    F -> 3\n"
                                 "3: IMPLIED_ENDIF_STATEMENT T -> 4    F -> 4\n"
                                 "3: ELSE_STATEMENT T -> 3    F -> 3\n"
                                 "3: OTHER_STATEMENT class=3 T -> 4    F -> 4\n"
                                 "4: OTHER_STATEMENT class=class+10 T -> 0    F -> 0\n");
    // The end of the first branch goes to the implied endif of the second, not to its else.
    const ProgramStruct* firstEnd = program.first->next->next;
    EXPECT_EQ(firstEnd->nextTrue->statementType, IMPLIED_ENDIF_STATEMENT);
    EXPECT_EQ(program.classOf(10), 11.0f);
    EXPECT_EQ(program.classOf(7), 12.0f);
    EXPECT_EQ(program.classOf(1), 13.0f);
}

TEST(ProgramLink, AChainOfSingleLinesWithoutAnElse)
{
    Program program("if (Ch1>9) class=1\nelse if (Ch1>5) class=2\nclass=class+10\n");
    EXPECT_EQ(program.listing(), "1: IF_STATEMENT Ch1>9 T -> 1    F -> 2\n"
                                 "1: OTHER_STATEMENT class=1 T -> 2    F -> 2\n"
                                 "2: ELSE_IF_END_STATEMENT T -> 3    F -> 3\n"
                                 "2: ELSE_STATEMENT T -> 2    F -> 2\n"
                                 "2: IF_STATEMENT Ch1>5 T -> 2    F -> 3\n"
                                 "2: OTHER_STATEMENT class=2 T -> 3    F -> 3\n"
                                 "3: OTHER_STATEMENT class=class+10 T -> 0    F -> 0\n");
    EXPECT_EQ(program.classOf(10), 11.0f);
    EXPECT_EQ(program.classOf(7), 12.0f);
    EXPECT_EQ(program.classOf(1), 10.0f);
}

TEST(ProgramLink, AChainOfASingleLineAndABlockWithASingleLineElse)
{
    Program program("if (Ch1>9) class=1\nelse if (Ch1>5) then\nclass=2\nelse "
                    "class=3\nclass=class+10\nreturn\n");
    EXPECT_EQ(program.outcome.err, "");
    EXPECT_EQ(program.listing(), "1: IF_STATEMENT Ch1>9 T -> 1    F -> 2\n"
                                 "1: OTHER_STATEMENT class=1 T -> 2    F -> 2\n"
                                 "2: ELSE_IF_END_STATEMENT T -> 5    F -> 5\n"
                                 "2: ELSE_STATEMENT T -> 2    F -> 2\n"
                                 "2: IF_STATEMENT Ch1>5 T -> 2    F -> 4\n"
                                 "2: THEN_STATEMENT T -> 3    F -> 3\n"
                                 "3: OTHER_STATEMENT class=2 T -> 5    F -> 5\n"
                                 "4: ELSE_STATEMENT T -> 4    F -> 4\n"
                                 "4: OTHER_STATEMENT class=3 T -> 5    F -> 5\n"
                                 "5: OTHER_STATEMENT class=class+10 T -> 6    F -> 6\n"
                                 "6: RETURN_STATEMENT T -> 0    F -> 0\n");
    EXPECT_EQ(program.classOf(10), 11.0f);
    EXPECT_EQ(program.classOf(7), 12.0f);
    EXPECT_EQ(program.classOf(1), 13.0f);
}

TEST(ProgramLink, AChainOfABlockAndASingleLine)
{
    Program program("if (Ch1>9) then\nclass=1\nelse if (Ch1>5) class=2\nclass=class+10\n");
    EXPECT_EQ(program.listing(), "1: IF_STATEMENT Ch1>9 T -> 1    F -> 3\n"
                                 "1: THEN_STATEMENT T -> 2    F -> 2\n"
                                 "2: ELSE_IF_END_STATEMENT class=1 T -> 4    F -> 4\n"
                                 "3: ELSE_STATEMENT T -> 3    F -> 3\n"
                                 "3: IF_STATEMENT Ch1>5 T -> 3    F -> 4\n"
                                 "3: OTHER_STATEMENT class=2 T -> 4    F -> 4\n"
                                 "4: OTHER_STATEMENT class=class+10 T -> 0    F -> 0\n");
    EXPECT_EQ(program.classOf(10), 11.0f);
    EXPECT_EQ(program.classOf(7), 12.0f);
    EXPECT_EQ(program.classOf(1), 10.0f);
}

// ---- Nesting, begin and end ----

TEST(ProgramLink, BlocksNest)
{
    Program program("if (Ch1>5) then\nif (Ch2>5) then\nclass=1\nendif\nclass=class+2\nendif\n"
                    "class=class+10\n");
    EXPECT_EQ(program.listing(), "1: IF_STATEMENT Ch1>5 T -> 1    F -> 6\n"
                                 "1: THEN_STATEMENT T -> 2    F -> 2\n"
                                 "2: IF_STATEMENT Ch2>5 T -> 2    F -> 4\n"
                                 "2: THEN_STATEMENT T -> 3    F -> 3\n"
                                 "3: OTHER_STATEMENT class=1 T -> 4    F -> 4\n"
                                 "4: ENDIF_STATEMENT T -> 5    F -> 5\n"
                                 "5: OTHER_STATEMENT class=class+2 T -> 6    F -> 6\n"
                                 "6: ENDIF_STATEMENT T -> 7    F -> 7\n"
                                 "7: OTHER_STATEMENT class=class+10 T -> 0    F -> 0\n");
    EXPECT_EQ(program.classOf(9, 9), 13.0f);
    EXPECT_EQ(program.classOf(9, 0), 12.0f);
    EXPECT_EQ(program.classOf(0, 9), 10.0f);
}

// The second if is the single-line statement of the first, and its own statement what comes after.
TEST(ProgramLink, ASingleLineIfAfterAnotherDoesNotGuardItsStatement)
{
    Program program("if (Ch1>5) if (Ch2>5) class=1\nclass=class+10\n");
    EXPECT_EQ(program.listing(), "1: IF_STATEMENT Ch1>5 T -> 1    F -> 1\n"
                                 "1: IF_STATEMENT Ch2>5 T -> 1    F -> 2\n"
                                 "1: OTHER_STATEMENT class=1 T -> 2    F -> 2\n"
                                 "2: OTHER_STATEMENT class=class+10 T -> 0    F -> 0\n");
    EXPECT_EQ(program.classOf(9, 9), 11.0f);
    EXPECT_EQ(program.classOf(9, 0), 10.0f);
    EXPECT_EQ(program.classOf(0, 0), 11.0f);
}

TEST(ProgramLink, BeginAndEndJustFollowEachOther)
{
    Program program("begin\nclass=1\nend\nif (Ch1>5) begin\nclass=2\nend\nclass=class+10\n");
    EXPECT_EQ(program.listing(), "1: BEGIN_STATEMENT T -> 2    F -> 2\n"
                                 "2: OTHER_STATEMENT class=1 T -> 3    F -> 3\n"
                                 "3: END_STATEMENT T -> 4    F -> 4\n"
                                 "4: IF_STATEMENT Ch1>5 T -> 4    F -> 5\n"
                                 "4: BEGIN_STATEMENT T -> 5    F -> 5\n"
                                 "5: OTHER_STATEMENT class=2 T -> 6    F -> 6\n"
                                 "6: END_STATEMENT T -> 7    F -> 7\n"
                                 "7: OTHER_STATEMENT class=class+10 T -> 0    F -> 0\n");
    EXPECT_EQ(program.classOf(0), 12.0f);
}

// ---- Warnings ----

TEST(ProgramLink, AStatementRightBeforeABlockElseIsWarnedOf)
{
    const Program program("if (Ch1>5) then\nclass=1\nelse\nclass=2\nendif\n");
    EXPECT_EQ(program.outcome.err,
              "warning: line 2: a value other than 0 goes on into the else block\n");
    EXPECT_EQ(program.outcome.out, "");
    const Program two("if (Ch1) then\nclass=1\nelse if (Ch2) then\nclass=2\nelse\nclass=3\nendif\n"
                      "if (Ch3) then\nweightclasses 1:2\nelse\nclass=2\nendif\n");
    EXPECT_EQ(two.outcome.err, "warning: line 4: a value other than 0 goes on into the else block\n"
                               "warning: line 9: the statement goes on into the else block\n");
}

// The value of the last statement decides, without its fraction: 0 goes on at the endif.
TEST(ProgramLink, AStatementWhoseValueIs0KeepsABlockOutOfItsElse)
{
    for (const char* last : {"register20 = 0", "register20=(0.9)", "0"}) {
        Program program("if (Ch1>5) then\nclass=1\n" + std::string(last) +
                        "\nelse\nclass=2\nendif\nclass=class+10\n");
        EXPECT_EQ(program.outcome.err, "") << last;
        EXPECT_EQ(program.classOf(9), 11.0f) << last;
        EXPECT_EQ(program.classOf(1), 12.0f) << last;
    }
    Program reset("if (Ch1>5) then\nclass=0\nelse\nclass=2\nendif\n");
    EXPECT_EQ(reset.outcome.err, "");
    EXPECT_EQ(reset.classOf(9), 0.0f);
}

// Only a constant is sure to be 0.
TEST(ProgramLink, AStatementWhoseValueMayBeOtherThan0IsWarnedOf)
{
    for (const char* last :
         {"register20 = 1", "register20 = Ch1", "Ch1 * 0", "register20 = 0 + Ch2", "1"}) {
        const Program program("if (Ch1>5) then\n" + std::string(last) + "\nelse\nclass=2\nendif\n");
        EXPECT_EQ(program.outcome.err,
                  "warning: line 2: a value other than 0 goes on into the else block\n")
            << last;
    }
}

TEST(ProgramLink, ABlockThatEndsInAnotherIsWarnedOf)
{
    Program program(
        "if (Ch1>5) then\nif (Ch2>5) then\nclass=1\nendif\nelse\nclass=class+2\nendif\n");
    EXPECT_EQ(program.outcome.err, "warning: line 4: the statement goes on into the else block\n");
    EXPECT_EQ(program.classOf(9, 9), 3.0f);
}

TEST(ProgramLink, AnEmptyBlockGoesOnIntoItsElse)
{
    Program program("if (Ch1>5) then\nelse\nclass=1\nendif\n");
    EXPECT_EQ(program.outcome.err, "warning: line 1: the statement goes on into the else block\n");
    EXPECT_EQ(program.listing(), "1: IF_STATEMENT Ch1>5 T -> 1    F -> 2\n"
                                 "1: THEN_STATEMENT T -> 2    F -> 4\n"
                                 "2: ELSE_STATEMENT T -> 2    F -> 2\n"
                                 "2: ELSE_THEN_STATEMENT (implied) T -> 3    F -> 3\n"
                                 "3: OTHER_STATEMENT class=1 T -> 4    F -> 4\n"
                                 "4: ENDIF_STATEMENT T -> 0    F -> 0\n");
    EXPECT_EQ(program.classOf(9), 1.0f);
}

TEST(ProgramLink, AReturnOrASkipRightBeforeABlockElseIsNoReasonToWarn)
{
    Program program("if (Ch1>5) then\nreturn\nelse\nclass=2\nendif\n"
                    "if (Ch1>3) then\nskip_pixel\nelse\nclass=class+3\nendif\n");
    EXPECT_EQ(program.outcome.err, "");
    EXPECT_EQ(program.classOf(9), 0.0f);
    EXPECT_EQ(program.result, 0);
    EXPECT_EQ(program.classOf(4), 0.0f);
    EXPECT_EQ(program.result, 1);
    EXPECT_EQ(program.classOf(1), 5.0f);
}

// Before an else if the statement becomes an expression, whatever it was.
TEST(ProgramLink, WeightsAndReturnsRightBeforeAnElseIfAreWarnedOf)
{
    Program weights("if (Ch1>5) then\nweightclasses 3:9\nelse if (Ch1>3) then\nclass=2\nendif\n");
    EXPECT_EQ(weights.outcome.err,
              "warning: line 2: weightclasses right before an else if sets no weights\n");
    weights.classOf(9);
    EXPECT_EQ(weights.pixel.class_weights[3], 0.0f);
    Program returns(
        "if (Ch1>5) then\nreturn\nelse if (Ch1>3) then\nclass=2\nendif\nclass=class+10\n");
    EXPECT_EQ(returns.outcome.err,
              "warning: line 2: return right before an else if goes on after the endif\n");
    EXPECT_EQ(returns.classOf(9), 10.0f);
}

// ---- Linking twice ----

using Links = std::vector<std::pair<const ProgramStruct*, const ProgramStruct*>>;

Links linksOf(const ProgramStruct* statement, std::vector<int>& kinds)
{
    Links links;
    for (; statement; statement = statement->next) {
        links.emplace_back(statement->nextTrue, statement->nextFalse);
        kinds.push_back(statement->statementType);
    }
    return links;
}

// Programs of random lines; most break a rule, the others must survive being linked again and come
// to an end.
TEST(ProgramLink, LinkingAgainChangesNothing)
{
    const char* const lines[] = {"if (Ch1>1) then",
                                 "if (Ch2) class=1",
                                 "else",
                                 "else if (Ch1) then",
                                 "else if (Ch2>2) register1=1",
                                 "else class=2",
                                 "endif",
                                 "endif",
                                 "class=class+1",
                                 "return",
                                 "begin",
                                 "end",
                                 "weightclasses 1,2:3",
                                 "if (Ch3) return",
                                 "if (Ch1) if (Ch2) class=0",
                                 "if (Ch1) else if (Ch2) then"};
    std::mt19937 random(20240611);
    int linked = 0, chains = 0;
    for (int i = 0; i < 12000; ++i) {
        std::string text;
        for (unsigned n = random() % 10 + 1; n > 0; --n)
            text += std::string(lines[random() % std::size(lines)]) + "\n";
        Program program(text);
        if (!program.first) continue;
        ++linked;
        std::vector<int> kinds, kindsAgain;
        const Links once = linksOf(program.first, kinds);
        const Outcome again = zel_test::run([&] { setupProgramLogic(program.first); });
        ASSERT_FALSE(again.ended) << text << again.err;
        ASSERT_EQ(once, linksOf(program.first, kindsAgain)) << text;
        ASSERT_EQ(kinds, kindsAgain) << text;
        chains += std::count(kinds.begin(), kinds.end(), ELSE_IF_END_STATEMENT) > 0;
        program.classOf(1, 0, 1);
        ASSERT_EQ(program.result, 0) << text;
    }
    EXPECT_GT(linked, 800);
    EXPECT_GT(chains, 80);
}

}  // namespace
