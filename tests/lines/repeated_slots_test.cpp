// Full headers, nearly all slots of which are the same: each slot is what its own record says.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "lines/file_reader.hpp"
#include "support/base_files.hpp"
#include "support/file_builder.hpp"
#include "support/mask_bytes.hpp"
#include "support/outcome.hpp"

namespace {

using zel_test::build;
using zel_test::BuiltFile;
using zel_test::Layout;
using zel_test::OpenedFile;
using zel_test::Scene;
using zel_test::Slot;

constexpr int slots = 1000;
constexpr int other = 500;  // the slot that is not as those before and after it

std::string fieldOf(int slot, const std::string& name)
{
    return "channel[" + std::to_string(slot) + "]." + name;
}

// An absent slot all of whose numbers stand for something.
Slot absentSlot()
{
    Slot slot;
    slot.max = 1.5f;
    slot.min = -2.5f;
    slot.type = 0x01020304;
    slot.byteSize = 0x05060708;
    slot.bits = 0x090a0b0c;
    slot.label = "spare";
    slot.comment = "none";
    slot.wavelength = 0.5f;
    slot.units = 0x0d0e0f10;
    slot.baseFlag = 0x11121314;
    return slot;
}

Scene sceneOf(const Layout& layout, const Slot& slot = absentSlot())
{
    Scene scene = zel_test::smallScene(layout.version);
    scene.bigEndian = layout.bigEndian;
    scene.slots.resize(1);
    scene.slots.resize(slots, slot);
    return scene;
}

Scene sceneOf(int version, const Slot& slot = absentSlot())
{
    return sceneOf(Layout{version, false}, slot);
}

class RepeatedSlots : public testing::TestWithParam<Layout> {};

INSTANTIATE_TEST_SUITE_P(Layouts, RepeatedSlots,
                         testing::Values(Layout{132, false}, Layout{132, true}, Layout{141, true},
                                         Layout{150, true}, Layout{230, false}),
                         zel_test::nameOf);

TEST_P(RepeatedSlots, AreReadWithAllTheirNumbers)
{
    const BuiltFile built = build(sceneOf(GetParam()));
    OpenedFile file(built.bytes);
    ASSERT_EQ(file.result, 0);
    for (int slot = 1; slot < slots; ++slot) {
        const ZELChannelType& c = file->Channels[slot];
        ASSERT_EQ(c.ChannelPresentFlag, 0) << slot;
        ASSERT_EQ(c.MaxValue, 1.5f) << slot;
        ASSERT_EQ(c.MinValue, -2.5f) << slot;
        ASSERT_EQ(c.Type, 0x01020304) << slot;
        ASSERT_EQ(c.DataByteSize, 0x05060708) << slot;
        ASSERT_EQ(c.DataBitResolution, 0x090a0b0c) << slot;
        ASSERT_EQ(c.ChannelWaveLength, 0.5f) << slot;
        ASSERT_EQ(c.Units, 0x0d0e0f10) << slot;
        ASSERT_EQ(c.BaseChannelFlag, 0x11121314) << slot;
        ASSERT_STREQ(c.ChannelLabel, "") << slot;
        ASSERT_STREQ(c.ChannelComment, "") << slot;
    }
    EXPECT_EQ(file->HeaderOffset, static_cast<int>(built.headerEnd));
    EXPECT_EQ(file->NumTotalChans, 1);
    EXPECT_EQ(file->NumLines, 2);
}

TEST_P(RepeatedSlots, AByteMakesADifferenceInEveryInteger)
{
    const BuiltFile built = build(sceneOf(GetParam()));
    const struct {
        const char* name;
        int32_t ZELChannelType::*number;
    } rows[] = {{"Type", &ZELChannelType::Type},
                {"DataByteSize", &ZELChannelType::DataByteSize},
                {"DataBitResolution", &ZELChannelType::DataBitResolution},
                {"Units", &ZELChannelType::Units},
                {"BaseChannelFlag", &ZELChannelType::BaseChannelFlag}};
    for (const auto& row : rows) {
        for (int byte = 0; byte < 4; ++byte) {
            BuiltFile changed = built;
            const std::size_t place = built.offset(fieldOf(other, row.name));
            changed.bytes[place + static_cast<std::size_t>(byte)] = 0x7f;
            OpenedFile file(changed.bytes);
            ASSERT_EQ(file.result, 0);
            const int32_t usual = file->Channels[other - 1].*row.number;
            const int shift = 8 * (GetParam().bigEndian ? 3 - byte : byte);
            EXPECT_EQ(file->Channels[other].*row.number, (usual & ~(0xff << shift)) | 0x7f << shift)
                << row.name << ' ' << byte;
            EXPECT_EQ(file->Channels[1].*row.number, usual) << row.name;
            EXPECT_EQ(file->Channels[other + 1].*row.number, usual) << row.name;
        }
    }
}

TEST_P(RepeatedSlots, ADifferenceInARealNumberCounts)
{
    const BuiltFile built = build(sceneOf(GetParam()));
    const struct {
        const char* name;
        float ZELChannelType::*number;
    } rows[] = {{"MaxValue", &ZELChannelType::MaxValue},
                {"MinValue", &ZELChannelType::MinValue},
                {"ChannelWaveLength", &ZELChannelType::ChannelWaveLength}};
    for (const auto& row : rows) {
        BuiltFile changed = built;
        changed.putFloat(fieldOf(other, row.name), 7.25f);
        OpenedFile file(changed.bytes);
        ASSERT_EQ(file.result, 0);
        const float usual = file->Channels[other - 1].*row.number;
        EXPECT_EQ(file->Channels[other].*row.number, 7.25f) << row.name;
        EXPECT_EQ(file->Channels[other + 1].*row.number, usual) << row.name;
        EXPECT_NE(usual, 7.25f) << row.name;
    }
}

TEST_P(RepeatedSlots, AChannelAmongThemIsFound)
{
    Scene scene = sceneOf(GetParam());
    scene.slots[other] = zel_test::channel(5, "alone", 9.0f, 1.0f);
    OpenedFile file(build(scene).bytes);
    ASSERT_EQ(file.result, 0);
    EXPECT_EQ(file->NumTotalChans, 2);
    EXPECT_EQ(file->Channels[other].ChannelPresentFlag, 1);
    EXPECT_STREQ(file->Channels[other].ChannelLabel, "alone");
    EXPECT_EQ(file->Channels[other].MaxValue, 9.0f);
    EXPECT_EQ(file->Channels[other].DataByteSize, 2);
    EXPECT_EQ(file->Channels[other + 1].ChannelPresentFlag, 0);
    EXPECT_EQ(file->Channels[other + 1].MaxValue, 1.5f);
}

// The first number of the record is the only difference, and its last byte after it.
TEST_P(RepeatedSlots, TheEndsOfARecordCount)
{
    Slot slot = absentSlot();
    slot.type = 3;
    slot.byteSize = 1;
    Scene scene = sceneOf(GetParam(), slot);
    scene.slots[other].present = 1;
    scene.slots[other + 10].standardHistogram = zel_test::Histogram{9, -9, {1, 2, 3}};
    OpenedFile file(build(scene).bytes);
    ASSERT_EQ(file.result, 0);
    EXPECT_EQ(file->NumTotalChans, 2);
    EXPECT_EQ(file->Channels[other].ChannelPresentFlag, 1);
    EXPECT_STREQ(file->Channels[other].ChannelLabel, "spare");
    EXPECT_EQ(file->Channels[other + 1].ChannelPresentFlag, 0);
    for (int i = 0; i < slots; ++i)
        ASSERT_EQ(file->Channels[i].ChannelStandardHistogram != nullptr, i == other + 10) << i;
}

// ---- Blocks belong to one slot ----

// What a slot owns, in each of several slots that are the same.
template <class Owned>
std::vector<const void*> blocksOf(const Slot& slot, Owned owned)
{
    OpenedFile file(build(sceneOf(230, slot)).bytes);
    std::vector<const void*> blocks;
    for (int i = 1; i < 5; ++i) blocks.push_back(owned(file->Channels[i]));
    return blocks;
}

void expectOneEach(const std::vector<const void*>& blocks)
{
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        EXPECT_NE(blocks[i], nullptr) << i;
        for (std::size_t k = 0; k < i; ++k) EXPECT_NE(blocks[i], blocks[k]) << i << ' ' << k;
    }
}

