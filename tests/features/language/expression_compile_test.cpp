// Compiling expressions: text to postfix list, text to status.
#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include "support/expression.hpp"
#include "support/outcome.hpp"
#include "zel_features/zel_features.h"

namespace {

using zel_test::Compiled;
using zel_test::Definitions;

// What printStack shows, a semicolon for each end of line.
std::string dump(const ZELStackStruct& stack)
{
    std::string text = zel_test::run([&] { printStack(&stack); }).out;
    for (char& c : text)
        if (c == '\n') c = ';';
    return text;
}

struct DumpRow {
    const char* text;
    const char* dump;
};

struct StatusRow {
    const char* text;
    int status;
};

// a, b, c and d are the channels 1 to 4 under names of one character.
const Definitions& oneCharacterNames()
{
    static const Definitions names{{"a", "Ch1"}, {"b", "Ch2"}, {"c", "Ch3"}, {"d", "Ch4"}};
    return names;
}

void expectDumps(const std::vector<DumpRow>& rows, const CommandListStruct* definitions = nullptr)
{
    for (const DumpRow& row : rows) {
        SCOPED_TRACE(row.text);
        const Compiled compiled(row.text, false, definitions);
        EXPECT_EQ(compiled.status, 0);
        EXPECT_EQ(dump(compiled.stack), row.dump);
    }
}

void expectStatuses(const std::vector<StatusRow>& rows,
                    const CommandListStruct* definitions = nullptr)
{
    for (const StatusRow& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Compiled(row.text, true, definitions).status, row.status);
    }
}

TEST(ExpressionCompile, OperandsAreConstantsVariablesChannelsAndRegisters)
{
    expectDumps({
        {"7", "CON 7.000000;"},
        {"sz", "VAR 1;"},
        {"Ch12", "CHAN 12;"},
        {"register3", "REG 3;"},
    });
}

TEST(ExpressionCompile, EveryVariableNameHasItsIndex)
{
    const char* const names[] = {"class",          "sz",         "solar_zenith", "vz",
                                 "viewing_zenith", "az",         "azimuth",      "sg",
                                 "sunglint",       "lat",        "latitude",     "lon",
                                 "longitude",      "olson_eco",  "igbp_eco",     "percent_water",
                                 "terrain",        "julian_day", "year"};
    ASSERT_EQ(std::size(names), 19U);
    for (std::size_t i = 0; i < std::size(names); ++i)
        EXPECT_EQ(dump(Compiled(names[i]).stack), "VAR " + std::to_string(i) + ";") << names[i];
}

TEST(ExpressionCompile, OperandNamesAreReadWithoutRegardToCase)
{
    expectDumps({
        {"CLASS", "VAR 0;"},
        {"Solar_Zenith", "VAR 2;"},
        {"CH12", "CHAN 12;"},
        {"cH12", "CHAN 12;"},
        {"REGISTER3", "REG 3;"},
        {"Register03", "REG 3;"},
    });
}

TEST(ExpressionCompile, WhiteSpaceMeansNothingAnywhere)
{
    expectDumps({
        {" C h 1\t2 ", "CHAN 12;"},
        {"l\no\vg\f1\r0 ( s z )", "VAR 1;OPER LOG10 log10;"},
        {"1 . 5 e 2", "CON 150.000000;"},
        {"sz & & vz", "VAR 1;VAR 3;OPER AND &&;"},
    });
}

TEST(ExpressionCompile, NothingCompilesToAnEmptyList)
{
    expectDumps({{"", ""}, {" \t\n\v\f\r", ""}});
}

