// The filters of a mask at work on pixels, and the listings of a mask.
#include <gtest/gtest.h>

#include "support/mask_bytes.hpp"
#include "support/mask_text.hpp"

namespace {

using zel_test::build;
using zel_test::List;
using zel_test::MaskRecord;
using zel_test::Outcome;
using zel_test::OwnedMask;
using zel_test::runFeature;

// A mask with those filters, and a pixel of three channels whose weights are all 1.
class Filters {
public:
    Filters(const List& before, const List& after)
    {
        MaskRecord record;
        record.conditions = {{"bright", "Ch1 > 100", {}}};
        record.preFilters = before;
        record.postFilters = after;
        const zel_test::Stream stream(build(record).bytes);
        mask.reset(ZELFeatureReadMask(stream));
        pixel.Channels = channels;
        pixel.numChannels = 3;
        pixel.Class = 9;
        ZELFeatureClearClassWeights(&pixel, 1.0f);
        ZELBindPixel(&pixel);
    }
    ~Filters() { ZELBindPixel(nullptr); }
    Filters(const Filters&) = delete;
    Filters& operator=(const Filters&) = delete;

    // The classes that are excluded for a pixel of these channels: "0 3 4".
    std::string excluded(float channel1, float channel2 = 0)
    {
        channels[0] = channel1;
        channels[1] = channel2;
        ZELFeatureClearClassWeights(&pixel, 1.0f);
        ZELFeaturePreClassificationFilter(&mask->MaskParameters, &pixel);
        std::string all;
        for (int i = 0; i < ZEL_FEATURE_NUM_CLASSES; ++i) {
            if (pixel.class_weights[i] == 1.0f) continue;
            EXPECT_EQ(pixel.class_weights[i], 0.0f);
            all += (all.empty() ? "" : " ") + std::to_string(i);
        }
        return all;
    }

    // The class that a pixel of class 9 and these channels has after.
    float classAfter(float channel1, float channel2 = 0)
    {
        channels[0] = channel1;
        channels[1] = channel2;
        pixel.Class = 9;
        ZELFeaturePostClassificationFilter(&mask->MaskParameters, &pixel);
        return pixel.Class;
    }