TEST(RepeatedBlocks, EachSlotHasItsOwnTable)
{
    Slot slot = absentSlot();
    slot.tables = {{1, "curve", {0.25f}}};
    expectOneEach(blocksOf(slot, [](const ZELChannelType& c) { return c.TableList.TableHead; }));
}

TEST(RepeatedBlocks, EachSlotHasItsOwnHistograms)
{
    Slot slot = absentSlot();
    slot.histogram = zel_test::Histogram{9, -9, {1, 2, 3}};
    expectOneEach(blocksOf(slot, [](const ZELChannelType& c) { return c.ChannelHistogram; }));
    slot.histogram.reset();
    slot.standardHistogram = zel_test::Histogram{9, -9, {1, 2, 3}};
    expectOneEach(
        blocksOf(slot, [](const ZELChannelType& c) { return c.ChannelStandardHistogram; }));
}

TEST(RepeatedBlocks, EachSlotHasItsOwnMask)
{
    Slot slot = absentSlot();
    slot.mask = zel_test::build(zel_test::MaskRecord()).bytes;
    expectOneEach(blocksOf(slot, [](const ZELChannelType& c) { return c.Mask; }));
}

// ---- What follows from the index of a slot ----

// Slots 0 to 5 were the sensor's own before the flag was stored.
TEST(RepeatedSlotsOfOldLayouts, SlotsOfTheSensorAreItsOwnAndOthersAreNot)
{
    Scene scene = sceneOf(131);
    scene.dataType = ZEL_SENSOR_AVHRR_LAC;
    OpenedFile file(build(scene).bytes);
    ASSERT_EQ(file.result, 0);
    for (int slot = 0; slot < slots; ++slot)
        ASSERT_EQ(file->Channels[slot].BaseChannelFlag, slot <= 5 ? 1 : 0) << slot;
}

