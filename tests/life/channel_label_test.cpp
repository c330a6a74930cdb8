// Finding channels by their labels.
#include <gtest/gtest.h>

#include <string>

#include "support/writer.hpp"

namespace {

using zel_test::Writer;

// Slots 1, 2 and 4 labelled, the last one without being present.
class Labels : public testing::Test {
protected:
    Labels() : writer(4, 0, 5)
    {
        ZELAddChannel(writer.get(), 1, 0, 0, 3, 8, "Infrared 10.8", "");
        ZELAddChannel(writer.get(), 2, 0, 0, 3, 8, "Infrared 12.0", "");
        const std::string absent = "absent";
        absent.copy(writer.slot(4).ChannelLabel, 6);
    }

    Writer writer;
};

TEST_F(Labels, AreFoundByTheWholeText)
{
    EXPECT_EQ(ZELFindChannelIndexByLabel(writer.get(), "Infrared 12.0"), 2);
    EXPECT_EQ(ZELFindChannelIndexByLabel(writer.get(), "Infrared"), -1);
    EXPECT_EQ(ZELFindChannelIndexByLabel(writer.get(), "infrared 12.0"), -1) << "case counts";
    EXPECT_EQ(ZELFindChannelIndexByLabel(writer.get(), "Infrared 12.0 "), -1);
    EXPECT_EQ(ZELFindChannelIndexByLabel(writer.get(), ""), 0) << "slot 0 has no label";
}

TEST_F(Labels, AreFoundByTheirStart)
{
    EXPECT_EQ(ZELFindChannelIndexByStartOfLabel(writer.get(), "Infrared"), 1) << "the first wins";
    EXPECT_EQ(ZELFindChannelIndexByStartOfLabel(writer.get(), "Infrared 12"), 2);
    EXPECT_EQ(ZELFindChannelIndexByStartOfLabel(writer.get(), "12.0"), -1);
    EXPECT_EQ(ZELFindChannelIndexByStartOfLabel(writer.get(), "Infrared 12.0 and more"), -1);
}

TEST_F(Labels, AnEmptyStartMatchesTheFirstSlot)
{
    EXPECT_EQ(ZELFindChannelIndexByStartOfLabel(writer.get(), ""), 0);
    EXPECT_EQ(ZELFindChannelIndexBySubstringOfLabel(writer.get(), ""), 0);
}

TEST_F(Labels, AreFoundByAnyPart)
{
    EXPECT_EQ(ZELFindChannelIndexBySubstringOfLabel(writer.get(), "12.0"), 2);
    EXPECT_EQ(ZELFindChannelIndexBySubstringOfLabel(writer.get(), "red"), 1);
    EXPECT_EQ(ZELFindChannelIndexBySubstringOfLabel(writer.get(), "RED"), -1);
}

TEST_F(Labels, OfAbsentSlotsAreFoundToo)
{
    EXPECT_EQ(ZELFindChannelIndexByLabel(writer.get(), "absent"), 4);
    EXPECT_EQ(ZELFindChannelIndexByStartOfLabel(writer.get(), "abs"), 4);
    EXPECT_EQ(ZELFindChannelIndexBySubstringOfLabel(writer.get(), "sent"), 4);
}

TEST_F(Labels, AfterTheSlotsOfTheFileAreNotFound)
{
    writer->ZELHeader.MaxNumChan = 4;
    EXPECT_EQ(ZELFindChannelIndexByLabel(writer.get(), "absent"), -1);
    EXPECT_EQ(ZELFindChannelIndexByStartOfLabel(writer.get(), "abs"), -1);
    EXPECT_EQ(ZELFindChannelIndexBySubstringOfLabel(writer.get(), "sent"), -1);
}

TEST_F(Labels, AreKeptByAChannelThatIsDeclaredAgainWithItsOwn)
{
    char* label = writer.slot(1).ChannelLabel;
    char* comment = writer.slot(1).ChannelComment;
    ZELAddChannel(writer.get(), 1, 0, 0, 3, 8, "Infrared 10.8", "split window");
    ZELAddChannel(writer.get(), 1, 10, 0, 3, 8, label, comment + 6);
    EXPECT_STREQ(label, "Infrared 10.8");
    EXPECT_STREQ(comment, "window");
    EXPECT_EQ(ZELFindChannelIndexByLabel(writer.get(), label), 1);
}

}  // namespace
