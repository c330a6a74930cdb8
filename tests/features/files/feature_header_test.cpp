// Feature headers: written, read back, patched.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

#include "support/feature_bytes.hpp"
#include "support/parameters.hpp"

namespace {

using zel_test::build;
using zel_test::BuiltHeader;
using zel_test::Bytes;
using zel_test::elements;
using zel_test::entry;
using zel_test::FeatureHeader;
using zel_test::fullHeader;
using zel_test::Outcome;
using zel_test::runFeature;
using zel_test::Stream;
using zel_test::text;

// A header read from bytes; freed at the end.
class Header {
public:
    explicit Header(const Bytes& bytes, long at = 0) : stream(bytes)
    {
        std::memset(record_.get(), 0xA5, sizeof *record_);
        std::fseek(stream, at, SEEK_SET);
        outcome = runFeature([this] { result = ZELFeatureReadHeader(stream, record_.get()); });
    }
    ~Header() { ZELFeatureFreeParameters(record_.get()); }
    Header(const Header&) = delete;
    Header& operator=(const Header&) = delete;

    ZELParameterStruct* operator->() { return record_.get(); }
    ZELParameterStruct* get() { return record_.get(); }

    Stream stream;
    Outcome outcome;
    int result = -9;

private:
    std::unique_ptr<ZELParameterStruct> record_ = std::make_unique<ZELParameterStruct>();
};

// ---- Reading ----

TEST(FeatureHeader, EveryItemIsRead)
{
    const BuiltHeader built = build(fullHeader());
    Header header(built.bytes);
    ASSERT_FALSE(header.outcome.ended) << header.outcome.err;
    EXPECT_EQ(header.outcome.err, "");
    EXPECT_EQ(header.outcome.out, "");
    EXPECT_EQ(header.result, static_cast<int>(built.bytes.size()));
    EXPECT_EQ(std::ftell(header.stream), header.result);

    EXPECT_STREQ(header->Header.IdentifierString, "ZEL_FEATURE_HEADER");
    EXPECT_STREQ(header->Header.VersionNumber, "1.2");
    EXPECT_STREQ(header->Header.DateTimeString, "12:34:56  Tuesday Jun 11 2024");
    EXPECT_STREQ(header->IO.outputFilename, "out.feat");
    EXPECT_EQ(header->IO.numInputFiles, 2);
    EXPECT_STREQ(header->IO.inputListHead->Filename, "a.zel");
    EXPECT_STREQ(header->IO.inputList->Filename, "b.zel");
    EXPECT_EQ(header->IO.inputListHead->next, header->IO.inputList);
    EXPECT_EQ(header->IO.inputList->next, nullptr);
    EXPECT_EQ(header->RandomSeed, 7);
    EXPECT_EQ(header->SubSamplingMethod, -4);
    EXPECT_EQ(header->ClassType, 2);
    EXPECT_EQ(header->DataType, 5);
    EXPECT_EQ(header->IgnoreRequirementFlag, 0);
    EXPECT_EQ(header->ClassOffset, static_cast<int>(built.places.at("class counts")));
    EXPECT_EQ(header->FeatureOffset, static_cast<int>(built.places.at("feature ranges")));
}

TEST(FeatureHeader, TheClassesAreRead)
{
    Header header(build(fullHeader()).bytes);
    const ZELClassStruct& classes = header->ClassInfo;
    EXPECT_STREQ(classes.name[3], "water");
    EXPECT_EQ(classes.Red[3], 0);
    EXPECT_EQ(classes.Green[3], 10);
    EXPECT_EQ(classes.Blue[3], 255);
    EXPECT_EQ(classes.Count[3], 258);
    EXPECT_STREQ(classes.name[999], "last");
    EXPECT_EQ(classes.Blue[999], 9);
    EXPECT_EQ(classes.Count[999], 1);
    EXPECT_EQ(classes.Count[0], 5);
    EXPECT_STREQ(classes.name[1], "");
    EXPECT_EQ(classes.Count[1], 0);
}

TEST(FeatureHeader, TheListsAreReadAndCompiled)
{
    Header header(build(fullHeader()).bytes);
    EXPECT_EQ(header->Conditions.num, 2);
    EXPECT_EQ(text(entry(header->Conditions, 0).Label), "bright");
    EXPECT_EQ(text(entry(header->Conditions, 0).Condition), "Ch1 > 50");
    EXPECT_EQ(elements(entry(header->Conditions, 0).Condition), "2:1 1:50 0:9");
    EXPECT_EQ(entry(header->Conditions, 0).Action, nullptr);
    EXPECT_EQ(elements(entry(header->Conditions, 1).Condition), "2:1 1:50 0:9 2:2 0:4");
    EXPECT_EQ(header->Features.num, 3);
    EXPECT_EQ(elements(entry(header->Features, 0).Condition), "2:1 2:2 0:12");
    EXPECT_EQ(entry(header->Features, 1).Label, nullptr);
    EXPECT_EQ(elements(entry(header->Features, 2).Condition), "2:1 1:50 0:9 2:2 0:4");
    EXPECT_EQ(elements(entry(header->Requirements).Condition), "2:1 1:50 0:9");
    EXPECT_EQ(header->Filters.num, 2);
    EXPECT_EQ(text(entry(header->Filters, 0).Label), "mark");
    EXPECT_EQ(elements(entry(header->Filters, 0).Action), "4:0 1:3 0:2");
    EXPECT_EQ(entry(header->Filters, 1).Label, nullptr);
    EXPECT_EQ(elements(entry(header->Filters, 1).Action), "0:0");
    EXPECT_EQ(header->Comments.num, 2);
    EXPECT_EQ(text(entry(header->Comments, 1).Label), "another");
    EXPECT_EQ(entry(header->Comments, 1).Condition, nullptr);
    EXPECT_EQ(text(entry(header->Title).Label), "the title");
    EXPECT_EQ(header->Options.num, 1);
    EXPECT_EQ(text(entry(header->Options).Condition), "Ch2 < 9");
}

// A label that is there but empty is a label.
TEST(FeatureHeader, FeaturesAreLabelledByTheirLabelsOrTheirTexts)
{
    Header header(build(fullHeader()).bytes);
    ASSERT_NE(header->FeatureInfo.Label, nullptr);
    EXPECT_STREQ(header->FeatureInfo.Label[0], "sum");
    EXPECT_STREQ(header->FeatureInfo.Label[1], "Ch3");
    EXPECT_STREQ(header->FeatureInfo.Label[2], "");
    const float maxima[] = {1.5f, 3.0f, 1.0f}, minima[] = {-2.0f, 0.25f, 0.0f};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(header->FeatureInfo.Max[i], maxima[i]);
        EXPECT_EQ(header->FeatureInfo.Min[i], minima[i]);
    }
}