TEST(RepeatedChannels, AirborneSlotsAreTheSensorsOwnAndOthersAreNot)
{
    Scene scene = sceneOf(230, zel_test::channel(3, "same"));
    scene.slots[0].baseFlag = 0;
    scene.dataType = ZEL_SENSOR_MAS;
    OpenedFile file(build(scene).bytes);
    ASSERT_EQ(file.result, 0);
    for (int slot = 0; slot < slots; ++slot)
        ASSERT_EQ(file->Channels[slot].BaseChannelFlag, slot >= 100 && slot <= 149 ? 1 : 0) << slot;
}

// ---- Damage after many slots that are the same ----

std::string damageAt(const std::string& what, const BuiltFile& built, const std::string& field)
{
    return ": " + what + " at offset " + std::to_string(built.offset(field)) + "\n";
}

TEST_P(RepeatedSlots, ADamagedSlotAmongThemIsReportedAtItsField)
{
    const BuiltFile built = build(sceneOf(GetParam()));
    BuiltFile damaged = built;
    damaged.putInt(fieldOf(other, "ChannelPresentFlag"), 1);
    damaged.putInt(fieldOf(other, "Type"), 9);
    OpenedFile file(damaged.bytes);
    EXPECT_EQ(file.result, -2);
    EXPECT_TRUE(
        file.outcome.out.ends_with(damageAt("invalid Type 9", built, fieldOf(other, "Type"))))
        << file.outcome.out;
}

TEST_P(RepeatedSlots, AFileThatIsCutShortAmongThemIsReportedAtTheField)
{
    const BuiltFile built = build(sceneOf(GetParam()));
    for (const char* name : {"ChannelPresentFlag", "ChannelComment", "Units"}) {
        OpenedFile file(built.cutBefore(fieldOf(other, name)));
        EXPECT_EQ(file.result, -2);
        EXPECT_TRUE(file.outcome.out.ends_with(
            damageAt(std::string("cut short in ") + name, built, fieldOf(other, name))))
            << file.outcome.out;
    }
}