TEST(ExpressionCompile, EveryOperatorAppendsItsIndex)
{
    expectDumps({
        {"skip_pixel", "OPER SKIP_PIXEL skip_pixel;"},
        {"1,2", "CON 1.000000;CON 2.000000;OPER COMMA ,;"},
        {"sz=2", "LVALUE 1;CON 2.000000;OPER SET_VARIABLE =;"},
        {"1||2", "CON 1.000000;CON 2.000000;OPER OR ||;"},
        {"1&&2", "CON 1.000000;CON 2.000000;OPER AND &&;"},
        {"1!=2", "CON 1.000000;CON 2.000000;OPER NOTEQUAL !=;"},
        {"1==2", "CON 1.000000;CON 2.000000;OPER EQUAL ==;"},
        {"1<=2", "CON 1.000000;CON 2.000000;OPER LESSTHANOREQUAL <=;"},
        {"1>=2", "CON 1.000000;CON 2.000000;OPER GREATERTHANOREQUAL >=;"},
        {"1>2", "CON 1.000000;CON 2.000000;OPER GREATERTHAN >;"},
        {"1<2", "CON 1.000000;CON 2.000000;OPER LESSTHAN <;"},
        {"1-2", "CON 1.000000;CON 2.000000;OPER SUB -;"},
        {"1+2", "CON 1.000000;CON 2.000000;OPER ADD +;"},
        {"1*2", "CON 1.000000;CON 2.000000;OPER MUL *;"},
        {"1 saferatio 2", "CON 1.000000;CON 2.000000;OPER RATIO saferatio;"},
        {"1/2", "CON 1.000000;CON 2.000000;OPER DIV /;"},
        {"-2", "CON 2.000000;OPER NEGATIVE -;"},
        {"!2", "CON 2.000000;OPER NOT !;"},
        {"value(1,2,3)",
         "CON 1.000000;CON 2.000000;OPER COMMA ,;CON 3.000000;OPER COMMA ,;OPER VAL value;"},
        {"saturation(1,2,3)",
         "CON 1.000000;CON 2.000000;OPER COMMA ,;CON 3.000000;OPER COMMA ,;OPER SAT saturation;"},
        {"hue(1,2,3)",
         "CON 1.000000;CON 2.000000;OPER COMMA ,;CON 3.000000;OPER COMMA ,;OPER HUE hue;"},
        {"length3(1,2,3)",
         "CON 1.000000;CON 2.000000;OPER COMMA ,;CON 3.000000;OPER COMMA ,;OPER LENGTH3 length3;"},
        {"length2(1,2)", "CON 1.000000;CON 2.000000;OPER COMMA ,;OPER LENGTH2 length2;"},
        {"atan2(1,2)", "CON 1.000000;CON 2.000000;OPER COMMA ,;OPER ATAN atan2;"},
        {"tan(1)", "CON 1.000000;OPER TAN tan;"},
        {"cos(1)", "CON 1.000000;OPER COS cos;"},
        {"sin(1)", "CON 1.000000;OPER SIN sin;"},
        {"deg2rad(1)", "CON 1.000000;OPER D2RAD deg2rad;"},
        {"log10(1)", "CON 1.000000;OPER LOG10 log10;"},
        {"log(1)", "CON 1.000000;OPER LOG log;"},
        {"exp(1)", "CON 1.000000;OPER EXP exp;"},
        {"pow(1,2)", "CON 1.000000;CON 2.000000;OPER COMMA ,;OPER POW pow;"},
        {"sqrt(1)", "CON 1.000000;OPER SQRT sqrt;"},
    });
}

TEST(ExpressionCompile, ThePublicTablesAgreeWithTheLanguage)
{
    const char* const texts[] = {
        "skip_pixel", ",",          "=",   "||",      "&&",      "!=",        "==",  "<=",  ">=",
        ">",          "<",          "-",   "+",       "*",       "saferatio", "/",   "-",   "!",
        "value",      "saturation", "hue", "length3", "length2", "atan2",     "tan", "cos", "sin",
        "deg2rad",    "log10",      "log", "exp",     "pow",     "sqrt"};
    const int operands[] = {0, 0, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 1,
                            1, 3, 3, 3, 3, 2, 2, 1, 1, 1, 1, 1, 1, 1, 2, 1};
    const int levelSizes[] = {1, 1, 1, 1, 1, 2, 4, 2, 3, 2, 15};
    ASSERT_EQ(numOperators, 33);
    for (int i = 0; i < numOperators; ++i) {
        EXPECT_STREQ(Operators[i].name, texts[i]);
        EXPECT_EQ(Operators[i].OperatorIndex, i);
        EXPECT_EQ(Operators[i].numOperands, operands[i]) << texts[i];
    }
    ASSERT_EQ(numOperatorLevels, 11);
    int first = 0;
    for (int level = 0; level < numOperatorLevels; ++level) {
        EXPECT_EQ(OperatorLevels[level].numOperators, levelSizes[level]) << level;
        EXPECT_EQ(OperatorLevels[level].Operators, Operators + first) << level;
        first += levelSizes[level];
    }
    const char* const labels[] = {"OPER", "CON", "CHAN", "VAR", "LVALUE", "CHAN_LVALUE"};
    for (int kind = 0; kind < 6; ++kind) EXPECT_STREQ(typeLabels[kind], labels[kind]);
    EXPECT_STREQ(operatorLabels[SET_VARIABLE], "SET_VARIABLE");
    EXPECT_EQ(sizeof(elementUnion), 4U);
}