    OwnedMask mask;
    ZELPixelStruct pixel{};
    float channels[3] = {0, 0, 0};
};

// ---- Before classification ----

TEST(PreClassFilter, ExcludesItsClassesWhereItsConditionHolds)
{
    Filters filters({{{}, "Ch1 > 100", "3,4"}}, {});
    EXPECT_EQ(filters.excluded(101), "0 3 4") << "the comma counts as class 0";
    EXPECT_EQ(filters.excluded(100), "");
    EXPECT_EQ(filters.pixel.Class, 9.0f);
}

TEST(PreClassFilter, AListOfOneClassExcludesThatOneOnly)
{
    Filters filters({{{}, "1", "7"}}, {});
    EXPECT_EQ(filters.excluded(0), "7");
}

TEST(PreClassFilter, AConditionIsTruncatedNotRounded)
{
    Filters filters({{{}, "Ch1", "5"}}, {});
    EXPECT_EQ(filters.excluded(0.9f), "");
    EXPECT_EQ(filters.excluded(-0.9f), "");
    EXPECT_EQ(filters.excluded(1.0f), "5");
    EXPECT_EQ(filters.excluded(-1.0f), "5");
}

TEST(PreClassFilter, ClassNumbersAreRounded)
{
    Filters filters({{{}, "1", "2.4"}, {{}, "1", "5.5"}, {{}, "1", "998.7"}}, {});
    EXPECT_EQ(filters.excluded(0), "2 6 999");
}

// 0.49999997 and 0.5 add up to a little less than 1, which a float cannot hold; a constant is the
// nearest float, which is 4.5 for 4.4999998.
TEST(PreClassFilter, AClassNumberIsAFloatThatIsRoundedExactly)
{
    EXPECT_EQ(Filters({{{}, "1", "0.49999997"}}, {}).excluded(0), "0");
    EXPECT_EQ(Filters({{{}, "1", "4.4999998"}}, {}).excluded(0), "5");
}

TEST(PreClassFilter, AnEmptyListExcludesNothing)
{
    EXPECT_EQ(Filters({{{}, "1", ""}}, {}).excluded(0), "");
}

// The bits of a number of a channel, or of an operator, are next to nothing as a float.
TEST(PreClassFilter, WhatIsNoConstantCountsAsClass0)
{
    EXPECT_EQ(Filters({{{}, "1", "Ch3"}}, {}).excluded(0), "0");
    EXPECT_EQ(Filters({{{}, "1", "register7"}}, {}).excluded(0), "0");
    EXPECT_EQ(Filters({{{}, "1", "10+20"}}, {}).excluded(0), "0 10 20");
}

TEST(PreClassFilter, UnknownClassesAreIgnored)
{
    Filters filters({{{}, "1", "1000"}, {{}, "1", "999999"}, {{}, "1", "6"}}, {});
    EXPECT_EQ(filters.excluded(0), "6");
}

TEST(PreClassFilter, EveryFilterThatHoldsCounts)
{
    Filters filters({{{}, "bright", "3"}, {{}, "Ch2", "4"}, {{}, "Ch1 < 50", "5"}}, {});
    EXPECT_EQ(filters.excluded(101, 1), "3 4");
    EXPECT_EQ(filters.excluded(10, 1), "4 5");
    EXPECT_EQ(filters.excluded(60, 0), "");
}

TEST(PreClassFilter, NeitherAMissingConditionNorAMissingListDoesAnything)
{
    Filters filters({{"label", {}, "3"}, {"label", "1", {}}, {"label", {}, {}}}, {});
    EXPECT_EQ(filters.excluded(1), "");
}

TEST(PreClassFilter, WithoutFiltersNothingHappens)
{
    EXPECT_EQ(Filters({}, {{{}, "1", "skip_pixel"}}).excluded(1), "");
}

// ---- After classification ----

TEST(PostClassFilter, EvaluatesItsActionWhereItsConditionHolds)
{
    Filters filters({}, {{{}, "bright", "class=5"}});
    EXPECT_EQ(filters.classAfter(101), 5.0f);
    EXPECT_EQ(filters.classAfter(100), 9.0f);
}

TEST(PostClassFilter, AConditionIsTruncatedNotRounded)
{
    Filters filters({}, {{{}, "Ch1", "class=5"}});
    EXPECT_EQ(filters.classAfter(0.9f), 9.0f);
    EXPECT_EQ(filters.classAfter(1.0f), 5.0f);
}

TEST(PostClassFilter, FiltersSeeWhatThoseBeforeThemDid)
{
    Filters filters({}, {{{}, "Ch1", "class=5"}, {{}, "class==5", "class=class+1"}});
    EXPECT_EQ(filters.classAfter(1), 6.0f);
    EXPECT_EQ(filters.classAfter(0), 9.0f);
}

TEST(PostClassFilter, SkippingThePixelSetsItsClassTo0AndIsTheEnd)
{
    Filters filters({}, {{{}, "Ch1", "skip_pixel"}, {{}, "1", "register1=Ch2"}});
    EXPECT_EQ(filters.classAfter(1, 50), 0.0f);
    EXPECT_EQ(filters.pixel.skipPixelFlag, 1);
    EXPECT_EQ(filters.pixel.Registers[0], 0.0f) << "the second filter was not looked at";
    EXPECT_EQ(filters.classAfter(0, 50), 9.0f);
    EXPECT_EQ(filters.pixel.Registers[0], 50.0f);
}

// Only an action skips a pixel: a condition that does is worth nothing.
TEST(PostClassFilter, ASkippingConditionDoesNotHold)
{
    Filters filters({}, {{{}, "skip_pixel", "class=5"}, {{}, "1", "register1=3"}});
    EXPECT_EQ(filters.classAfter(0), 9.0f);
    EXPECT_EQ(filters.pixel.Registers[0], 3.0f);
}

TEST(PostClassFilter, NeitherAMissingConditionNorAMissingActionDoesAnything)
{
    Filters filters({}, {{"label", {}, "class=5"}, {"label", "1", {}}});
    EXPECT_EQ(filters.classAfter(0), 9.0f);
}

// ---- Listings ----

class MaskListing : public testing::Test {
protected:
    std::string listed(void (*print)(const ZELMaskParameterType*))
    {
        const zel_test::Stream stream(build(zel_test::fullMask()).bytes);
        const OwnedMask mask(ZELFeatureReadMask(stream));
        const Outcome outcome = runFeature([&] { print(&mask->MaskParameters); });
        EXPECT_EQ(outcome.err, "");
        return outcome.out;
    }
};

TEST_F(MaskListing, OfDefinitions)
{
    EXPECT_EQ(listed(ZELFeaturePrintMaskConditions), "Conditions defined in parameter file:\n"
                                                     "  bright : Ch1 > 100\n"
                                                     "  cold : bright && Ch2 < 250\n");
}

TEST_F(MaskListing, OfPreClassFilters)
{
    EXPECT_EQ(listed(ZELFeaturePrintPreClassFilters), "Pre-class filters applied:\n"
                                                      "   : bright : 3,4 \n"
                                                      "  night : sz > 90 : 7 \n");
}

TEST_F(MaskListing, OfPostClassFilters)
{
    EXPECT_EQ(listed(ZELFeaturePrintPostClassFilters), "Post-class filters applied:\n"
                                                       "   : cold : class=5 \n"
                                                       "   : Ch3==0 : skip_pixel \n");
}

TEST_F(MaskListing, OfComments)
{
    EXPECT_EQ(listed(ZELFeaturePrintMaskComments), "Comments:\n  a comment\n  \n");
}

TEST_F(MaskListing, OfTheTitle)
{
    EXPECT_EQ(listed(ZELFeaturePrintMaskTitle), "Title:\n  the title\n");
}

TEST_F(MaskListing, OfAnEmptyMaskIsTheHeadings)
{
    ZELMaskParameterType empty;
    initializeMaskParameterStruct(&empty);
    const Outcome outcome = runFeature([&] {
        ZELFeaturePrintMaskConditions(&empty);
        ZELFeaturePrintPreClassFilters(&empty);
        ZELFeaturePrintPostClassFilters(&empty);
        ZELFeaturePrintMaskComments(&empty);
        ZELFeaturePrintMaskTitle(&empty);
    });
    EXPECT_EQ(outcome.out, "Conditions defined in parameter file:\n"
                           "Pre-class filters applied:\n"
                           "Post-class filters applied:\n"
                           "Comments:\n"
                           "Title:\n");
}

}  // namespace