// The file goes on with the same bytes.
TEST(RepeatedSlotsOfAComponent, EndWithTheComponent)
{
    const BuiltFile built = build(sceneOf(230));
    const zel_test::TempDir dir;
    zel_test::writeFile(dir.path("f"), built.bytes);
    const auto record = zel_test::junkRecord();
    const auto size = static_cast<int>(built.offset(fieldOf(other, "Units")));
    const zel_test::Outcome outcome = zel_test::run(
        [&] { EXPECT_EQ(OpenReadOnlyFile(record.get(), dir.path("f").c_str(), 0, size), -2); });
    EXPECT_TRUE(
        outcome.out.ends_with(damageAt("cut short in Units", built, fieldOf(other, "Units"))))
        << outcome.out;
}

// Lines of 12 bytes, one more than there may be.
TEST(RepeatedSlotsOfALongFile, ItsLinesAreReportedAtTheLastFieldOfTheHeader)
{
    Scene scene = sceneOf(132);
    scene.slots[0] = absentSlot();
    scene.navPoints = 0;
    scene.lines.clear();
    const BuiltFile built = build(scene);
    const zel_test::TempDir dir;
    zel_test::writeFile(dir.path("f"), built.bytes);
    std::error_code error;
    std::filesystem::resize_file(dir.path("f"), built.headerEnd + std::uintmax_t{12} * 2147483648,
                                 error);
    if (error) GTEST_SKIP() << "no files of 26 GB without their bytes";
    const auto record = zel_test::junkRecord();
    const zel_test::Outcome outcome = zel_test::run(
        [&] { EXPECT_EQ(ZELOpenReadOnlyFile(record.get(), dir.path("f").c_str()), -2); });
    EXPECT_TRUE(outcome.out.ends_with(damageAt("invalid number of lines 2.14748365e+09", built,
                                               fieldOf(slots - 1, "standardHistogram.present"))))
        << outcome.out;
}

// ---- Whoever reads with a reader of its own ----

using Stream = std::unique_ptr<FILE, int (*)(FILE*)>;

// Four empty slots of 284 bytes, of which the third ends one byte beyond 31 bits.
TEST(RepeatedSlotsOfALongHeader, TheOneThatEndsTooFarIsRefusedAtItsLastField)
{
    constexpr std::int64_t most = 2147483647;
    constexpr std::int64_t start = most + 1 - std::int64_t{3} * 284;
    const Stream stream(std::tmpfile(), &std::fclose);
    if (ftruncate(fileno(stream.get()), most + 1000) != 0)
        GTEST_SKIP() << "no files of 2 GB without their bytes";
    const auto file = zel_test::zeroRecord();
    file->fptr = stream.get();
    file->ZELHeader.MaxNumChan = 4;
    zel::ReadAhead ahead;
    zel::FileReader reader(*file, 0, most + 1000);
    reader.readAhead(ahead);
    reader.seek(start);
    int passedOver = 0;
    try {
        for (int slot = 0; slot < 4; ++slot) {
            const bool repeats = reader.repeats(*file, slot);
            passedOver += repeats ? 1 : 0;
            if (!repeats) zel::walkSlot(reader, *file, slot);
        }
        FAIL();
    } catch (const zel::Damage& damage) {
        EXPECT_STREQ(damage.what, "invalid header length 2.14748365e+09");
        EXPECT_EQ(damage.offset, most);
    }
    EXPECT_EQ(passedOver, 1);
}

struct MaxValues final : zel::FieldListener {
    void record(zel::Level, const char*, int) override {}
    void field(const zel::ShownField& field) override
    {
        if (field.name == std::string("MaxValue")) ++count;
    }
    int count = 0;
};

TEST(RepeatedSlotsThatAreShown, AllAreShown)
{
    const BuiltFile built = build(sceneOf(230));
    const zel_test::TempDir dir;
    zel_test::writeFile(dir.path("f"), built.bytes);
    const Stream stream(std::fopen(dir.path("f").c_str(), "rb"), &std::fclose);
    const auto file = zel_test::zeroRecord();
    file->fptr = stream.get();
    MaxValues shown;
    zel::ReadAhead ahead;
    zel::FileReader reader(*file, 0, static_cast<std::int64_t>(built.bytes.size()));
    reader.readAhead(ahead);
    reader.showTo(&shown);
    zel_test::run([&] { zel::readComponent(reader, *file); });
    EXPECT_EQ(shown.count, slots);
}

}  // namespace