TEST(ExpressionCompile, WeakerLevelsSplitFirst)
{
    expectDumps({
        {"10||20&&30", "CON 10.000000;CON 20.000000;CON 30.000000;OPER AND &&;OPER OR ||;"},
        {"10&&20||30", "CON 10.000000;CON 20.000000;OPER AND &&;CON 30.000000;OPER OR ||;"},
        {"10!=20<30",
         "CON 10.000000;CON 20.000000;CON 30.000000;OPER LESSTHAN <;OPER NOTEQUAL !=;"},
        {"10<20+30", "CON 10.000000;CON 20.000000;CON 30.000000;OPER ADD +;OPER LESSTHAN <;"},
        {"10+20*30", "CON 10.000000;CON 20.000000;CON 30.000000;OPER MUL *;OPER ADD +;"},
        {"-10*20", "CON 10.000000;OPER NEGATIVE -;CON 20.000000;OPER MUL *;"},
        {"!10==20", "CON 10.000000;OPER NOT !;CON 20.000000;OPER EQUAL ==;"},
        {"sqrt(sz)+1", "VAR 1;OPER SQRT sqrt;CON 1.000000;OPER ADD +;"},
        {"sz=10||20", "LVALUE 1;CON 10.000000;CON 20.000000;OPER OR ||;OPER SET_VARIABLE =;"},
    });
}

TEST(ExpressionCompile, ARunOfOneLevelSplitsAtItsRightmostMember)
{
    expectDumps({
        {"10+20+30", "CON 10.000000;CON 20.000000;OPER ADD +;CON 30.000000;OPER ADD +;"},
        {"10/20*30", "CON 10.000000;CON 20.000000;OPER DIV /;CON 30.000000;OPER MUL *;"},
        {"10 saferatio 20/30",
         "CON 10.000000;CON 20.000000;OPER RATIO saferatio;CON 30.000000;OPER DIV /;"},
        {"10<20>30",
         "CON 10.000000;CON 20.000000;OPER LESSTHAN <;CON 30.000000;OPER GREATERTHAN >;"},
        {"10==20!=30", "CON 10.000000;CON 20.000000;OPER EQUAL ==;CON 30.000000;OPER NOTEQUAL !=;"},
    });
}

TEST(ExpressionCompile, EnclosingParenthesesAreDropped)
{
    expectDumps({
        {"(10+20)", "CON 10.000000;CON 20.000000;OPER ADD +;"},
        {"(((10+20)))", "CON 10.000000;CON 20.000000;OPER ADD +;"},
        {"(10)+(20)", "CON 10.000000;CON 20.000000;OPER ADD +;"},
        {"((10)+(20))", "CON 10.000000;CON 20.000000;OPER ADD +;"},
        {"10*(20+30)", "CON 10.000000;CON 20.000000;CON 30.000000;OPER ADD +;OPER MUL *;"},
        {"(sz)=1", "LVALUE 1;CON 1.000000;OPER SET_VARIABLE =;"},
        {"log((10))", "CON 10.000000;OPER LOG log;"},
    });
}

TEST(ExpressionCompile, NothingInParenthesesIsTheConstantZero)
{
    expectDumps({
        {"()", "CON 0.000000;"},
        {"(())", "CON 0.000000;"},
        {"sin()", "CON 0.000000;OPER SIN sin;"},
    });
}

