// Pixel programs: compiling them, and what is wrong with those that do not compile.
#include <gtest/gtest.h>

#include "support/program.hpp"

namespace {

using zel_test::CompleteParameters;
using zel_test::elements;
using zel_test::Outcome;
using zel_test::Program;
using zel_test::ProgramText;
using zel_test::text;

TEST(Program, AStatementOfEachKindHasItsNumberAndLabel)
{
    const char* const labels[] = {"OTHER_STATEMENT",
                                  "IF_STATEMENT",
                                  "ELSE_STATEMENT",
                                  "ENDIF_STATEMENT",
                                  "WEIGHT_STATEMENT",
                                  "THEN_STATEMENT",
                                  "ELSE_THEN_STATEMENT (implied)",
                                  "BEGIN_STATEMENT",
                                  "END_STATEMENT",
                                  "IF_END_STATEMENT",
                                  "ELSE_IF_END_STATEMENT",
                                  "END_ELSE_STATEMENT",
                                  "IMPLIED_ENDIF_STATEMENT",
                                  "RETURN_STATEMENT"};
    for (int kind = 0; kind < 14; ++kind) {
        ProgramStruct* statement = addProgamStatement(nullptr, kind, 7);
        EXPECT_EQ(zel_test::run([&] { printProgramLine(statement); }).out,
                  std::string("7: ") + labels[kind] + " T -> 0    F -> 0\n");
        ZELFeatureFreeProgram(statement);
    }
}

// Neither a blank nor a text stands for an expression that is missing; one without its text is
// listed as an empty one.
TEST(Program, AStatementIsListedWithTheExpressionsThatItHas)
{
    const auto listed = [](ProgramStruct* statement) {
        return zel_test::run([&] { printProgram(statement); }).out;
    };
    int status = -1;
    ProgramStruct* first = addProgamStatement(nullptr, WEIGHT_STATEMENT, 3);
    ProgramStruct* second = addProgamStatement(first, OTHER_STATEMENT, 4);
    EXPECT_EQ(listed(first), "3: WEIGHT_STATEMENT T -> 4    F -> 4\n"
                             "4: OTHER_STATEMENT T -> 0    F -> 0\n");
    first->ClassList = parseCondition("3,5", &status, 0, nullptr);
    second->Statement = static_cast<ZELStackStruct*>(std::calloc(1, sizeof(ZELStackStruct)));
    EXPECT_EQ(listed(first), "3: WEIGHT_STATEMENT 3,5 T -> 4    F -> 4\n"
                             "4: OTHER_STATEMENT  T -> 0    F -> 0\n");
    first->Statement = parseCondition("Ch1", &status, 1, nullptr);
    EXPECT_EQ(listed(first), "3: WEIGHT_STATEMENT 3,5 Ch1 T -> 4    F -> 4\n"
                             "4: OTHER_STATEMENT  T -> 0    F -> 0\n");
    ZELFeatureFreeProgram(first);
}

TEST(Program, AStatementThatIsAddedFollowsTheOneBefore)
{
    ProgramStruct* first = addProgamStatement(nullptr, BEGIN_STATEMENT, 3);
    ProgramStruct* second = addProgamStatement(first, RETURN_STATEMENT, 4);
    EXPECT_EQ(first->lineNum, 3);
    EXPECT_EQ(first->statementType, 7);
    EXPECT_EQ(first->previous, nullptr);
    EXPECT_EQ(first->next, second);
    EXPECT_EQ(first->nextTrue, second);
    EXPECT_EQ(first->nextFalse, second);
    EXPECT_EQ(second->previous, first);
    EXPECT_EQ(second->next, nullptr);
    EXPECT_EQ(second->nextTrue, nullptr);
    EXPECT_EQ(second->nextFalse, nullptr);
    EXPECT_EQ(second->Statement, nullptr);
    EXPECT_EQ(second->ClassList, nullptr);
    ZELFeatureFreeProgram(first);
}

TEST(Program, EachLineThatIsNotBlankIsAStatement)
{
    const Program program("class = 1\n\n   \t\n  register1 = Ch1 + 2  \n");
    EXPECT_EQ(program.outcome.err, "");
    EXPECT_EQ(program.outcome.out, "");
    EXPECT_EQ(program.listing(), "1: OTHER_STATEMENT class = 1 T -> 4    F -> 4\n"
                                 "4: OTHER_STATEMENT register1 = Ch1 + 2 T -> 0    F -> 0\n");
    EXPECT_EQ(elements(program.first->Statement), "4:0 1:1 0:2");
}

TEST(Program, AnEmptyTextIsNoProgram)
{
    EXPECT_EQ(Program("").first, nullptr);
    EXPECT_EQ(Program("\n  \n").first, nullptr);
    EXPECT_EQ(Program("").outcome.err, "");
}

TEST(Program, KeywordsMatchWithoutRegardToCase)
{
    const Program program("IF (Ch1) THEN\nBegin\nEND\nElse\nWeightClasses 1:2\nENDIF\nReturn\n");
    EXPECT_EQ(program.listing(), "1: IF_STATEMENT Ch1 T -> 1    F -> 4\n"
                                 "1: THEN_STATEMENT T -> 2    F -> 2\n"
                                 "2: BEGIN_STATEMENT T -> 3    F -> 3\n"
                                 "3: END_STATEMENT T -> 4    F -> 6\n"
                                 "4: ELSE_STATEMENT T -> 4    F -> 4\n"
                                 "4: ELSE_THEN_STATEMENT (implied) T -> 5    F -> 5\n"
                                 "5: WEIGHT_STATEMENT 1 2 T -> 6    F -> 6\n"
                                 "6: ENDIF_STATEMENT T -> 7    F -> 7\n"
                                 "7: RETURN_STATEMENT T -> 0    F -> 0\n");
}

TEST(Program, AConditionRunsToItsMatchingParenthesis)
{
    const Program program("if ((Ch1+1)*(Ch2) > 5) class=(1)\nif(Ch1)return\nreturn\n");
    ASSERT_NE(program.first, nullptr) << program.outcome.err;
    EXPECT_EQ(text(program.first->Statement), "(Ch1+1)*(Ch2) > 5");
    EXPECT_EQ(text(program.first->next->Statement), "class=(1)");
    EXPECT_EQ(text(program.first->next->next->Statement), "Ch1");
    EXPECT_EQ(program.first->next->next->statementType, IF_STATEMENT);
}

TEST(Program, DefinitionsCanBeUsed)
{
    CompleteParameters file("define bright:Ch1>50\ndefine r:register2\n");
    const Program program("if (bright) r=1\nreturn\n", 0, file->Conditions.ListHead);
    ASSERT_NE(program.first, nullptr) << program.outcome.err;
    EXPECT_EQ(elements(program.first->Statement), "2:1 1:50 0:9");
    EXPECT_EQ(elements(program.first->next->Statement), "7:2 1:1 0:2");
}

TEST(Program, WeightsHaveAClassListAndAValue)
{
    const Program program("weightclasses 3,5 : Ch1/2\n");
    ASSERT_NE(program.first, nullptr) << program.outcome.err;
    EXPECT_EQ(program.first->statementType, WEIGHT_STATEMENT);
    EXPECT_EQ(elements(program.first->ClassList), "1:3 1:5 0:1");
    EXPECT_EQ(elements(program.first->Statement), "2:1 1:2 0:15");
}

// ---- What is wrong ----

TEST(Program, ALineThatDoesNotCompileIsReportedAndEndsTheCompile)
{
    const struct {
        const char* line;
        const char* message;
    } rows[] = {
        {"if Ch1 > 5 then", "parse error: Missing start Parenthesis in if condition\n"},
        {"if", "parse error: Missing start Parenthesis in if condition\n"},
        {"if (Ch1 > (5) then", "parse error: Missing end Parenthesis in if condition\n"},
        {"if (foo) then",
         "If condition parse error: illegal character in constant or unknown variable\n"},
        {"if () then", "If condition parse error: syntax error\n"},
        {"if (Ch1)", "if syntax errror: Missing then or statement\n"},
        {"if (Ch1)   ", "if syntax errror: Missing then or statement\n"},
        {"if (Ch1) then class=1",
         "statement parse error: illegal character in constant or unknown variable\n"},
        {"else foo", "statement parse error: illegal character in constant or unknown variable\n"},
        {"weightclasses 3,5",
         "Error: missing colon in weightclasses\n"
         "Usage: weightclasses  <class list separated by commas>:<weight value expression>\n"},
        {"weightclasses 3,x:1",
         "ClassList parse error: illegal character in constant or unknown variable\n"},
        {"weightclasses 3:", "Weight value parse error: syntax error\n"},
        {"weightclasses 3:1,2", "Weight value parse error: syntax error\n"},
        {"class=", "statement parse error: syntax error\n"},
        {"class=register1=2",
         "statement parse error: only one equal sign allowed per expression\n"},
        {"(class=1", "statement parse error: missing right parenthesis\n"},
    };
    for (const auto& row : rows) {
        const Program program(std::string("class=1\n") + row.line + "\nnonsense too\n");
        EXPECT_EQ(program.first, nullptr) << row.line;
        EXPECT_FALSE(program.outcome.ended);
        EXPECT_EQ(program.outcome.err, std::string("line 2: ") + row.line + "\n" + row.message);
        EXPECT_EQ(program.outcome.out, "");
    }
}

TEST(Program, WeightsAreDroppedFromAPostProcessingProgram)
{
    const Program program("class=1\nweightclasses 3,5:0.5\nweightclasses without a colon\n", 1);
    EXPECT_EQ(program.outcome.out, "weightclasses found in postprocess... ignored\n"
                                   "weightclasses found in postprocess... ignored\n");
    EXPECT_EQ(program.outcome.err, "");
    EXPECT_EQ(program.listing(), "1: OTHER_STATEMENT class=1 T -> 0    F -> 0\n");
}

// The next line is not taken for the statement of the if or else.
TEST(Program, AnIfOrElseWhoseWeightsWereDroppedDoesNothing)
{
    Program program("if (Ch1) weightclasses 3:1\nelse weightclasses 4:1\nclass=class+7\nreturn\n",
                    1);
    EXPECT_EQ(program.outcome.err, "");
    EXPECT_EQ(program.listing(), "1: IF_STATEMENT Ch1 T -> 1    F -> 2\n"
                                 "1: IF_END_STATEMENT T -> 2    F -> 2\n"
                                 "2: IMPLIED_ENDIF_STATEMENT T -> 3    F -> 3\n"
                                 "2: ELSE_STATEMENT T -> 2    F -> 2\n"
                                 "2: END_ELSE_STATEMENT T -> 3    F -> 3\n"
                                 "3: OTHER_STATEMENT class=class+7 T -> 4    F -> 4\n"
                                 "4: RETURN_STATEMENT T -> 0    F -> 0\n");
    EXPECT_EQ(program.classOf(0), 7.0f);
    EXPECT_EQ(program.classOf(1), 7.0f);
}

// ---- Texts ----

TEST(Program, ATextIsPrintedWithItsLineNumbers)
{
    const ProgramText text("class=1\n\nreturn\n");
    EXPECT_EQ(zel_test::run([&] { printProgramText(text.first()); }).out,
              "1: class=1 \n2:  \n3: return \n");
}

TEST(Program, ATextIsCopiedWithItsLineNumbers)
{
    ProgramText text("class=1\nreturn\n");
    ProgramLines* copy = ZELFeatureDuplicateProgramText(text.first());
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy->text, text.first()->text);
    EXPECT_STREQ(copy->text, "class=1");
    EXPECT_EQ(copy->lineNumber, 1);
    ASSERT_NE(copy->next, nullptr);
    EXPECT_STREQ(copy->next->text, "return");
    EXPECT_EQ(copy->next->lineNumber, 2);
    EXPECT_EQ(copy->next->next, nullptr);
    ZELFeatureFreeProgramText(copy);
    EXPECT_EQ(ZELFeatureDuplicateProgramText(nullptr), nullptr);
}

TEST(Program, NothingIsFreedOfNothing)
{
    ZELFeatureFreeProgramText(nullptr);
    ZELFeatureFreeProgram(nullptr);
    EXPECT_EQ(zel_test::run([] { printProgramText(nullptr); }).out, "");
}

}  // namespace