TEST(FeatureHeader, AHeaderInsideALargerFileIsReadWhereItStands)
{
    const BuiltHeader built = build(fullHeader());
    Bytes bytes(100 + built.bytes.size() + 50, 0xEE);
    std::copy(built.bytes.begin(), built.bytes.end(), bytes.begin() + 100);
    Header header(bytes, 100);
    EXPECT_FALSE(header.outcome.ended);
    EXPECT_EQ(header.result, static_cast<int>(built.bytes.size()) + 100);
    EXPECT_EQ(header->ClassOffset, static_cast<int>(built.places.at("class counts")) + 100);
    EXPECT_STREQ(header->ClassInfo.name[3], "water");
}

TEST(FeatureHeader, OptionsCameAfterVersion1_1)
{
    for (const char* version : {"1.1", "1.0", "1", "0.9", "1.109", "old", ""}) {
        FeatureHeader h = fullHeader();
        h.version = version;
        h.hasOptions = false;
        Header header(build(h).bytes);
        EXPECT_FALSE(header.outcome.ended) << version << header.outcome.err;
        EXPECT_EQ(header->Options.num, 0) << version;
        EXPECT_EQ(header->Options.ListHead, nullptr);
        EXPECT_EQ(header->DataType, 5) << version;
        EXPECT_STREQ(header->Header.VersionNumber, version);
    }
    for (const char* version : {"1.2", "1.11", "2", " 1.2", "1.2 beta", "10.0"}) {
        FeatureHeader h = fullHeader();
        h.version = version;
        Header header(build(h).bytes);
        EXPECT_FALSE(header.outcome.ended) << version << header.outcome.err;
        EXPECT_EQ(header->Options.num, 1) << version;
        EXPECT_EQ(header->DataType, 5) << version;
    }
}