TEST(ExpressionCompile, ParenthesesThatDoNotPairAreRefused)
{
    expectStatuses({
        {"(sz+vz", 1},
        {"((sz)", 1},
        {"sz+vz)", 2},
        {"(sz))", 2},
        {")(", 4},       // they pair by number; the text is then no operand
        {"sz)+(vz", 4},  // and its "+" stands at a depth of its own
        {"sin(1", 1},
    });
}

TEST(ExpressionCompile, EqualSignsOfComparisonsAssignNothing)
{
    expectDumps({
        {"sz==vz", "VAR 1;VAR 3;OPER EQUAL ==;"},
        {"sz!=vz", "VAR 1;VAR 3;OPER NOTEQUAL !=;"},
        {"sz<=vz", "VAR 1;VAR 3;OPER LESSTHANOREQUAL <=;"},
        {"sz>=vz", "VAR 1;VAR 3;OPER GREATERTHANOREQUAL >=;"},
        {"az=sz==vz", "LVALUE 5;VAR 1;VAR 3;OPER EQUAL ==;OPER SET_VARIABLE =;"},
        // Both signs of "==" are passed over, the third from the right is an assignment.
        {"sz===vz", "LVALUE 1;VAR 3;OPER EQUAL ==;OPER SET_VARIABLE =;"},
        {"=vz", "VAR 3;OPER SET_VARIABLE =;"},
        {"az=<vz", "LVALUE 5;VAR 3;OPER LESSTHAN <;OPER SET_VARIABLE =;"},
    });
}

TEST(ExpressionCompile, TargetsOfAnAssignmentAreMarked)
{
    expectDumps({
        {"class=1", "LVALUE 0;CON 1.000000;OPER SET_VARIABLE =;"},
        {"Ch3=Ch1", "CHAN_LVALUE 3;CHAN 1;OPER SET_VARIABLE =;"},
        {"register2=register1", "REG_LVALUE 2;REG 1;OPER SET_VARIABLE =;"},
        // The mark passes to the left side of a split only.
        {"sz+vz=1", "LVALUE 1;VAR 3;OPER ADD +;CON 1.000000;OPER SET_VARIABLE =;"},
        {"-sz=1", "VAR 1;OPER NEGATIVE -;CON 1.000000;OPER SET_VARIABLE =;"},
        {"sz=vz=1", "LVALUE 1;VAR 3;OPER SET_VARIABLE =;CON 1.000000;OPER SET_VARIABLE =;"},
        {"3=1", "CON 3.000000;CON 1.000000;OPER SET_VARIABLE =;"},
    });
}

TEST(ExpressionCompile, AMinusWithinTwoCharactersOfAnOperatorIsNoSubtraction)
{
    expectDumps(
        {
            {"a-b", "CHAN 1;CHAN 2;OPER SUB -;"},
            {"a-b-c", "CHAN 1;CHAN 2;CHAN 3;OPER SUB -;OPER SUB -;"},
            {"a*b-c", "CHAN 1;CHAN 2;CHAN 3;OPER SUB -;OPER MUL *;"},
            {"a/b-c", "CHAN 1;CHAN 2;CHAN 3;OPER SUB -;OPER DIV /;"},
            {"a+b-c", "CHAN 1;CHAN 2;CHAN 3;OPER SUB -;OPER ADD +;"},
            {"a-b+c", "CHAN 1;CHAN 2;OPER SUB -;CHAN 3;OPER ADD +;"},
            {"a-b-c-d", "CHAN 1;CHAN 2;CHAN 3;CHAN 4;OPER SUB -;OPER SUB -;OPER SUB -;"},
            {"2*-3", "CON 2.000000;CON 3.000000;OPER NEGATIVE -;OPER MUL *;"},
            {"2--3", "CON 2.000000;CON 3.000000;OPER NEGATIVE -;OPER SUB -;"},
            {"2<-3", "CON 2.000000;CON 3.000000;OPER NEGATIVE -;OPER LESSTHAN <;"},
            // A second character between, a parenthesis too, makes it one again.
            {"sz-vz-az", "VAR 1;VAR 3;OPER SUB -;VAR 5;OPER SUB -;"},
            {"sz*vz-az", "VAR 1;VAR 3;OPER MUL *;VAR 5;OPER SUB -;"},
            {"a*(b)-c", "CHAN 1;CHAN 2;OPER MUL *;CHAN 3;OPER SUB -;"},
            {"(a-b)-c", "CHAN 1;CHAN 2;OPER SUB -;CHAN 3;OPER SUB -;"},
        },
        oneCharacterNames().first());
}

