// What parameter records print, and what they decide about a pixel.
#include <gtest/gtest.h>

#include <vector>

#include "support/parameters.hpp"

namespace {

using zel_test::CompleteParameters;
using zel_test::Outcome;

// ---- Printing ----

std::string printed(CompleteParameters& file, void (*print)(const ZELParameterStruct*))
{
    const Outcome outcome = zel_test::runFeature([&] { print(file.get()); });
    EXPECT_EQ(outcome.err, "");
    EXPECT_FALSE(outcome.ended);
    return outcome.out;
}

TEST(ParameterPrinter, ListsOfExpressionsAreTheirLabelsAndTexts)
{
    CompleteParameters file(
        "define bright:Ch1 > 50\ndefine dark: Ch1<9\nrequirement bright:\"must\"\n"
        "requirement dark\noption Ch2:\"may\"\n");
    EXPECT_EQ(printed(file, ZELFeaturePrintConditions),
              "Conditions defined in parameter file:\n  bright : Ch1 > 50\n  dark :  Ch1<9\n");
    EXPECT_EQ(printed(file, ZELFeaturePrintRequirements),
              "Requirements applied:\n  must : bright\n   : dark\n");
    EXPECT_EQ(printed(file, ZELFeaturePrintOptions), "Options included:\n  may : Ch2\n");
}

TEST(ParameterPrinter, FiltersHaveTheirActionsToo)
{
    CompleteParameters file("filter Ch1>5:class=1:\"one\"\nfilter 1:skip_pixel\n");
    EXPECT_EQ(printed(file, ZELFeaturePrintFilters),
              "Filters applied:\n  one : Ch1>5 : class=1 \n   : 1 : skip_pixel \n");
}

TEST(ParameterPrinter, CommentsAndTitlesAreTheirTexts)
{
    CompleteParameters file("comment a comment\ncomment another\ntitle a title\n");
    EXPECT_EQ(printed(file, ZELFeaturePrintComments), "Comments:\n  a comment\n  another\n");
    EXPECT_EQ(printed(file, ZELFeaturePrintTitle), "Title:\n  a title\n");
}

TEST(ParameterPrinter, EmptyListsAreTheirHeadings)
{
    CompleteParameters file("");
    EXPECT_EQ(printed(file, ZELFeaturePrintConditions), "Conditions defined in parameter file:\n");
    EXPECT_EQ(printed(file, ZELFeaturePrintRequirements), "Requirements applied:\n");
    EXPECT_EQ(printed(file, ZELFeaturePrintOptions), "Options included:\n");
    EXPECT_EQ(printed(file, ZELFeaturePrintFilters), "Filters applied:\n");
    EXPECT_EQ(printed(file, ZELFeaturePrintComments), "Comments:\n");
    EXPECT_EQ(printed(file, ZELFeaturePrintTitle), "Title:\n");
}

TEST(ParameterPrinter, TheHeaderIsVersionIdentifierAndDate)
{
    CompleteParameters file("");
    file->Header.DateTimeString[0] = '\0';
    EXPECT_EQ(printed(file, ZELFeaturePrintHeader),
              "Feature Header:\n  Version: 1.2\n  Identifier: ZEL_FEATURE_HEADER\n  Date: \n");
}

// ---- Deciding ----

class Decision : public testing::Test {
protected:
    ~Decision() override { ZELBindPixel(nullptr); }
    ZELPixelStruct* at(float channel)
    {
        channels[0] = channel;
        pixel.Channels = channels.data();
        pixel.numChannels = static_cast<int>(channels.size());
        return &pixel;
    }

