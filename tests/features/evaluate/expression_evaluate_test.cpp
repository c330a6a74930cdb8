// Evaluating expressions on one pixel: values, assignments, and every error.
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "support/expression.hpp"
#include "support/outcome.hpp"
#include "zel_features/language/variables.hpp"
#include "zel_features/zel_features.h"

namespace {

using zel_test::Compiled;
using zel_test::Definitions;
using zel_test::Outcome;

constexpr float infinity = std::numeric_limits<float>::infinity();

// A pixel with five channels, each variable and register with its own value.
struct Scene {
    Scene()
    {
        pixel.olsonEco = 31;
        pixel.igbpEco = 32;
        pixel.percentWater = 33;
        pixel.terrain = 34;
        pixel.sz = 35;
        pixel.vz = 36;
        pixel.az = 37;
        pixel.sg = 38;
        pixel.lat = 39;
        pixel.lon = 40;
        pixel.jday = 41;
        pixel.year = 42;
        pixel.Class = 43;
        pixel.Channels = channels.data();
        pixel.numChannels = 5;
        for (int i = 0; i < ZEL_FEATURE_NUM_REGISTERS; ++i)
            pixel.Registers[i] = 100.0f + static_cast<float>(i);
        ZELBindPixel(&pixel);
    }
    ~Scene() { ZELBindPixel(nullptr); }
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    float value(const std::string& text, const CommandListStruct* definitions = nullptr)
    {
        const Compiled compiled(text, false, definitions);
        EXPECT_EQ(compiled.status, 0) << text;
        return ZELEvaluateStack(&compiled.stack, &pixel);
    }
    Outcome outcome(const std::string& text)
    {
        const Compiled compiled(text, false);
        EXPECT_EQ(compiled.status, 0) << text;
        errno = 0;
        return zel_test::run([&] { ZELEvaluateStack(&compiled.stack, &pixel); });
    }