TEST(ExpressionCompile, AMinusAfterAnExponentIsPartOfTheConstant)
{
    expectDumps({
        {"1e-5", "CON 0.000010;"},
        {"2.5E-3", "CON 0.002500;"},
        {"sz-1e-5", "VAR 1;CON 0.000010;OPER SUB -;"},
        {"-1e-2", "CON 0.010000;OPER NEGATIVE -;"},
        // An exponent needs a digit before its "e": here "e" is the constant 0.
        {"e-5", "CON 0.000000;CON 5.000000;OPER SUB -;"},
        // With a plus it is an addition to "1e", which is 1.
        {"1e+5", "CON 1.000000;CON 5.000000;OPER ADD +;"},
        // Any digit before "e-" will do, a channel's too.
        {"Ch1e-5", "CON 0.000010;"},
        {"1e--5", "CON 1.000000;CON 5.000000;OPER NEGATIVE -;"},
    });
}

TEST(ExpressionCompile, ASignMayStandAnywhereAndThenLacksItsOperator)
{
    // The second "-" is no subtraction (too close to "!"), so it is a sign with a left-hand side.
    expectDumps({{"!1-2", "CON 1.000000;OPER NOT !;CON 2.000000;OPER NEGATIVE -;"}});
    expectStatuses({{"!1-2", 3}, {"1!2", 3}, {"+5", 3}, {"5+", 3}, {"*", 3}});
}

TEST(ExpressionCompile, FunctionsStandAtTheStartOfATextBeforeAParenthesis)
{
    expectDumps({
        {"log10(sz)", "VAR 1;OPER LOG10 log10;"},
        {"2*log(sz)", "CON 2.000000;VAR 1;OPER LOG log;OPER MUL *;"},
        {"cos(sin(tan(sz)))", "VAR 1;OPER TAN tan;OPER SIN sin;OPER COS cos;"},
        {"pow(sz+1,-vz)",
         "VAR 1;CON 1.000000;OPER ADD +;VAR 3;OPER NEGATIVE -;OPER COMMA ,;OPER POW pow;"},
    });
    expectStatuses({
        {"log", 4},  // a name without arguments
        {"log 10", 4},
        {"sin(1)cos(1)", 4},  // the second name is not at a start
        {"LOG(1)", 4},        // operators are matched as they are written
        {"2sin(1)", 4},
    });
}

TEST(ExpressionCompile, ChannelsNeedDigits)
{
    expectDumps({
        {"Ch", "CHAN 0;"},
        {"Ch0", "CHAN 0;"},
        {"Ch007", "CHAN 7;"},
        {"Ch99999999999", "CHAN 2147483647;"},
        // What follows the two letters may still be something else.
        {"Ch1.5", "CON 1.500000;"},
        {"Chregister4", "REG 4;"},
        {"Ch2e1", "CON 20.000000;"},
        {"Chregister4=1", "REG_LVALUE 4;CON 1.000000;OPER SET_VARIABLE =;"},
    });
    expectStatuses({{"Chsz", 4}, {"ChX", 4}});
}

TEST(ExpressionCompile, RegistersTakeTheNumberThatFollows)
{
    expectDumps({
        {"register", "REG 0;"},
        {"registerx", "REG 0;"},
        {"register12ab", "REG 12;"},
        {"register21", "REG 21;"},
    });
}