TEST(FeatureHeader, WithoutFeaturesThereAreNoRanges)
{
    FeatureHeader h = fullHeader();
    h.features.clear();
    h.maxima.clear();
    h.minima.clear();
    Header header(build(h).bytes);
    EXPECT_FALSE(header.outcome.ended) << header.outcome.err;
    EXPECT_EQ(header->Features.num, 0);
    EXPECT_NE(header->FeatureInfo.Max, nullptr);
    EXPECT_EQ(header->RandomSeed, 7);
}

// Without definitions a list stands in for them, as it does for the definitions themselves.
TEST(FeatureHeader, WithoutDefinitionsALaterEntryMayUseAnEarlierOne)
{
    FeatureHeader h;
    h.features = {{"double", "Ch1*2", {}}, {"more", "double+1", {}}};
    h.maxima = h.minima = {0, 0};
    Header header(build(h).bytes);
    EXPECT_FALSE(header.outcome.ended) << header.outcome.err;
    EXPECT_EQ(elements(entry(header->Features, 1).Condition), "2:1 1:2 0:13 1:1 0:12");
    h.conditions = {{"other", "Ch1", {}}};
    Header with(build(h).bytes);
    EXPECT_TRUE(with.outcome.ended);
    EXPECT_EQ(with.outcome.status, -1);
    EXPECT_EQ(with.outcome.err, "expression: double+1\n"
                                "parse error: illegal character in constant or unknown variable\n");
}

TEST(FeatureHeader, AnExpressionThatDoesNotCompileEndsTheProcess)
{
    const struct {
        const char* expression;
        const char* message;
    } rows[] = {{"(Ch1", "missing right parenthesis"},
                {"Ch1)", "missing left parenthesis"},
                {"Ch1,Ch2", "syntax error"},
                {"foo", "illegal character in constant or unknown variable"},
                {"Ch1=Ch2=3", "only one equal sign allowed per expression"}};
    for (const auto& row : rows)
        for (const bool isAction : {false, true}) {
            FeatureHeader h;
            h.filters = {{{}, "1", isAction ? row.expression : "1"}};
            if (!isAction) h.filters[0].condition = row.expression;
            Header header(build(h).bytes);
            EXPECT_TRUE(header.outcome.ended) << row.expression;
            EXPECT_EQ(header.outcome.status, -1);
            EXPECT_EQ(header.outcome.err, std::string("expression: ") + row.expression +
                                              "\nparse error: " + row.message + "\n");
            EXPECT_EQ(header.outcome.out, "");
        }
}

TEST(FeatureHeader, AFileThatDoesNotBeginWithTheIdentifierIsRefused)
{
    for (const char* identifier :
         {"ZEL_FEATURE_HEADEX", "zel_feature_header", "ZEL_FEATURE_HEADER2", "ZEL", ""}) {
        FeatureHeader h;
        h.identifier = std::string(identifier) + '\0';
        Header header(build(h).bytes);
        EXPECT_TRUE(header.outcome.ended) << identifier;
        EXPECT_EQ(header.outcome.status, -1);
        EXPECT_EQ(header.outcome.err, "Error: file does not contain ZEL Feature header\n");
        EXPECT_LE(std::ftell(header.stream), 19);
    }
    const Header shorter(Bytes{'Z', 'E', 'L'});
    EXPECT_EQ(shorter.outcome.err, "Error: file does not contain ZEL Feature header\n");
    const Header empty(Bytes{});
    EXPECT_EQ(empty.outcome.err, "Error: file does not contain ZEL Feature header\n");
}

// ---- Writing ----

