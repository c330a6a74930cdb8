// Masks that channels carry: in scene files, their copies and views.
#include <gtest/gtest.h>

#include <cerrno>

#include "support/file_builder.hpp"
#include "support/mask_bytes.hpp"
#include "support/mask_text.hpp"
#include "support/writer.hpp"

namespace {

using zel_test::asWritten;
using zel_test::build;
using zel_test::BuiltFile;
using zel_test::Bytes;
using zel_test::fullMask;
using zel_test::MaskRecord;
using zel_test::OpenedFile;
using zel_test::Outcome;
using zel_test::OwnedMask;
using zel_test::ReadMask;
using zel_test::run;
using zel_test::Scene;
using zel_test::smallScene;
using zel_test::TempDir;
using zel_test::textOf;
using zel_test::uncounted;
using zel_test::Writer;

// A scene of that version with a mask in slot 0, and another one in slot 1, which is empty.
Scene maskedScene(int version = 230)
{
    Scene scene = smallScene(version);
    scene.slots[0].mask = build(fullMask()).bytes;
    scene.slots[0].tables = {{5, "after the mask", {1.5f}}};
    scene.slots[0].histogram = zel_test::Histogram{9, 1, {1, 2, 3}};
    MaskRecord other;
    other.label = "of an empty slot";
    scene.slots[1].mask = build(other).bytes;
    return scene;
}

std::string textOfRecord(const MaskRecord& record)
{
    return textOf(ReadMask(build(record).bytes).mask.get());
}

std::string textOfFullMask()
{
    return textOfRecord(fullMask());
}

ZELFeatureMaskType* newMask(const MaskRecord& record)
{
    return ReadMask(build(record).bytes).mask.release();
}

// ---- Reading ----

TEST(MaskChannel, AMaskIsReadWithItsChannel)
{
    const BuiltFile built = build(maskedScene());
    OpenedFile file(built.bytes);
    ASSERT_EQ(file.result, 0) << file.outcome.out;
    EXPECT_EQ(file.outcome.err, "");
    EXPECT_EQ(textOf(file->Channels[0].Mask), textOfFullMask());
    EXPECT_STREQ(file->Channels[0].Mask->Header.DateTimeString, "01:02:03  Monday Jan 01 2024");
    ASSERT_NE(file->Channels[1].Mask, nullptr);
    EXPECT_STREQ(file->Channels[1].Mask->ZELChannelLabel, "of an empty slot");
    EXPECT_EQ(file->Channels[2].Mask, nullptr);
}

TEST(MaskChannel, WhatComesAfterAMaskIsFound)
{
    const BuiltFile built = build(maskedScene());
    OpenedFile file(built.bytes);
    ASSERT_EQ(file.result, 0) << file.outcome.out;
    EXPECT_EQ(file->HeaderOffset, static_cast<int>(built.headerEnd));
    EXPECT_EQ(file->NumLines, 2);
    ASSERT_EQ(file->Channels[0].TableList.NumTables, 1);
    EXPECT_STREQ(file->Channels[0].TableList.TableHead->TableLabel, "after the mask");
    ASSERT_NE(file->Channels[0].ChannelHistogram, nullptr);
    EXPECT_EQ(file->Channels[0].ChannelHistogram->Histogram[2], 3);
    EXPECT_STREQ(file->Channels[2].ChannelLabel, "third");
    OpenedFile plain(build(smallScene()).bytes);
    run([&] {
        ZELReadLine(file.get());
        ZELReadLine(plain.get());
    });
    for (int pixel = 0; pixel < 4; ++pixel) {
        EXPECT_EQ(file->Channels[0].ChannelData[pixel], plain->Channels[0].ChannelData[pixel]);
        EXPECT_EQ(file->Channels[2].ChannelData[pixel], plain->Channels[2].ChannelData[pixel]);
    }
}

TEST(MaskChannel, MasksCameWithVersion1_41)
{
    for (const int version : {130, 140, 141, 142, 150, 151, 200, 210, 211, 220, 221, 230}) {
        const BuiltFile built = build(maskedScene(version));
        OpenedFile file(built.bytes);
        ASSERT_EQ(file.result, 0) << version << file.outcome.out;
        if (version < 141)
            EXPECT_EQ(file->Channels[0].Mask, nullptr) << version;
        else
            EXPECT_EQ(textOf(file->Channels[0].Mask), textOfFullMask()) << version;
        EXPECT_EQ(file->HeaderOffset, static_cast<int>(built.headerEnd)) << version;
    }
}

TEST(MaskChannel, AMaskIsTheSameInAFileOfTheOtherByteOrder)
{
    Scene scene = maskedScene(142);
    scene.bigEndian = true;
    scene.prefixed = false;
    OpenedFile file(build(scene).bytes);
    ASSERT_EQ(file.result, 0) << file.outcome.out;
    EXPECT_EQ(SwapByteOrdering, 1);
    EXPECT_EQ(textOf(file->Channels[0].Mask), textOfFullMask());
    EXPECT_EQ(file->Channels[0].ChannelHistogram->Histogram[2], 3);
    CheckByteOrder();
}

// ---- Writing ----

TEST(MaskChannel, AMaskIsWrittenWithItsChannel)
{
    Writer writer(4, 0, 3);
    ZELAddMaskChannel(writer.get(), newMask(fullMask()), 1, 9, 1, 3, 8, "l", "c");
    EXPECT_EQ(writer.slot(1).Units, ZEL_UNITS_LUT);
    writer.add(2, 3, 1, 0);
    ASSERT_EQ(writer.open().err, "");
    ASSERT_EQ(writer.result, 0);
    const Bytes mask = asWritten(writer.slot(1).Mask, fullMask());
    const Bytes bytes = writer.bytes();
    // The header is 23275 bytes, the empty slot 0 is 284.
    const std::size_t place = 23275 + 284 + 276;
    ASSERT_GT(bytes.size(), place + mask.size());
    EXPECT_EQ(Bytes(bytes.begin() + place, bytes.begin() + static_cast<long>(place + mask.size())),
              mask);
    EXPECT_EQ(zel_test::int16At(bytes, place + mask.size()), 0) << "no tables";
    EXPECT_EQ(zel_test::int32At(bytes, 23275 + 276), 0) << "no mask in slot 0";
    writer.finish();
    OpenedFile file(writer.bytes());
    ASSERT_EQ(file.result, 0) << file.outcome.out;
    EXPECT_EQ(textOf(file->Channels[1].Mask), textOfRecord(uncounted(fullMask())));
    EXPECT_STREQ(file->Channels[2].ChannelLabel, "channel");
}

// The sanitizers see the first one freed.
TEST(MaskChannel, AMaskTakesThePlaceOfTheOneBeforeIt)
{
    Writer writer;
    ZELAddMaskChannel(writer.get(), newMask(fullMask()), 1, 9, 1, 3, 8, "l", "c");
    ZELFeatureMaskType* const second = newMask(MaskRecord{});
    ZELAddMaskChannel(writer.get(), second, 1, 9, 1, 3, 8, "l", "c");
    EXPECT_EQ(writer.slot(1).Mask, second);
    ZELAddMaskChannel(writer.get(), second, 1, 9, 1, 3, 8, "again", "c");
    EXPECT_EQ(writer.slot(1).Mask, second);
    EXPECT_EQ(writer.slot(1).Mask->numClassifiers, 1);
    writer.open();
    writer.finish();
}

// To a reader its number of classifiers would say that nothing follows.
TEST(MaskChannel, AMaskWithoutClassifiersIsLeftOut)
{
    Writer writer(4, 0, 2);
    ZELFeatureMaskType* const empty = ZELFeatureAllocateNewMask(7);
    empty->ZELChannelLabel = strdup("not written");
    ZELAddMaskChannel(writer.get(), empty, 0, 9, 1, 3, 8, "l", "c");
    writer.add(1, 3, 1, 0);
    EXPECT_EQ(writer.open().err,
              "ZELOpenWriteOnlyFile: warning: the mask of channel 7 has no classifiers and is left "
              "out\n");
    writer.finish();
    OpenedFile file(writer.bytes());
    ASSERT_EQ(file.result, 0) << file.outcome.out;
    EXPECT_EQ(file->Channels[0].Mask, nullptr);
    EXPECT_STREQ(file->Channels[1].ChannelLabel, "channel");
}

// A record of an empty slot has its mask too.
// Then the file that is there stays.
TEST(MaskChannel, AMaskThatCannotBeWrittenIsRefusedBeforehand)
{
    zel_test::Writer writer(4, 0, 2);
    zel_test::writeFile(writer.path(), std::string("old"));
    ZELSetOverwritePromptOff(writer.get());
    ZELFeatureMaskType* mask = ZELFeatureAllocateNewMask(1);
    ZELFeatureInitializeParameters(ZELFeatureNewClassifierListEntry(mask)->Parameters);
    ZELAddMaskChannel(writer.get(), mask, 1, 9, 0, 3, 8, "mask", "");
    EXPECT_EQ(writer.open().out, "ZELOpenWriteOnlyFile: a classifier of channel 1 has no features, "
                                 "or no ranges of them\n");
    EXPECT_EQ(writer.result, -1);
    EXPECT_EQ(zel_test::readText(writer.path()), "old");
    run([&] { ZELFinishWritingFile(writer.get()); });
    EXPECT_EQ(zel_test::readText(writer.path()), "old");
}

TEST(MaskChannel, ADeletedChannelKeepsItsMask)
{
    Writer writer(4, 0, 3);
    ZELAddMaskChannel(writer.get(), newMask(fullMask()), 1, 9, 1, 3, 8, "l", "c");
    writer.add(2, 3, 1, 0);
    ZELDeleteChannel(writer.get(), 1);
    writer.open();
    writer.finish();
    OpenedFile file(writer.bytes());
    ASSERT_EQ(file.result, 0) << file.outcome.out;
    EXPECT_EQ(file->Channels[1].ChannelPresentFlag, 0);
    EXPECT_EQ(textOf(file->Channels[1].Mask), textOfRecord(uncounted(fullMask())));
}

// ---- Copies and views ----

TEST(MaskChannel, CopiedHeadersHaveMasksOfTheirOwn)
{
    auto copy = zel_test::junkRecord();
    {
        OpenedFile file(build(maskedScene()).bytes);
        ASSERT_EQ(file.result, 0);
        const Outcome outcome = run([&] { ZELCopyFileHeaders(copy.get(), file.get()); });
        EXPECT_FALSE(outcome.ended) << outcome.err;
        EXPECT_NE(copy->Channels[0].Mask, file->Channels[0].Mask);
    }
    EXPECT_EQ(textOf(copy->Channels[0].Mask), textOfFullMask());
    ASSERT_NE(copy->Channels[1].Mask, nullptr);
    EXPECT_STREQ(copy->Channels[1].Mask->ZELChannelLabel, "of an empty slot");
    EXPECT_EQ(copy->Channels[2].Mask, nullptr);
    run([&] { ZELFinishWritingFile(copy.get()); });
}

// A view has the present channels of all its files, one after the other.
TEST(MaskChannel, AViewHasMasksOfItsOwn)
{
    const TempDir dir;
    zel_test::writeFile(dir.path("plain"), build(smallScene()).bytes);
    zel_test::writeFile(dir.path("masked"), build(maskedScene()).bytes);
    const std::string names[] = {dir.path("plain"), dir.path("masked")};
    const char* inputs[] = {names[0].c_str(), names[1].c_str()};
    auto view = zel_test::junkRecord();
    int result = -9;
    run([&] { result = ZELOpenCompositeReadOnlyFile(view.get(), inputs, 2, 0); });
    ASSERT_EQ(result, 0);
    EXPECT_EQ(view->Channels[0].Mask, nullptr);
    EXPECT_EQ(view->Channels[1].Mask, nullptr);
    EXPECT_EQ(textOf(view->Channels[2].Mask), textOfFullMask());
    EXPECT_NE(view->Channels[2].Mask, view->ZELComponent[1].Channels[0].Mask);
    EXPECT_EQ(view->Channels[3].Mask, nullptr);
    run([&] { ZELFinishReadingFile(view.get()); });
}

TEST(MaskChannel, AComponentHasItsMask)
{
    Scene plain = smallScene();
    const Bytes bytes = zel_test::buildComposite({plain, maskedScene()});
    OpenedFile file(bytes);
    ASSERT_EQ(file.result, 0) << file.outcome.out;
    EXPECT_EQ(textOf(file->Channels[2].Mask), textOfFullMask());
    EXPECT_EQ(textOf(file->ZELComponent[1].Channels[0].Mask), textOfFullMask());
}

// ---- Damage ----

class MaskDamage : public testing::Test {
protected:
    // Opens the bytes and finishes what did open; returns the messages of a refusal.
    std::string open(const Bytes& content)
    {
        zel_test::writeFile(path, content);
        const int before = zel_test::openDescriptors();
        result = -9;
        outcome = zel_test::runFeature(
            [&] { result = OpenReadOnlyFile(record.get(), path.c_str(), 0, 0); });
        refused = !outcome.ended && result == -2 && zel_test::openDescriptors() == before;
        if (!refused) run([&] { ZELFinishReadingFile(record.get()); });
        const std::string out = zel_test::withoutGridNotes(outcome.out);
        const std::string begin = "OpenReadOnlyFile: corrupt file " + path + ": ";
        const std::size_t found = out.find(begin);
        EXPECT_EQ(found != std::string::npos, refused) << out;
        return refused ? out.substr(found + begin.size()) : out;
    }