TEST(ExpressionCompile, ConstantsAreDigitsWithAPointAndAnExponent)
{
    expectDumps({
        {"007.50", "CON 7.500000;"},
        {".5", "CON 0.500000;"},
        {"5.", "CON 5.000000;"},
        {".", "CON 0.000000;"},
        {"e", "CON 0.000000;"},
        {"3e2", "CON 300.000000;"},
        {"3E2", "CON 300.000000;"},
        {"1e", "CON 1.000000;"},
        {"16777217", "CON 16777216.000000;"},  // the nearest float
        {"1e999", "CON inf;"},
        {"1e-999", "CON 0.000000;"},
    });
    expectStatuses({
        {"1.2.3", 4},
        {"1e2e3", 4},
        {"1f", 4},
        {"0x10", 4},
        {"foo", 4},
        {"szz", 4},
        {"$", 4},
    });
}

TEST(ExpressionCompile, DefinitionsStandForTheirCompiledExpression)
{
    const Definitions names{{"bright", "Ch1 > 50"},
                            {"both", "bright && Ch2<0.3"},
                            {"sum", "Ch1+Ch2"},
                            {"sz", "5"},
                            {"bright", "Ch9"}};
    expectDumps(
        {
            {"bright", "CHAN 1;CON 50.000000;OPER GREATERTHAN >;"},
            {"both", "CHAN 1;CON 50.000000;OPER GREATERTHAN >;CHAN 2;CON 0.300000;"
                     "OPER LESSTHAN <;OPER AND &&;"},
            // A macro for compiled elements, not for text: no parentheses are needed.
            {"sum*2", "CHAN 1;CHAN 2;OPER ADD +;CON 2.000000;OPER MUL *;"},
            {"sz", "CON 5.000000;"},  // before the variable
            {"SZ", "VAR 1;"},         // labels match exactly
        },
        names.first());
    expectStatuses({{"Bright", 4}, {"brightx", 4}}, names.first());
}

TEST(ExpressionCompile, DefinitionsAreNotTargets)
{
    const Definitions names{{"solar", "sz"}};
    expectDumps({{"solar=1", "VAR 1;CON 1.000000;OPER SET_VARIABLE =;"}}, names.first());
}

TEST(ExpressionCompile, ADefinitionOfARegisterNamesThatRegister)
{
    const Definitions names{{"r", " Re gister 3"}, {"zero", "register"}, {"odd", "register4+Ch1"}};
    expectDumps(
        {
            {"r", "REG 3;"},
            {"r=5", "REG_LVALUE 3;CON 5.000000;OPER SET_VARIABLE =;"},
            {"zero", "REG 0;"},
            {"odd", "REG 4;"},  // the rest of its text is lost
        },
        names.first());
}

// Its name is what it would be without it: an unknown word, or a channel.
TEST(ExpressionCompile, ADefinitionBeingCompiledIsNotThereYet)
{
    CommandListStruct entry = {};
    char label[] = "self";
    entry.Label = label;
    expectStatuses({{"self", 4}, {"self+1", 4}}, &entry);
    char channel[] = "Ch1";
    entry.Label = channel;
    const Compiled compiled("Ch1", true, &entry);
    EXPECT_EQ(compiled.status, 0);
    EXPECT_EQ(dump(compiled.stack), dump(Compiled("Ch1").stack));
}

// 4,000,000 elements are 40 times 98,304, the definition itself and 39 expressions that use it;
// what is freed makes room again.
TEST(ExpressionCompile, AllExpressionsTogetherAreBounded)
{
    Compiled large("Ch1+1", false);
    for (int i = 0; i < 15; ++i) addStack(&large.stack, &large.stack);
    ASSERT_EQ(large.stack.numStackElements, 98304);
    CommandListStruct entry = {};
    char label[] = "large";
    entry.Label = label;
    entry.Condition = &large.stack;
    std::vector<std::unique_ptr<Compiled>> held;
    while (held.size() < 100) {
        held.push_back(std::make_unique<Compiled>("large", false, &entry));
        if (held.back()->status != 0) break;
    }
    EXPECT_EQ(held.size(), 40u);
    EXPECT_EQ(held.back()->status, 3);
    EXPECT_EQ(Compiled("Ch1+2*Ch3").status, 0);
    held.pop_back();
    held.pop_back();
    EXPECT_EQ(Compiled("large", false, &entry).status, 0);
}

