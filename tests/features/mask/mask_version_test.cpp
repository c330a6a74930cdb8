// Mask files of every version, and files that are damaged or no masks at all.
#include <gtest/gtest.h>

#include "support/mask_bytes.hpp"
#include "support/mask_text.hpp"

namespace {

using zel_test::asWritten;
using zel_test::build;
using zel_test::BuiltMask;
using zel_test::Bytes;
using zel_test::entry;
using zel_test::fullMask;
using zel_test::MaskRecord;
using zel_test::ReadMask;
using zel_test::text;
using zel_test::written;

// ---- Versions ----

struct Gate {
    const char* version;
    bool programs, type;
};

class MaskVersion : public testing::TestWithParam<Gate> {};

TEST_P(MaskVersion, HasTheItemsOfItsTime)
{
    MaskRecord record = fullMask();
    record.version = GetParam().version;
    record.hasPrograms = GetParam().programs;
    record.hasType = GetParam().type;
    ReadMask mask(build(record).bytes);
    ASSERT_FALSE(mask.outcome.ended) << mask.outcome.err;
    EXPECT_STREQ(mask->Header.VersionNumber, GetParam().version);
    const ZELMaskParameterType& p = mask.rules();
    EXPECT_EQ(p.PreProcessProgramTextHead != nullptr, GetParam().programs);
    EXPECT_EQ(p.PreProcessHead != nullptr, GetParam().programs);
    EXPECT_EQ(p.PostProcessProgramTextHead != nullptr, GetParam().programs);
    EXPECT_EQ(p.PostProcessHead != nullptr, GetParam().programs);
    EXPECT_EQ(p.MaskType, GetParam().type ? 1 : 0);
    EXPECT_EQ(text(entry(p.Title).Label), "the title");
    EXPECT_EQ(p.Comments.num, 2);
    EXPECT_EQ(mask->numClassifiers, 2);
    EXPECT_EQ(mask->ClassifierList->ClassifierByteCount, 6);
    const Bytes again = written(mask.mask.get());
    record.version = "1.2";
    if (!record.hasPrograms) record.preProgram = record.postProgram = {};
    if (!record.hasType) record.type = 0;
    record.hasPrograms = record.hasType = true;
    EXPECT_EQ(again, asWritten(mask.mask.get(), record)) << "everything is written";
}

// 1.15 times 100 is a little less than 115; 1.1 is not above 110.
INSTANTIATE_TEST_SUITE_P(, MaskVersion,
                         testing::Values(Gate{"1.0", false, false}, Gate{"0.9", false, false},
                                         Gate{"1", false, false}, Gate{"old", false, false},
                                         Gate{"1.009", false, false}, Gate{"1.01", true, false},
                                         Gate{"1.05", true, false}, Gate{"1.1", true, false},
                                         Gate{"1.109", true, false}, Gate{"1.11", true, true},
                                         Gate{"1.2", true, true}, Gate{"2.0", true, true}),
                         [](const auto& tested) {
                             std::string name = tested.param.version;
                             for (char& c : name)
                                 if (c == '.') c = '_';
                             return "Version" + name;
                         });

// The level belongs to the version of the classifier's own header, whatever the mask's is.
TEST(MaskFile, TheLevelCameAfterVersion1_1OfTheClassifiersHeader)
{
    for (const char* maskVersion : {"1.1", "1.2"}) {
        MaskRecord record = fullMask();
        record.version = maskVersion;
        record.hasType = std::string(maskVersion) == "1.2";
        record.classifiers[0].level = 9;
        record.classifiers[1].header.version = "1.1";
        record.classifiers[1].header.hasOptions = false;
        record.classifiers[1].hasLevel = false;
        record.classifiers.push_back(fullMask().classifiers[1]);
        record.classifiers[2].header.version = "1.11";
        ReadMask mask(build(record).bytes);
        ASSERT_FALSE(mask.outcome.ended) << maskVersion << mask.outcome.err;
        const ZELClassifierList* c = mask->ClassifierListHead;
        EXPECT_EQ(c->ClassifierLevel, 9);
        c = c->next;
        EXPECT_EQ(c->ClassifierLevel, 0);
        EXPECT_EQ(c->ClassifierByteCount, 6);
        EXPECT_EQ(c->Classifier[1], 255) << "the bytes begin where the level would be";
        EXPECT_STREQ(c->Parameters->Header.VersionNumber, "1.1");
        EXPECT_EQ(c->next->ClassifierLevel, 42);
        const Bytes again = written(mask.mask.get());
        for (zel_test::ClassifierRecord& classifier : record.classifiers) {
            classifier.header.version = "1.2";
            classifier.header.hasOptions = classifier.hasLevel = true;
        }
        record.classifiers[1].level = 0;
        record.version = "1.2";
        if (!record.hasType) record.type = 0;
        record.hasType = true;
        EXPECT_EQ(again, asWritten(mask.mask.get(), record));
    }
}

// ---- What is no mask, or a damaged one ----

TEST(MaskFile, AnotherIdentifierEndsTheProcess)
{
    for (const char* identifier : {"ZEL_MASKS", "zel_mask", "", "ZEL_FEATURE_HEADER"}) {
        MaskRecord record = fullMask();
        record.identifier = identifier;
        ReadMask mask(build(record).bytes);
        EXPECT_TRUE(mask.outcome.ended) << identifier;
        EXPECT_EQ(mask.outcome.status, -1);
        EXPECT_EQ(mask.outcome.err, "Error:  file does not contain a ZEL mask\n");
        EXPECT_EQ(mask.mask, nullptr);
    }
}

TEST(MaskFile, AFileOfAnotherKindIsReportedHoweverShort)
{
    for (const int count : {1, 1000000, -1}) {
        ReadMask mask(zel_test::FeatureBytes().number(count).string("NOT_MASK").bytes);
        EXPECT_TRUE(mask.outcome.ended);
        EXPECT_EQ(mask.outcome.status, -1);
        EXPECT_EQ(mask.outcome.err, "Error:  file does not contain a ZEL mask\n") << count;
    }
}

TEST(MaskFile, AClassifierWithoutAHeaderEndsTheProcess)
{
    MaskRecord record = fullMask();
    record.classifiers[1].header.identifier[0] = 'z';
    ReadMask mask(build(record).bytes);
    EXPECT_TRUE(mask.outcome.ended);
    EXPECT_EQ(mask.outcome.err, "Error: file does not contain ZEL Feature header\n");
}

TEST(MaskFile, AProgramWithoutStructureEndsTheProcess)
{
    MaskRecord record = fullMask();
    record.preProgram = {"endif"};
    ReadMask mask(build(record).bytes);
    EXPECT_TRUE(mask.outcome.ended);
    EXPECT_EQ(mask.outcome.err, "Endif error: Missing If or Else before endif\n");
}

// Before each item and one byte after its start.
TEST(MaskFile, AFileThatIsCutShortEndsTheProcess)
{
    const BuiltMask built = build(fullMask());
    for (const auto& [item, offset] : built.items) {
        for (const std::size_t size : {offset, offset + 1}) {
            if (size >= built.bytes.size()) continue;
            ReadMask mask(built.upTo(size));
            ASSERT_TRUE(mask.outcome.ended) << item;
            EXPECT_EQ(mask.outcome.status, -1) << item;
            EXPECT_EQ(mask.mask, nullptr);
            const bool reported = mask.outcome.err.starts_with("corrupt feature file: ") ||
                                  mask.outcome.err.starts_with("ReadString error:");
            EXPECT_TRUE(reported) << item << ": " << mask.outcome.err;
        }
    }
}

TEST(MaskFile, TheMessageSaysWhatIsWrongAndWhere)
{
    BuiltMask built = build(fullMask());
    const auto place = [&](const char* item) { return std::to_string(built.place(item)); };
    EXPECT_EQ(ReadMask(built.upTo(3)).outcome.err,
              "corrupt feature file: cut short in classifiers at offset 0\n");
    EXPECT_EQ(ReadMask(built.upTo(built.place("classifier 1 data") + 5)).outcome.err,
              "corrupt feature file: cut short in classifier bytes at offset " +
                  place("classifier 1 data") + "\n");
    EXPECT_EQ(ReadMask(built.upTo(built.place("channel"))).outcome.err,
              "corrupt feature file: invalid number of classifiers 2 at offset 0\n")
        << "what is left cannot hold two";
    BuiltMask text = built;
    text.put("date", 100000);
    EXPECT_EQ(ReadMask(text.bytes).outcome.err, "ReadString error:status = 0, Length = 100000\n");
    built.put("count", 1 << 24);
    EXPECT_EQ(ReadMask(built.bytes).outcome.err,
              "corrupt feature file: invalid number of classifiers 16777216 at offset 0\n");
    built.put("count", -1);
    EXPECT_EQ(ReadMask(built.bytes).outcome.err,
              "corrupt feature file: invalid number of classifiers -1 at offset 0\n");
}

TEST(MaskFile, LengthsLargerThanTheFileEndTheProcess)
{
    for (const char* item :
         {"count", "identifier", "version", "date", "label", "comment", "conditions",
          "pre-class filters", "post-class filters", "preprocess", "postprocess", "title",
          "comments", "classifier 0 input files", "classifier 0 conditions",
          "classifier 1 features", "classifier 0 size", "classifier 1 size"}) {
        for (const int value : {0x7FFFFFFF, 1000000, -5}) {
            BuiltMask built = build(fullMask());
            built.put(item, value);
            ReadMask mask(built.bytes);
            EXPECT_TRUE(mask.outcome.ended) << item << " " << value;
            EXPECT_EQ(mask.outcome.status, -1);
            EXPECT_EQ(mask.mask, nullptr);
        }
    }
}

}  // namespace