    // Whether a place in the mask is one where every byte is worth a try: not in the long tables of
    // classes and the classifiers themselves, where one in a hundred is.
    static bool isWorthATry(const zel_test::BuiltMask& mask, std::size_t place)
    {
        const auto inside = [&](const std::string& first, const std::string& next) {
            return place > mask.place(first) + 8 && place + 40 < mask.place(next);
        };
        const bool isLong = inside("classifier 0 class counts", "classifier 0 conditions") ||
                            inside("classifier 1 class counts", "classifier 1 conditions") ||
                            inside("classifier 0 data", "classifier 1");
        return !isLong || place % 100 == 0;
    }

    const TempDir dir;
    const std::string path = dir.path("scene.zel");
    std::unique_ptr<ZELType> record = zel_test::zeroRecord();
    Outcome outcome;
    int result = -9;
    bool refused = false;
};

TEST_F(MaskDamage, AFileCutAtAnyByteOfAMaskIsRefused)
{
    const BuiltFile built = build(maskedScene());
    const std::size_t begin = built.offset("channel[0].mask");
    const zel_test::BuiltMask mask = build(fullMask());
    for (std::size_t place = 0; place < mask.bytes.size(); ++place) {
        if (!isWorthATry(mask, place)) continue;
        open({built.bytes.begin(), built.bytes.begin() + static_cast<long>(begin + place)});
        ASSERT_TRUE(refused) << "cut at byte " << place << ": " << outcome.out << outcome.err;
        ASSERT_EQ(outcome.err, "") << place;
    }
}

TEST_F(MaskDamage, TheMessageSaysWhatIsWrongAndWhere)
{
    const BuiltFile built = build(maskedScene());
    const std::size_t begin = built.offset("channel[0].mask");
    const zel_test::BuiltMask mask = build(fullMask());
    const auto cutAt = [&](std::size_t place) {
        return open({built.bytes.begin(), built.bytes.begin() + static_cast<long>(begin + place)});
    };
    const auto at = [&](const std::string& item, std::size_t more = 0) {
        return " at offset " + std::to_string(begin + mask.place(item) + more) + "\n";
    };
    EXPECT_EQ(cutAt(2), "cut short in classifier mask" + at("count"));
    EXPECT_EQ(cutAt(mask.place("channel")), "invalid number of classifiers 2" + at("count"));
    EXPECT_EQ(cutAt(mask.place("classifier 1 data") + 3),
              "cut short in classifier bytes" + at("classifier 1 data"));
    EXPECT_EQ(cutAt(mask.place("classifier 1 random seed") + 1),
              "cut short in random seed" + at("classifier 1 random seed"));
    const auto withNumber = [&](const std::string& item, int value) {
        zel_test::BuiltMask wrong = mask;
        wrong.put(item, value);
        Scene scene = maskedScene();
        scene.slots[0].mask = wrong.bytes;
        return open(build(scene).bytes);
    };
    EXPECT_EQ(withNumber("label", 100000),
              "invalid length of mask channel label 100000" + at("label"));
    EXPECT_EQ(withNumber("date", 0), "invalid length of mask date 0" + at("date"));
    EXPECT_EQ(withNumber("classifier 1 size", -2),
              "invalid number of classifier bytes -2" + at("classifier 1 size"));
    EXPECT_EQ(withNumber("preprocess", 99999),
              "invalid number of program lines 99999" + at("preprocess"));
    EXPECT_EQ(withNumber("count", 0x7FFFFFFF),
              "invalid number of classifiers 2147483647" + at("count"));
}

TEST_F(MaskDamage, LengthsLargerThanTheFileAreRefused)
{
    for (const char* item :
         {"count", "identifier", "version", "date", "label", "comment", "conditions",
          "pre-class filters", "post-class filters", "preprocess", "postprocess", "title",
          "comments", "classifier 0 input files", "classifier 0 classes", "classifier 0 conditions",
          "classifier 1 features", "classifier 0 size", "classifier 1 size"}) {
        for (const int value : {0x7FFFFFFF, 1000000, -1}) {
            zel_test::BuiltMask mask = build(fullMask());
            mask.put(item, value);
            Scene scene = maskedScene();
            scene.slots[0].mask = mask.bytes;
            open(build(scene).bytes);
            EXPECT_TRUE(refused) << item << " = " << value << ": " << outcome.out << outcome.err;
            EXPECT_EQ(outcome.err, "");
        }
    }
}

// The file continues after it, but the component does not.
TEST_F(MaskDamage, AMaskThatIsLongerThanItsComponentIsRefused)
{
    const BuiltFile built = build(maskedScene());
    zel_test::writeFile(path, built.bytes);
    const zel_test::BuiltMask mask = build(fullMask());
    const int size =
        static_cast<int>(built.offset("channel[0].mask") + mask.place("classifier 1 data") + 2);
    outcome = run([&] { result = OpenReadOnlyFile(record.get(), path.c_str(), 0, size); });
    EXPECT_EQ(result, -2);
    EXPECT_NE(outcome.out.find("cut short in classifier bytes"), std::string::npos) << outcome.out;
}

TEST_F(MaskDamage, WhatIsNoMaskEndsTheProcess)
{
    Scene scene = maskedScene();
    MaskRecord wrong = fullMask();
    wrong.identifier = "ZEL_MASQ";
    scene.slots[0].mask = build(wrong).bytes;
    open(build(scene).bytes);
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err, "Error:  file does not contain a ZEL mask\n");
}