TEST(ExpressionCompile, ADefinitionWithoutATextStandsForItsElements)
{
    const Compiled sum("Ch1+2");
    ZELStackStruct elements = sum.stack;
    elements.expression = nullptr;
    CommandListStruct entry = {};
    char label[] = "sum";
    entry.Label = label;
    entry.Condition = &elements;
    expectDumps({{"sum", "CHAN 1;CON 2.000000;OPER ADD +;"}}, &entry);
}

// Elements that no compiler made.
TEST(ExpressionCompile, ADefinitionWithAnUnknownOperatorIsASyntaxErrorForTheCheck)
{
    for (const int index : {-1, 33}) {
        Compiled sum("Ch1+2");
        sum.stack.stackElements->op.int_t = index;
        CommandListStruct entry = {};
        char label[] = "sum";
        entry.Label = label;
        entry.Condition = &sum.stack;
        expectStatuses({{"sum", 3}}, &entry);
        EXPECT_EQ(Compiled("sum", false, &entry).status, 0);
    }
}

TEST(ExpressionCompile, ElementsOfNoKindAreListedByNumber)
{
    Compiled one("1");
    one.stack.stackHead->op.int_t = 7;
    for (const int type : {-1, 8}) {
        one.stack.stackHead->type = type;
        EXPECT_EQ(zel_test::run([&] { printStack(&one.stack); }).out,
                  std::to_string(type) + " 7\n");
    }
}

TEST(ExpressionCompile, EntriesWithoutALabelArePassedOver)
{
    CommandListStruct entry = {};
    expectDumps({{"sz", "VAR 1;"}, {"()", "CON 0.000000;"}}, &entry);
}

TEST(ExpressionCompile, TheCheckWantsOneValue)
{
    expectStatuses({
        {"", 3},
        {"1", 0},
        {"sz,vz", 3},
        {"class=1,sz=2", 3},
        {"pow(1,2)", 0},
        {"pow(1)", 3},
        {"pow(1,2,3)", 3},
        {"sin(1,2)", 3},
        {"hue(1,2,3)", 0},
        {"hue(1,2)", 3},
        {"skip_pixel", 0},
        {"1+skip_pixel", 0},  // by its counts alone: it fails when it is evaluated
        {"1,skip_pixel", 3},
    });
}

TEST(ExpressionCompile, TheCheckWantsOneAssignmentAtMost)
{
    expectStatuses({
        {"class=1", 0},
        {"class=sz=1", 5},
        {"(class=1)+(sz=2)", 5},
        {"(class=1)+2", 0},
        {"class=1,sz=2", 3},  // the number of values comes first
    });
}

TEST(ExpressionCompile, WithoutTheCheckListsAndDoubleAssignmentsPass)
{
    for (const char* text : {"", "3,5", "class=sz=1", "+5"})
        EXPECT_EQ(Compiled(text, false).status, 0) << text;
    EXPECT_EQ(Compiled("foo", false).status, 4);
}

TEST(ExpressionCompile, ParenthesesAreJudgedBeforeOperands)
{
    expectStatuses({{"foo+(1", 1}, {"(foo)+(bar))", 2}, {"foo+1+)(", 4}, {"1+foo", 4}});
}

TEST(ExpressionCompile, BothSidesOfAFailureAreCompiled)
{
    const Compiled compiled("foo+sz", false);
    EXPECT_EQ(compiled.status, 4);
    // The unknown name left an element that says nothing, the operator was not appended.
    EXPECT_EQ(compiled.stack.numStackElements, 2);
    EXPECT_EQ(compiled.stack.stackHead->type, OPER);
    EXPECT_EQ(compiled.stack.stackElements->type, VAR);
}

