// Lists of expressions on disk, and feature headers that are damaged.
#include <gtest/gtest.h>

#include <cstring>

#include "support/feature_bytes.hpp"
#include "support/parameters.hpp"

namespace {

using zel_test::build;
using zel_test::BuiltHeader;
using zel_test::Bytes;
using zel_test::elements;
using zel_test::entry;
using zel_test::FeatureBytes;
using zel_test::fullHeader;
using zel_test::Outcome;
using zel_test::runFeature;
using zel_test::Stream;
using zel_test::text;

// ---- Lists ----

class Lists : public testing::Test {
protected:
    ~Lists() override
    {
        freeCommandList(&list);
        freeCommandList(&definitions);
    }
    static void add(CommandStruct& to, const char* label, const char* condition,
                    const char* action = nullptr)
    {
        int status = 0;
        CommandListStruct* added = allocateNewCommand(&to);
        if (label) added->Label = strdup(label);
        if (condition) added->Condition = parseCondition(condition, &status, 0, nullptr);
        if (action) added->Action = parseCondition(action, &status, 0, nullptr);
    }

    CommandStruct list{};
    CommandStruct definitions{};
};

TEST_F(Lists, AnEntrySaysWhatItHas)
{
    add(list, "name", "Ch1 > 5", "class=3");
    add(list, nullptr, nullptr);
    const Stream stream;
    ZELWriteCommandList(stream, list.ListHead);
    ZELWriteCommandList(stream, list.List);
    EXPECT_EQ(stream.bytes(), FeatureBytes()
                                  .number(1)
                                  .string("name")
                                  .number(1)
                                  .string("Ch1 > 5")
                                  .number(1)
                                  .string("class=3")
                                  .number(0)
                                  .number(0)
                                  .number(0)
                                  .bytes);
}

TEST_F(Lists, AnEntryIsReadIntoAListThatItIsPartOf)
{
    add(definitions, "bright", "Ch1>50");
    const Stream stream(
        FeatureBytes().number(0).number(1).string("bright").number(9).string("class = 2").bytes);
    CommandListStruct* read = allocateNewCommand(&list);
    ZELReadCommandList(stream, read, 1, definitions.ListHead);
    EXPECT_EQ(read->Label, nullptr);
    EXPECT_EQ(text(read->Condition), "bright");
    EXPECT_EQ(elements(read->Condition), "2:1 1:50 0:9");
    EXPECT_EQ(elements(read->Action), "4:0 1:2 0:2");
}

// An entry need not be initialised: what it holds is neither read nor freed.
TEST_F(Lists, WhatAnEntryHeldIsReplacedAndNotFreed)
{
    CommandListStruct read;
    std::memset(&read, 0xA5, sizeof read);
    CommandListStruct* const next = read.next;
    const Stream absent(FeatureBytes().number(0).number(0).number(0).bytes);
    ZELReadCommandList(absent, &read, 1, nullptr);
    EXPECT_EQ(read.Label, nullptr);
    EXPECT_EQ(read.Condition, nullptr);
    EXPECT_EQ(read.Action, nullptr);
    EXPECT_EQ(read.next, next) << "its place in a list";

    std::memset(&read, 0xA5, sizeof read);
    const Stream present(
        FeatureBytes().number(1).string("a").number(1).string("Ch1").number(1).string("Ch2").bytes);
    ZELReadCommandList(present, &read, 1, nullptr);
    EXPECT_EQ(text(read.Label), "a");
    EXPECT_EQ(elements(read.Condition), "2:1");
    EXPECT_EQ(elements(read.Action), "2:2");
    std::free(read.Label);
    ZELFreeStack(read.Condition);
    ZELFreeStack(read.Action);
}

TEST_F(Lists, AListIsItsCountAndItsEntries)
{
    add(list, "a", "Ch1");
    add(list, "b", nullptr);
    const Stream stream;
    ZELWriteCommand(stream, &list);
    ZELWriteCommand(stream, nullptr);
    EXPECT_EQ(stream.bytes(), FeatureBytes()
                                  .number(2)
                                  .number(1)
                                  .string("a")
                                  .number(1)
                                  .string("Ch1")
                                  .number(0)
                                  .number(1)
                                  .string("b")
                                  .number(0)
                                  .number(0)
                                  .number(0)
                                  .bytes);
}

Bytes twoEntries(const char* first, const char* second)
{
    return FeatureBytes()
        .number(2)
        .number(1)
        .string("first")
        .number(1)
        .string(first)
        .number(0)
        .number(0)
        .number(1)
        .string(second)
        .number(0)
        .bytes;
}

TEST_F(Lists, EntriesAreAppendedToWhatAListHas)
{
    add(list, "before", "Ch9");
    const Stream stream(twoEntries("Ch1", "Ch2"));
    ZELReadCommand(stream, &list, nullptr);
    EXPECT_EQ(list.num, 3);
    EXPECT_EQ(text(entry(list, 0).Label), "before");
    EXPECT_EQ(text(entry(list, 1).Label), "first");
    EXPECT_EQ(text(list.List->Condition), "Ch2");
}

TEST_F(Lists, WithoutDefinitionsTheFirstEntryHasNoNamesAndTheNextTheFirst)
{
    const Stream stream(twoEntries("Ch1", "first*2"));
    ZELReadCommand(stream, &list, nullptr);
    EXPECT_EQ(elements(entry(list, 1).Condition), "2:1 1:2 0:13");
    const Stream alone(twoEntries("first", "Ch1"));
    CommandStruct other{};
    const Outcome outcome = runFeature([&] { ZELReadCommand(alone, &other, nullptr); });
    EXPECT_EQ(
        outcome.err,
        "expression: first\nparse error: illegal character in constant or unknown variable\n");
    freeCommandList(&other);
}

TEST_F(Lists, WithoutDefinitionsTheFirstEntryHasNoNamesOfAListWithEntries)
{
    add(list, "before", "Ch9");
    const Stream first(twoEntries("before", "Ch1"));
    const Outcome outcome = runFeature([&] { ZELReadCommand(first, &list, nullptr); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(
        outcome.err,
        "expression: before\nparse error: illegal character in constant or unknown variable\n");

    CommandStruct other{};
    add(other, "before", "Ch9");
    const Stream second(twoEntries("Ch1", "before+first"));
    ZELReadCommand(second, &other, nullptr);
    EXPECT_EQ(elements(entry(other, 2).Condition), "2:9 2:1 0:12");
    freeCommandList(&other);
}

// The second feature of a file may have its channel for a label.
TEST_F(Lists, AnEntryMayBeCalledAsItsOwnText)
{
    add(definitions, "Ch2", "Ch2");
    add(definitions, "Ch1", "Ch1");
    const Stream stream;
    ZELWriteCommand(stream, &definitions);
    std::rewind(stream);
    ZELReadCommand(stream, &list, nullptr);
    ASSERT_EQ(list.num, 2);
    EXPECT_EQ(elements(entry(list, 0).Condition), "2:2");
    EXPECT_EQ(elements(entry(list, 1).Condition), "2:1");
}

TEST_F(Lists, WithDefinitionsTheNamesAreTheirs)
{
    add(definitions, "x", "Ch7");
    const Stream stream(twoEntries("x", "x+1"));
    ZELReadCommand(stream, &list, definitions.ListHead);
    EXPECT_EQ(elements(entry(list, 0).Condition), "2:7");
    const Stream own(twoEntries("x", "first"));
    CommandStruct other{};
    EXPECT_TRUE(runFeature([&] { ZELReadCommand(own, &other, definitions.ListHead); }).ended);
    freeCommandList(&other);
}

TEST_F(Lists, OnlyAClassListMayBeMoreThanOneValue)
{
    const Stream classes(twoEntries("Ch1", "3,5"));
    ZELReadList(classes, &list, nullptr);
    EXPECT_EQ(elements(entry(list, 1).Condition), "1:3 1:5 0:1");
    const Stream checked(twoEntries("Ch1", "3,5"));
    CommandStruct other{};
    const Outcome outcome = runFeature([&] { ZELReadCommand(checked, &other, nullptr); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err, "expression: 3,5\nparse error: syntax error\n");
    freeCommandList(&other);
}

// Text, number of elements, and each element's kind and operand: Ch1 > 1.5 is channel 1, the
// constant 3F C0 00 00, and operator 9.
TEST_F(Lists, AStackIsItsTextAndItsElements)
{
    add(list, nullptr, "Ch1 > 1.5");
    const Stream stream;
    ZELWriteStack(stream, list.ListHead->Condition);
    EXPECT_EQ(stream.bytes(), FeatureBytes()
                                  .string("Ch1 > 1.5")
                                  .number(3)
                                  .number(2)
                                  .number(1)
                                  .number(1)
                                  .word(0x3FC00000)
                                  .number(0)
                                  .number(9)
                                  .bytes);
}

// ---- Damage ----

Outcome read(const Bytes& bytes)
{
    const Stream stream(bytes);
    ZELParameterStruct record;
    const Outcome outcome = runFeature([&] { ZELFeatureReadHeader(stream, &record); });
    ZELFeatureFreeParameters(&record);
    return outcome;
}

void put(Bytes& bytes, std::size_t place, std::int32_t value)
{
    const Bytes number = FeatureBytes().number(value).bytes;
    std::copy(number.begin(), number.end(), bytes.begin() + static_cast<long>(place));
}

TEST(DamagedFeatureHeader, EveryTruncationIsRefused)
{
    const Bytes whole = build(fullHeader()).bytes;
    ASSERT_FALSE(read(whole).ended);
    for (std::size_t size = 0; size < whole.size(); size += size < 200 || size > 12000 ? 1 : 97) {
        const Outcome outcome = read(Bytes(whole.begin(), whole.begin() + static_cast<long>(size)));
        ASSERT_TRUE(outcome.ended) << size;
        ASSERT_EQ(outcome.status, -1) << size;
        ASSERT_NE(outcome.err, "") << size;
    }
}

TEST(DamagedFeatureHeader, ACountThatTheFileCannotHoldIsRefusedWithItsPlace)
{
    const BuiltHeader built = build(fullHeader());
    const struct {
        const char* place;
        const char* what;
    } rows[] = {{"input files", "input files"}, {"conditions", "entries"}, {"features", "entries"},
                {"requirements", "entries"},    {"filters", "entries"},    {"comments", "entries"},
                {"title", "entries"},           {"options", "entries"}};
    for (const auto& row : rows)
        for (const std::int32_t count : {-1, INT32_MIN, INT32_MAX, 0x01000000}) {
            Bytes bytes = built.bytes;
            const std::size_t place = built.places.at(row.place);
            put(bytes, place, count);
            const Outcome outcome = read(bytes);
            EXPECT_TRUE(outcome.ended) << row.place;
            EXPECT_EQ(outcome.status, -1);
            EXPECT_EQ(outcome.err, "corrupt feature file: invalid number of " +
                                       std::string(row.what) + " " + std::to_string(count) +
                                       " at offset " + std::to_string(place) + "\n");
        }
}

TEST(DamagedFeatureHeader, ALengthThatTheFileCannotHoldIsRefused)
{
    const BuiltHeader built = build(fullHeader());
    const std::size_t lengths[] = {19, built.places.at("input files") + 4,
                                   built.places.at("classes"), built.places.at("conditions") + 8};
    for (const std::size_t place : lengths)
        for (const std::int32_t length : {0, -1, INT32_MAX, 30000}) {
            Bytes bytes = built.bytes;
            put(bytes, place, length);
            const Outcome outcome = read(bytes);
            EXPECT_TRUE(outcome.ended) << place;
            EXPECT_EQ(outcome.status, -1);
            EXPECT_EQ(outcome.err,
                      "ReadString error:status = 0, Length = " + std::to_string(length) + "\n");
        }
}

TEST(DamagedFeatureHeader, AnItemThatIsCutShortIsNamed)
{
    const BuiltHeader built = build(fullHeader());
    const struct {
        const char* place;
        const char* item;
    } rows[] = {{"class counts", "class counts"},
                {"feature ranges", "feature maxima"},
                {"random seed", "random seed"},
                {"options", "entries"},
                {"input files", "input files"}};
    for (const auto& row : rows) {
        const std::size_t place = built.places.at(row.place);
        const auto end = built.bytes.begin() + static_cast<long>(place) + 3;
        EXPECT_EQ(read(Bytes(built.bytes.begin(), end)).err,
                  std::string("corrupt feature file: cut short in ") + row.item + " at offset " +
                      std::to_string(place) + "\n");
    }
}

// Any single byte may be anything: the header is read, or refused.
TEST(DamagedFeatureHeader, NoByteBreaksTheReader)
{
    const BuiltHeader built = build(fullHeader());
    int refused = 0;
    for (std::size_t i = 0; i < built.bytes.size(); ++i) {
        if (i > built.places.at("class counts") + 8 && i < built.places.at("conditions")) {
            if (i % 499 != 0) continue;
        }
        for (const unsigned char value : {0x00, 0xFF, 0x28}) {
            Bytes bytes = built.bytes;
            bytes[i] = value;
            const Outcome outcome = read(bytes);
            refused += outcome.ended;
            if (outcome.ended) {
                ASSERT_EQ(outcome.status, -1) << i;
                ASSERT_NE(outcome.err, "") << i;
            }
        }
    }
    EXPECT_GT(refused, 300);
}

}  // namespace