// What was read is written again, with the counts left to the close and the version of today.
TEST(FeatureHeader, AHeaderIsWrittenAsItIsLaidOut)
{
    FeatureHeader h = fullHeader();
    h.version = "1.11";
    Header header(build(h).bytes);
    h.version = "1.2";
    h.counts.clear();
    const BuiltHeader expected = build(h);
    const Stream out;
    header->ClassOffset = header->FeatureOffset = -1;
    int length = 0;
    const Outcome outcome = runFeature([&] { length = ZELFeatureWriteHeader(out, header.get()); });
    EXPECT_FALSE(outcome.ended) << outcome.err;
    EXPECT_EQ(length, static_cast<int>(expected.bytes.size()));
    EXPECT_EQ(header->ClassOffset, static_cast<int>(expected.places.at("class counts")));
    EXPECT_EQ(header->FeatureOffset, static_cast<int>(expected.places.at("feature ranges")));
    EXPECT_TRUE(out.bytes() == expected.bytes);
    EXPECT_EQ(header->ClassInfo.Count[3], 258);
    EXPECT_STREQ(header->Header.VersionNumber, "1.11");
}

TEST(FeatureHeader, WhatIsNullIsWrittenAsAnEmptyStringAndReadBackAsOne)
{
    ZELParameterStruct record;
    ZELFeatureInitializeParameters(&record);
    std::free(record.Header.DateTimeString);
    record.Header.DateTimeString = nullptr;
    int status = 0;
    allocateNewCommand(&record.Features)->Condition = parseCondition("Ch1", &status, 1, nullptr);
    float range[] = {0};
    record.FeatureInfo.Max = record.FeatureInfo.Min = range;
    const Stream out;
    ZELFeatureWriteHeader(out, &record);
    record.FeatureInfo.Max = record.FeatureInfo.Min = nullptr;
    ZELFeatureFreeParameters(&record);

    FeatureHeader h;
    h.date = h.output = "";
    h.inputs.clear();
    const Bytes expected = build(h).bytes;
    EXPECT_TRUE(out.bytes() == expected);
    Header header(expected);
    EXPECT_STREQ(header->Header.DateTimeString, "");
    EXPECT_STREQ(header->IO.outputFilename, "");
    EXPECT_STREQ(header->ClassInfo.name[500], "");
}

TEST(FeatureHeader, AHeaderWithoutFeaturesCannotBeWritten)
{
    FeatureHeader h;
    h.features.clear();
    h.maxima.clear();
    h.minima.clear();
    Header header(build(h).bytes);
    const Stream out;
    const Outcome outcome = runFeature([&] { ZELFeatureWriteHeader(out, header.get()); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err, "FileWrite error:");
}

// ---- Patching ----

TEST(FeatureHeader, CountsAndRangesArePatchedAndNothingElse)
{
    FeatureHeader h = fullHeader();
    h.counts.clear();
    Bytes original = build(h).bytes;
    const std::size_t end = original.size();
    original.insert(original.end(), {1, 2, 3, 4});
    Header header(original);
    EXPECT_EQ(header->ClassInfo.Count[3], 0);
    header->ClassInfo.Count[3] = 1000;
    header->ClassInfo.Count[998] = 2;
    header->FeatureInfo.Max[1] = 9.0f;
    header->FeatureInfo.Min[2] = -9.0f;
    std::fseek(header.stream, static_cast<long>(end) + 2, SEEK_SET);
    const Outcome outcome =
        runFeature([&] { ZELFeatureUpdateHeaderInfo(header.stream, header.get()); });
    EXPECT_FALSE(outcome.ended) << outcome.err;
    EXPECT_EQ(std::ftell(header.stream), static_cast<long>(end) + 2);
    h.counts = {{3, 1000}, {998, 2}};
    h.maxima[1] = 9.0f;
    h.minima[2] = -9.0f;
    Bytes expected = build(h).bytes;
    expected.insert(expected.end(), {1, 2, 3, 4});
    EXPECT_TRUE(header.stream.bytes() == expected);
}

// ---- Labels ----

TEST(FeatureHeader, AnEntryWithNeitherLabelNorConditionHasNoLabel)
{
    CommandStruct list{};
    allocateNewCommand(&list);
    allocateNewCommand(&list)->Label = strdup("named");
    char** labels = CreateLabels(&list);
    EXPECT_EQ(labels[0], nullptr);
    EXPECT_STREQ(labels[1], "named");
    EXPECT_NE(labels[1], list.List->Label);
    std::free(labels[1]);
    std::free(labels);
    freeCommandList(&list);
    EXPECT_EQ(list.ListHead, nullptr);
    EXPECT_EQ(list.num, 0);
}

}  // namespace