TEST(ExpressionCompile, TheStackKeepsTheTextAsGiven)
{
    const Compiled compiled(" Ch1 \t+ 2 ");
    EXPECT_STREQ(compiled.stack.expression, " Ch1 \t+ 2 ");
    EXPECT_EQ(compiled.stack.numStackElements, 3);
    EXPECT_EQ(compiled.stack.stackHead->type, CHAN);
    EXPECT_EQ(compiled.stack.stackElements->type, OPER);
    EXPECT_EQ(compiled.stack.stackElements->op.int_t, ADD);
    EXPECT_EQ(compiled.stack.stackElements->nextElement, nullptr);
}

TEST(ExpressionCompile, FreeingEmptiesTheStack)
{
    ZELStackStruct stack;
    ASSERT_EQ(ZELParseExpression("1+2", &stack, 1, nullptr), 0);
    ZELFreeStackElements(&stack);
    EXPECT_EQ(stack.stackElements, nullptr);
    EXPECT_EQ(stack.stackHead, nullptr);
    EXPECT_EQ(stack.numStackElements, 0);
    EXPECT_EQ(stack.expression, nullptr);
    ZELFreeStackElements(&stack);
    ZELFreeStackElements(nullptr);
    ZELFreeStack(nullptr);
}

TEST(ExpressionCompile, TwoHundredAndFortyCharactersFitBlanksNotCounted)
{
    const std::string fits(240, '7');
    EXPECT_EQ(Compiled(fits.c_str(), true).status, 0);
    EXPECT_EQ(Compiled((fits + " \t\n").c_str(), true).status, 0);
    EXPECT_EQ(Compiled((fits + "7").c_str(), true).status, 3);
    const Compiled unchecked((fits + fits).c_str(), false);
    EXPECT_EQ(unchecked.status, 3);
    EXPECT_EQ(unchecked.stack.numStackElements, 0);
    EXPECT_EQ(unchecked.stack.expression, fits + fits);
}

TEST(ExpressionCompile, DeepNestingCompiles)
{
    const std::string text = std::string(119, '(') + "sz" + std::string(119, ')');
    EXPECT_EQ(dump(Compiled(text.c_str()).stack), "VAR 1;");
    // A sign within two characters of the one to its right is its left-hand side, not its operand:
    // the rightmost splits first.
    EXPECT_EQ(dump(Compiled("--1", false).stack), "OPER NEGATIVE -;CON 1.000000;OPER NEGATIVE -;");
}

TEST(ExpressionCompile, ParseConditionReturnsAStackOrTheStatus)
{
    int status = -7;
    ZELStackStruct* stack = parseCondition("sz+1", &status, 1, nullptr);
    EXPECT_EQ(status, 0);
    ASSERT_NE(stack, nullptr);
    EXPECT_EQ(dump(*stack), "VAR 1;CON 1.000000;OPER ADD +;");
    ZELFreeStack(stack);

    EXPECT_EQ(parseCondition("sz,1", &status, 1, nullptr), nullptr);
    EXPECT_EQ(status, 3);
    stack = parseCondition("sz,1", &status, 0, nullptr);
    EXPECT_EQ(status, 0);
    ASSERT_NE(stack, nullptr);
    ZELFreeStack(stack);
}

TEST(ExpressionCompile, AddStackAppendsCopies)
{
    Compiled to("sz");
    const Compiled from("Ch1+2");
    addStack(&to.stack, &from.stack);
    EXPECT_EQ(dump(to.stack), "VAR 1;CHAN 1;CON 2.000000;OPER ADD +;");
    EXPECT_EQ(to.stack.numStackElements, 4);
    EXPECT_NE(to.stack.stackElements, from.stack.stackElements);
    EXPECT_EQ(dump(from.stack), "CHAN 1;CON 2.000000;OPER ADD +;");
}

TEST(ExpressionCompile, EveryStatusHasItsMessage)
{
    const char* const messages[] = {"no errors",
                                    "missing right parenthesis",
                                    "missing left parenthesis",
                                    "syntax error",
                                    "illegal character in constant or unknown variable",
                                    "only one equal sign allowed per expression"};
    ASSERT_EQ(std::size(messages), static_cast<std::size_t>(ZEL_NUM_PARSE_STATUSES));
    for (std::size_t i = 0; i < std::size(messages); ++i)
        EXPECT_STREQ(ParseErrorMsgs[i], messages[i]);
}

}  // namespace