    std::array<float, 5> channels = {10.0f, 20.0f, 30.0f, 40.0f, 50.0f};
    ZELPixelStruct pixel = {};
};

struct ValueRow {
    const char* text;
    float value;
};

void expectValues(const std::vector<ValueRow>& rows)
{
    Scene scene;
    for (const ValueRow& row : rows) EXPECT_EQ(scene.value(row.text), row.value) << row.text;
}

TEST(ExpressionEvaluate, OperandsAreReadWhereTheyStand)
{
    expectValues({
        {"7.25", 7.25f},
        {"Ch1", 10.0f},
        {"Ch5", 50.0f},
        {"register1", 100.0f},
        {"register20", 119.0f},
        {"class", 43.0f},
        {"sz", 35.0f},
        {"solar_zenith", 35.0f},
        {"vz", 36.0f},
        {"viewing_zenith", 36.0f},
        {"az", 37.0f},
        {"azimuth", 37.0f},
        {"sg", 38.0f},
        {"sunglint", 38.0f},
        {"lat", 39.0f},
        {"latitude", 39.0f},
        {"lon", 40.0f},
        {"longitude", 40.0f},
        {"olson_eco", 31.0f},
        {"igbp_eco", 32.0f},
        {"percent_water", 33.0f},
        {"terrain", 34.0f},
        {"julian_day", 41.0f},
        {"year", 42.0f},
    });
}

TEST(ExpressionEvaluate, TheArgumentsKeepTheirOrder)
{
    expectValues({
        {"10-(3)", 7.0f},
        {"10/4", 2.5f},
        {"2 saferatio 3", 0.5f},
        {"pow(2,3)", 8.0f},
        {"10<=(3)", 0.0f},
    });
}

TEST(ExpressionEvaluate, TruthIsOneAndFalsehoodZero)
{
    expectValues({
        {"2||0", 1.0f}, {"0||-3", 1.0f},   {"0||0", 0.0f}, {"2&&-3", 1.0f}, {"2&&0", 0.0f},
        {"0&&2", 0.0f}, {"0.25||0", 1.0f}, {"2!=3", 1.0f}, {"2!=2", 0.0f},  {"2==2", 1.0f},
        {"2==3", 0.0f}, {"2<=2", 1.0f},    {"3<=2", 0.0f}, {"2>=2", 1.0f},  {"2>=3", 0.0f},
        {"3>2", 1.0f},  {"2>2", 0.0f},     {"2<3", 1.0f},  {"2<2", 0.0f},   {"!0", 1.0f},
        {"!5", 0.0f},   {"!0.001", 0.0f},
    });
}

TEST(ExpressionEvaluate, ArithmeticIsSinglePrecision)
{
    expectValues({
        {"16777216+1", 16777216.0f},  // 2^24 + 1 is no float
        {"0.1+0.2", 0.1f + 0.2f},
        {"1/3*3", 1.0f},
        {"-Ch1", -10.0f},
        {"1e38*10", infinity},
        {"2*3+4", 10.0f},
    });
}

TEST(ExpressionEvaluate, DivisionIsNotGuarded)
{
    Scene scene;
    EXPECT_EQ(scene.value("1/0"), infinity);
    EXPECT_EQ(scene.value("(-1)/0"), -infinity);
    EXPECT_TRUE(std::isnan(scene.value("0/0")));
    EXPECT_EQ(scene.value("5 saferatio 0"), 5.0f);
    EXPECT_EQ(scene.value("5 saferatio (-1)"), infinity);
    EXPECT_EQ(scene.value("log(0)"), -infinity);
    EXPECT_TRUE(std::isnan(scene.value("log(-1)")));
    EXPECT_TRUE(std::isnan(scene.value("sqrt(-1)")));
}

TEST(ExpressionEvaluate, ANumberThatIsNoneIsNeitherEqualNorFalse)
{
    expectValues({
        {"(0/0)==(0/0)", 0.0f},
        {"(0/0)!=(0/0)", 1.0f},
        {"(0/0)||0", 1.0f},
        {"!(0/0)", 0.0f},
        {"(0/0)<1", 0.0f},
    });
}

TEST(ExpressionEvaluate, LibraryFunctionsAreDoublesRounded)
{
    const double third = static_cast<double>(1.0f / 3.0f);
    expectValues({
        {"tan(1/3)", static_cast<float>(std::tan(third))},
        {"cos(1/3)", static_cast<float>(std::cos(third))},
        {"sin(1/3)", static_cast<float>(std::sin(third))},
        {"log10(1/3)", static_cast<float>(std::log10(third))},
        {"log(1/3)", static_cast<float>(std::log(third))},
        {"exp(1/3)", static_cast<float>(std::exp(third))},
        {"sqrt(1/3)", static_cast<float>(std::sqrt(third))},
        {"pow(1/3,3)", static_cast<float>(std::pow(third, 3.0))},
        {"pow(1/3,2)", static_cast<float>(std::pow(third, 2.0))},
        {"atan2(1/3,-2)", static_cast<float>(std::atan2(third, -2.0))},
    });
}

TEST(ExpressionEvaluate, FunctionsHaveTheirKnownValues)
{
    expectValues({
        {"log10(1000)", 3.0f},
        {"exp(0)", 1.0f},
        {"exp(1)", 2.7182817f},  // e to the nearest float
        {"sqrt(2)", 1.4142135f},
        {"atan2(1,1)", 0.7853982f},   // a quarter of pi
        {"atan2(1,-1)", 2.3561945f},  // both signs count
        {"atan2(0,-1)", 3.1415927f},
        {"deg2rad(180)", 180.0f * 0.017453293f},
        {"cos(0)", 1.0f},
        {"pow(2,-1)", 0.5f},
        {"pow(0,0)", 1.0f},
        {"pow(-3,2)", 9.0f},
        {"length2(3,4)", 25.0f},
        {"length3(1,2,3)", 14.0f},
    });
}

TEST(ExpressionEvaluate, ColoursHaveValueSaturationAndHue)
{
    expectValues({
        {"value(1,2,3)", 3.0f},
        {"value(3,2,1)", 3.0f},
        {"value(1,3,2)", 3.0f},
        {"value(-1,-2,-3)", -1.0f},
        {"saturation(0,0,0)", 0.0f},
        {"saturation(4,2,1)", 0.75f},
        {"saturation(2,2,2)", 0.0f},
        {"hue(1,1,1)", -1.0f},
        {"hue(0,0,0)", -1.0f},
        {"hue(1,0,0)", 0.0f},
        {"hue(0,1,0)", 120.0f},
        {"hue(0,0,1)", 240.0f},
        {"hue(1,1,0)", 60.0f},   // red counts as the maximum before green
        {"hue(0,1,1)", 180.0f},  // and green before blue
        {"hue(1,0,1)", 300.0f},  // below zero degrees, brought back
        {"hue(4,2,0)", 30.0f},
    });
}

TEST(ExpressionEvaluate, AnEmptyStackIsZero)
{
    Scene scene;
    EXPECT_EQ(scene.value(""), 0.0f);
}

TEST(ExpressionEvaluate, AListHasTheValueOfItsFirstItem)
{
    expectValues({{"3,5", 3.0f}, {"1+2,9,10", 3.0f}});
}

TEST(ExpressionEvaluate, AssignmentsWriteToThePixelAndYieldTheirValue)
{
    Scene scene;
    EXPECT_EQ(scene.value("Ch3=Ch1+Ch2"), 30.0f);
    EXPECT_EQ(scene.value("Ch3=Ch1*Ch2"), 200.0f);
    EXPECT_EQ(scene.channels[2], 200.0f);
    EXPECT_EQ(scene.value("register20=5"), 5.0f);
    EXPECT_EQ(scene.pixel.Registers[19], 5.0f);
    EXPECT_EQ(scene.value("class=9"), 9.0f);
    EXPECT_EQ(scene.pixel.Class, 9.0f);
    EXPECT_EQ(scene.value("viewing_zenith=1.5"), 1.5f);
    EXPECT_EQ(scene.pixel.vz, 1.5f);
    EXPECT_EQ(scene.value("(register1=7)+register1"), 14.0f);
    EXPECT_EQ(scene.value("register1+(register1=2)"), 9.0f);
}

TEST(ExpressionEvaluate, EveryVariableCanBeAssigned)
{
    Scene scene;
    const std::pair<const char*, float ZELPixelStruct::*> fields[] = {
        {"class", &ZELPixelStruct::Class},
        {"sz", &ZELPixelStruct::sz},
        {"vz", &ZELPixelStruct::vz},
        {"az", &ZELPixelStruct::az},
        {"sg", &ZELPixelStruct::sg},
        {"lat", &ZELPixelStruct::lat},
        {"lon", &ZELPixelStruct::lon},
        {"olson_eco", &ZELPixelStruct::olsonEco},
        {"igbp_eco", &ZELPixelStruct::igbpEco},
        {"percent_water", &ZELPixelStruct::percentWater},
        {"terrain", &ZELPixelStruct::terrain},
        {"julian_day", &ZELPixelStruct::jday},
        {"year", &ZELPixelStruct::year},
    };
    for (const auto& [name, field] : fields) {
        EXPECT_EQ(scene.value(std::string(name) + "=2.5"), 2.5f) << name;
        EXPECT_EQ(scene.pixel.*field, 2.5f) << name;
    }
}

TEST(ExpressionEvaluate, TargetsAreNumbers)
{
    Scene scene;
    scene.value("3=1");  // variable 3
    EXPECT_EQ(scene.pixel.vz, 1.0f);
    scene.value("3.9=2");  // truncated
    EXPECT_EQ(scene.pixel.vz, 2.0f);
    scene.value("(-0.5)=3");  // toward zero
    EXPECT_EQ(scene.pixel.Class, 3.0f);
    scene.value("101=4");  // the second channel
    EXPECT_EQ(scene.channels[1], 4.0f);
    scene.value("500=5");  // the first register
    EXPECT_EQ(scene.pixel.Registers[0], 5.0f);
    scene.value("sz+2=6");  // targets are codes: 1 + 2
    EXPECT_EQ(scene.pixel.vz, 6.0f);
}

TEST(ExpressionEvaluate, TargetsThatNameNothingAreIgnored)
{
    Scene scene;
    const ZELPixelStruct before = scene.pixel;
    const auto channels = scene.channels;
    for (const char* target : {"19", "99", "(-1)", "105", "499", "520", "1e30", "(-1e30)", "(0/0)"})
        EXPECT_EQ(scene.value(std::string(target) + "=7"), 7.0f) << target;
    EXPECT_EQ(scene.channels, channels);
    EXPECT_EQ(std::memcmp(&before, &scene.pixel, sizeof before), 0);
}

TEST(ExpressionEvaluate, ChannelsFrom401OnAreTargetsOfRegisters)
{
    Scene scene;
    std::vector<float> channels(450, 1.0f);
    scene.pixel.Channels = channels.data();
    scene.pixel.numChannels = 450;
    scene.value("Ch400=8");
    EXPECT_EQ(channels[399], 8.0f);
    scene.value("Ch401=9");
    EXPECT_EQ(channels[400], 1.0f);
    EXPECT_EQ(scene.pixel.Registers[0], 9.0f);
}

TEST(ExpressionEvaluate, TheChannelAfterTheLastReadsZeroAndIgnoresWrites)
{
    Scene scene;
    EXPECT_EQ(scene.value("Ch6"), 0.0f);
    EXPECT_EQ(scene.value("Ch6=3"), 3.0f);
    EXPECT_EQ(scene.value("Ch6"), 0.0f);
}

TEST(ExpressionEvaluate, SkipPixelEndsTheEvaluation)
{
    Scene scene;
    EXPECT_EQ(scene.value("skip_pixel"), 0.0f);
    EXPECT_EQ(scene.pixel.skipPixelFlag, 1);
    EXPECT_EQ(scene.value("5"), 5.0f);
    EXPECT_EQ(scene.pixel.skipPixelFlag, 0);
    // What stands before it is evaluated, what follows is not.
    EXPECT_EQ(scene.value("(class=2)+(skip_pixel)+(class=3)"), 0.0f);
    EXPECT_EQ(scene.pixel.Class, 2.0f);
    EXPECT_EQ(scene.pixel.skipPixelFlag, 1);
    // As the weakest operator it comes after all else within its parentheses.
    EXPECT_EQ(scene.value("(skip_pixel, class=4)+(class=5)"), 0.0f);
    EXPECT_EQ(scene.pixel.Class, 4.0f);
}

struct ErrorRow {
    const char* text;
    const char* out;
    const char* err;
};

TEST(ExpressionEvaluate, ErrorsEndTheProcess)
{
    const ErrorRow rows[] = {
        {"Ch7", "", "ZELEvaluateStack: error channel index 7 > numChannels 5\n"},
        {"Ch0", "", "ZELEvaluateStack: error channel index 0 < 1\n"},
        {"Ch7=1", "", "ZELEvaluateStack: error channel index 7 > numChannels 5\n"},
        {"Ch0=1", "", "ZELEvaluateStack: error channel index 0 < 1\n"},
        {"register21", "",
         "ZELEvaluateStack: error register index 21 > ZEL_FEATURE_NUM_REGISTERS 20\n"},
        {"register0", "", "ZELEvaluateStack: error register index 0 < 1\n"},
        {"register21=1", "",
         "ZELEvaluateStack: error register index 21 > ZEL_FEATURE_NUM_REGISTERS 20\n"},
        {"register0=1", "", "ZELEvaluateStack: error register index 0 < 1\n"},
        {"1+", "stack processing error 1\n", ""},
        {"!", "stack processing error 1\n", ""},
        {"pow(1)", "stack processing error 1\n", ""},
        {"=1", "stack processing error 1\n", ""},
    };
    for (const ErrorRow& row : rows) {
        SCOPED_TRACE(row.text);
        Scene scene;
        const Outcome outcome = scene.outcome(row.text);
        EXPECT_TRUE(outcome.ended);
        EXPECT_EQ(outcome.status, -1);
        EXPECT_EQ(outcome.out, row.out);
        EXPECT_EQ(outcome.err, row.err);
    }
}

TEST(ExpressionEvaluate, AnErrorStopsWhereItStands)
{
    Scene scene;
    EXPECT_TRUE(scene.outcome("(class=1)+Ch9+(sz=1)").ended);
    EXPECT_EQ(scene.pixel.Class, 1.0f);
    EXPECT_EQ(scene.pixel.sz, 35.0f);
}

TEST(ExpressionEvaluate, UnknownOperatorsEndTheProcess)
{
    for (const int index : {33, -1}) {
        Scene scene;
        Compiled compiled("1+2");
        compiled.stack.stackElements->op.int_t = index;
        errno = 0;
        const Outcome outcome =
            zel_test::run([&] { ZELEvaluateStack(&compiled.stack, &scene.pixel); });
        EXPECT_TRUE(outcome.ended);
        EXPECT_EQ(outcome.status, -1);
        EXPECT_EQ(outcome.err, "ZELEvaluateStack: illegal operator or function\n");
    }
}

// A list that no compiler made.
Outcome outcomeOfElement(int type, int operand)
{
    Scene scene;
    Compiled compiled("1");
    compiled.stack.stackHead->type = type;
    compiled.stack.stackHead->op.int_t = operand;
    errno = 0;
    return zel_test::run([&] { ZELEvaluateStack(&compiled.stack, &scene.pixel); });
}

TEST(ExpressionEvaluate, AVariableThatIsNoneEndsTheProcess)
{
    constexpr int most = std::numeric_limits<int>::max();
    for (const int index : {-most - 1, -1, 19, most}) {
        const Outcome outcome = outcomeOfElement(VAR, index);
        EXPECT_TRUE(outcome.ended);
        EXPECT_EQ(outcome.status, -1);
        EXPECT_EQ(outcome.err,
                  "ZELEvaluateStack: error variable index " + std::to_string(index) + "\n");
    }
    for (const int index : {0, 18}) EXPECT_FALSE(outcomeOfElement(VAR, index).ended);
}

TEST(ExpressionEvaluate, NoNumberOfAChannelIsTooSmallOrTooLargeForItsError)
{
    constexpr int most = std::numeric_limits<int>::max();
    for (const int type : {CHAN, CHAN_LVALUE}) {
        EXPECT_EQ(outcomeOfElement(type, -most - 1).err,
                  "ZELEvaluateStack: error channel index -2147483648 < 1\n");
        EXPECT_EQ(outcomeOfElement(type, most).err,
                  "ZELEvaluateStack: error channel index 2147483647 > numChannels 5\n");
    }
}

TEST(ExpressionEvaluate, ElementsOfNoKindEndTheProcess)
{
    for (const int type : {-1, 8})
        EXPECT_EQ(outcomeOfElement(type, 1).err,
                  "ZELEvaluateStack: illegal operator or function\n");
}

TEST(ExpressionEvaluate, TwoHundredValuesMayBePending)
{
    std::string hundred = "1";
    for (int i = 1; i < 100; ++i) hundred += ",1";
    const Definitions names{{"two", "1"}};
    CommandListStruct entry = *names.first();
    Compiled list(hundred, false);
    entry.Condition = &list.stack;

    Scene scene;
    EXPECT_EQ(scene.value("two,two", &entry), 1.0f);
    const Compiled one_more("two,two,1", false, &entry);
    const Outcome outcome = zel_test::run([&] { ZELEvaluateStack(&one_more.stack, &scene.pixel); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out, "stack processing error 2\n");
    EXPECT_EQ(outcome.err, "");
}

TEST(ExpressionEvaluate, VariablesStayBoundToTheFirstRecord)
{
    Scene first;
    ZELBindPixel(nullptr);
    EXPECT_EQ(first.value("sz"), 35.0f);  // binds
    ZELPixelStruct second = first.pixel;
    std::array<float, 1> channels = {3.0f};
    second.sz = 1.0f;
    second.Channels = channels.data();
    second.numChannels = 1;
    second.Registers[0] = 2.0f;

    const Compiled compiled("sz+Ch1+register1");
    EXPECT_EQ(ZELEvaluateStack(&compiled.stack, &second), 35.0f + 3.0f + 2.0f);
    const Compiled assignment("class=4");
    ZELEvaluateStack(&assignment.stack, &second);
    EXPECT_EQ(first.pixel.Class, 4.0f);
    EXPECT_EQ(second.Class, 43.0f);

    initializeVariablePointers(&second);  // they are bound already
    EXPECT_EQ(ZELEvaluateStack(&compiled.stack, &second), 40.0f);
    ZELBindPixel(&second);
    EXPECT_EQ(ZELEvaluateStack(&compiled.stack, &second), 6.0f);
}

TEST(ExpressionEvaluate, TheVariableTableIsBuiltAndBoundWhenItIsNeeded)
{
    zel::resetVariables();
    const Compiled empty("", false);
    EXPECT_EQ(zel::variableState().table, nullptr);
    const Compiled constant("1");
    EXPECT_NE(zel::variableState().table, nullptr);
    EXPECT_FALSE(zel::variableState().bound);
    ZELPixelStruct pixel = {};
    ZELEvaluateStack(&constant.stack, &pixel);
    EXPECT_TRUE(zel::variableState().bound);
    EXPECT_EQ(zel::variableState().table[18].varPtr, &pixel.year);

    zel::resetVariables();
    ZELEvaluateStack(&empty.stack, &pixel);
    EXPECT_EQ(zel::variableState().table[0].varPtr, &pixel.Class);
    zel::resetVariables();
}

TEST(ExpressionEvaluate, TheSkipFlagIsTheCallersRecords)
{
    Scene first;
    ZELPixelStruct second = first.pixel;
    const Compiled compiled("skip_pixel");
    ZELEvaluateStack(&compiled.stack, &second);
    EXPECT_EQ(second.skipPixelFlag, 1);
    EXPECT_EQ(first.pixel.skipPixelFlag, 0);
}

}  // namespace