    std::vector<float> channels = {0, 0, 0};
    ZELPixelStruct pixel{};
};

TEST_F(Decision, ARequirementHoldsWhenItsRoundedValueIsNotZero)
{
    CompleteParameters file("requirement Ch1\n");
    EXPECT_EQ(ZELFeatureCheckRequirements(file.get(), at(1.0f)), 1);
    EXPECT_EQ(ZELFeatureCheckRequirements(file.get(), at(0.5f)), 1);
    EXPECT_EQ(ZELFeatureCheckRequirements(file.get(), at(0.4f)), 0);
    EXPECT_EQ(ZELFeatureCheckRequirements(file.get(), at(0.49999997f)), 0);  // 1 as a float sum
    EXPECT_EQ(ZELFeatureCheckRequirements(file.get(), at(0.0f)), 0);
    EXPECT_EQ(ZELFeatureCheckRequirements(file.get(), at(-1.0f)), 0);  // -0.5
    EXPECT_EQ(ZELFeatureCheckRequirements(file.get(), at(-1.5f)), 1);
}

TEST_F(Decision, AnOptionHoldsLikeARequirement)
{
    CompleteParameters file("option Ch1\n");
    EXPECT_EQ(ZELFeatureCheckOptions(file.get(), at(0.5f)), 1);
    EXPECT_EQ(ZELFeatureCheckOptions(file.get(), at(0.4f)), 0);
    EXPECT_EQ(ZELFeatureCheckRequirements(file.get(), at(0.0f)), 1);
}

TEST_F(Decision, WithoutRequirementsAndOptionsAPixelPasses)
{
    CompleteParameters file("");
    EXPECT_EQ(ZELFeatureCheckRequirements(file.get(), at(0)), 1);
    EXPECT_EQ(ZELFeatureCheckOptions(file.get(), at(0)), 1);
}

TEST_F(Decision, TheFirstRequirementThatFailsEndsTheCheck)
{
    CompleteParameters file("requirement Ch2=Ch2+1\nrequirement Ch1\nrequirement Ch3=Ch3+1\n");
    EXPECT_EQ(ZELFeatureCheckRequirements(file.get(), at(0)), 0);
    EXPECT_EQ(channels[1], 1.0f);
    EXPECT_EQ(channels[2], 0.0f);
    EXPECT_EQ(ZELFeatureCheckRequirements(file.get(), at(1)), 1);
    EXPECT_EQ(channels[1], 2.0f);
    EXPECT_EQ(channels[2], 1.0f);
}

TEST_F(Decision, AFilterFiresWhenItsTruncatedValueIsNotZero)
{
    CompleteParameters file("filter Ch1:class=7\n");
    const struct {
        float value;
        float Class;
    } rows[] = {{1.0f, 7}, {0.9f, 0}, {0.0f, 0}, {-0.9f, 0}, {-1.0f, 7}, {2.5f, 7}};
    for (const auto& row : rows) {
        pixel.Class = 0;
        ZELFeatureApplyFilters(file.get(), at(row.value));
        EXPECT_EQ(pixel.Class, row.Class) << row.value;
    }
}

TEST_F(Decision, FiltersApplyInFileOrder)
{
    CompleteParameters file("filter 1:register1=Ch1*2\nfilter register1>4:class=register1+1\n");
    ZELFeatureApplyFilters(file.get(), at(3));
    EXPECT_EQ(pixel.Class, 7.0f);
    EXPECT_EQ(pixel.skipPixelFlag, 0);
}

TEST_F(Decision, AFilterThatSkipsThePixelIsTheLast)
{
    CompleteParameters file("filter 1:class=1\nfilter Ch1>5:skip_pixel\nfilter 1:class=2\n");
    ZELFeatureApplyFilters(file.get(), at(6));
    EXPECT_EQ(pixel.Class, 1.0f);
    EXPECT_EQ(pixel.skipPixelFlag, 1);
    ZELFeatureApplyFilters(file.get(), at(5));
    EXPECT_EQ(pixel.Class, 2.0f);
    EXPECT_EQ(pixel.skipPixelFlag, 0);
}

// Entries that a file may carry, but no parameter file makes.
TEST_F(Decision, AnEntryWithoutAnExpressionIsZero)
{
    ZELParameterStruct parameters;
    ZELFeatureInitializeParameters(&parameters);
    allocateNewCommand(&parameters.Filters);
    ZELFeatureApplyFilters(&parameters, at(1));
    EXPECT_EQ(ZELFeatureCheckRequirements(&parameters, at(1)), 1);
    allocateNewCommand(&parameters.Requirements);
    EXPECT_EQ(ZELFeatureCheckRequirements(&parameters, at(1)), 0);
    ZELFeatureFreeParameters(&parameters);
}

}  // namespace