// The words of the feature layer name no file, and would go on with the system's last error.
TEST_F(MaskDamage, AMaskThatEndsTheProcessIsNamedByItsFileAndPlace)
{
    Scene scene = maskedScene();
    MaskRecord wrong = fullMask();
    wrong.conditions[0].condition = "Ch1 +* 2";
    scene.slots[0].mask = build(wrong).bytes;
    const BuiltFile built = build(scene);
    zel_test::writeFile(path, built.bytes);
    outcome = run([&] {
        errno = ENOENT;
        OpenReadOnlyFile(record.get(), path.c_str(), 0, 0);
    });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err, "expression: Ch1 +* 2\nparse error: syntax error\n");
    const std::string place = std::to_string(built.offset("channel[0].mask"));
    EXPECT_TRUE(outcome.out.ends_with("OpenReadOnlyFile: file " + path +
                                      ": cannot read classifier mask at offset " + place + "\n"))
        << outcome.out;
    run([&] { ZELFinishReadingFile(record.get()); });
}

// A wrong byte may leave a mask that can be read, one that is refused, or one that ends the process
// with a message: as an expression does that does not compile.
TEST_F(MaskDamage, AnyByteOfAMaskSetToAnythingIsSurvived)
{
    const BuiltFile built = build(maskedScene());
    const std::size_t begin = built.offset("channel[0].mask");
    const zel_test::BuiltMask mask = build(fullMask());
    int opened = 0, refusals = 0, endings = 0;
    for (std::size_t place = 0; place < mask.bytes.size(); ++place) {
        if (!isWorthATry(mask, place)) continue;
        for (const unsigned char value : {0x00, 0xFF}) {
            Bytes bytes = built.bytes;
            bytes[begin + place] = value;
            open(bytes);
            if (outcome.ended) {
                ++endings;
                ASSERT_EQ(outcome.status, -1) << place;
                ASSERT_FALSE(outcome.err.empty()) << place;
                continue;
            }
            ASSERT_TRUE(result == 0 || refused) << place << ": " << outcome.out;
            ++(result == 0 ? opened : refusals);
        }
    }
    EXPECT_GT(opened, 0);
    EXPECT_GT(refusals, 0);
    EXPECT_GT(endings, 0);
}

}  // namespace
