// Byte order and binary input and output.
#include <gtest/gtest.h>

#include <bit>
#include <cstring>

#include "support/outcome.hpp"

namespace {

using zel_test::Bytes;
using zel_test::contentOf;

constexpr bool littleEndianHost = std::endian::native == std::endian::little;

class Io : public testing::Test {
protected:
    void SetUp() override { SwapByteOrdering = 0; }
    void TearDown() override
    {
        if (stream_ != nullptr) fclose(stream_);
        SwapByteOrdering = 0;
    }

    FILE* holding(const Bytes& content)
    {
        FILE* stream = empty();
        if (!content.empty()) fwrite(content.data(), 1, content.size(), stream);
        rewind(stream);
        return stream;
    }
    FILE* empty()
    {
        if (stream_ != nullptr) fclose(stream_);
        stream_ = tmpfile();
        return stream_;
    }
    Bytes written()
    {
        const std::string content = contentOf(stream_);
        return {content.begin(), content.end()};
    }

private:
    FILE* stream_ = nullptr;
};

Bytes bytesOf(const void* value, std::size_t size)
{
    Bytes bytes(size);
    std::memcpy(bytes.data(), value, size);
    return bytes;
}

TEST_F(Io, CheckByteOrderClearsTheFlagOnALittleEndianHost)
{
    SwapByteOrdering = 1;
    const auto outcome = zel_test::run([] { CheckByteOrder(); });
    EXPECT_EQ(SwapByteOrdering, littleEndianHost ? 0 : 1);
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(outcome.out, "");
}

TEST_F(Io, ReadingIsPlainWithTheFlagClear)
{
    FILE* stream = holding({1, 2, 3, 4, 5, 6, 7, 8, 9});
    Bytes got(8);
    EXPECT_EQ(ZELRead(got.data(), 4, 2, stream), 2);
    EXPECT_EQ(got, (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(ftell(stream), 8);
}

TEST_F(Io, WritingIsPlainWithTheFlagClear)
{
    const Bytes value{1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(ZELWrite(value.data(), 4, 2, empty()), 2);
    EXPECT_EQ(written(), value);
}

TEST_F(Io, AnIntOneIsWrittenHighByteFirstWithTheFlagSetAndTheCallersIntStays)
{
    if (!littleEndianHost) GTEST_SKIP() << "the flag means little-endian there";
    SwapByteOrdering = 1;
    int one = 1;
    EXPECT_EQ(ZELWrite(&one, 4, 1, empty()), 1);
    EXPECT_EQ(written(), (Bytes{0, 0, 0, 1}));
    EXPECT_EQ(one, 1);
}

TEST_F(Io, ElementsOfTwoFourAndEightBytesAreReversedOnReading)
{
    SwapByteOrdering = 1;
    const Bytes content{1, 2, 3, 4, 5, 6, 7, 8};
    const struct {
        int size, count;
        Bytes expected;
    } cases[] = {
        {2, 4, {2, 1, 4, 3, 6, 5, 8, 7}},
        {4, 2, {4, 3, 2, 1, 8, 7, 6, 5}},
        {8, 1, {8, 7, 6, 5, 4, 3, 2, 1}},
    };
    for (const auto& c : cases) {
        Bytes got(8);
        EXPECT_EQ(ZELRead(got.data(), c.size, c.count, holding(content)), c.count);
        EXPECT_EQ(got, c.expected) << "elements of " << c.size << " bytes";
    }
}

TEST_F(Io, ElementsOfTwoFourAndEightBytesAreReversedOnWriting)
{
    SwapByteOrdering = 1;
    const Bytes value{1, 2, 3, 4, 5, 6, 7, 8};
    const struct {
        int size, count;
        Bytes expected;
    } cases[] = {
        {2, 4, {2, 1, 4, 3, 6, 5, 8, 7}},
        {4, 2, {4, 3, 2, 1, 8, 7, 6, 5}},
        {8, 1, {8, 7, 6, 5, 4, 3, 2, 1}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ZELWrite(value.data(), c.size, c.count, empty()), c.count);
        EXPECT_EQ(written(), c.expected) << "elements of " << c.size << " bytes";
    }
    EXPECT_EQ(value, (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST_F(Io, ReversalGoesByElementSizeNotByType)
{
    SwapByteOrdering = 1;
    Bytes got(6);
    EXPECT_EQ(ZELRead(got.data(), 3, 2, holding({1, 2, 3, 4, 5, 6})), 2);
    EXPECT_EQ(got, (Bytes{3, 2, 1, 6, 5, 4})) << "the middle byte of an odd element stays";
}

TEST_F(Io, ADoubleScanTimeIsReversedWhole)
{
    if (!littleEndianHost) GTEST_SKIP();
    SwapByteOrdering = 1;
    double time = 0;  // 1.0 is 3F F0 00 00 00 00 00 00, high byte first
    EXPECT_EQ(ZELRead(&time, 8, 1, holding({0x3F, 0xF0, 0, 0, 0, 0, 0, 0})), 1);
    EXPECT_EQ(time, 1.0);
}

TEST_F(Io, OneByteElementsAreNeverReversed)
{
    SwapByteOrdering = 1;
    char text[6] = {};
    EXPECT_EQ(ZELRead(text, 1, 5, holding({'h', 'e', 'l', 'l', 'o'})), 5);
    EXPECT_STREQ(text, "hello");
    EXPECT_EQ(ZELWrite("hello", 1, 5, empty()), 5);
    EXPECT_EQ(contentOf(holding(written())), "hello");
}

TEST_F(Io, AShortReadReturnsTheElementsReadAndReversesTheWholeSpan)
{
    SwapByteOrdering = 1;
    Bytes got{0, 0, 0, 0, 21, 22, 23, 24};
    EXPECT_EQ(ZELRead(got.data(), 4, 2, holding({1, 2, 3, 4})), 1);
    EXPECT_EQ(got, (Bytes{4, 3, 2, 1, 24, 23, 22, 21}));
}

TEST_F(Io, AtTheEndOfTheStreamNothingIsReadAndFeofTells)
{
    FILE* stream = holding({});
    int value = 0;
    EXPECT_EQ(ZELRead(&value, 4, 1, stream), 0);
    EXPECT_NE(feof(stream), 0);
}

TEST_F(Io, AFailedWriteReturnsWhatWasWritten)
{
    zel_test::TempDir dir;
    zel_test::writeFile(dir.path("f"), std::string("x"));
    for (int swap : {0, 1}) {
        SwapByteOrdering = swap;
        FILE* readOnly = fopen(dir.path("f").c_str(), "r");
        ASSERT_NE(readOnly, nullptr);
        const int value = 1;
        EXPECT_EQ(ZELWrite(&value, 4, 1, readOnly), 0);
        fclose(readOnly);
    }
}

TEST_F(Io, SwappedWritesOfGrowingAndShrinkingSizeAreAllRight)
{
    SwapByteOrdering = 1;
    for (int count : {2, 5000, 1, 20000, 3}) {
        Bytes value(2 * static_cast<std::size_t>(count)), expected(value.size());
        for (std::size_t i = 0; i < value.size(); ++i) value[i] = static_cast<unsigned char>(i * 7);
        for (std::size_t i = 0; i < value.size(); ++i) expected[i] = value[i ^ 1];
        EXPECT_EQ(ZELWrite(value.data(), 2, count, empty()), count);
        EXPECT_EQ(written(), expected) << count << " elements";
    }
}

TEST_F(Io, CheckReadSwapsByItsArgumentAndLeavesTheFlagAlone)
{
    for (int flag : {0, 1}) {
        SwapByteOrdering = flag;
        Bytes got(4);
        EXPECT_EQ(checkRead(1, got.data(), 4, 1, holding({1, 2, 3, 4})), 1);
        EXPECT_EQ(got, (Bytes{4, 3, 2, 1}));
        EXPECT_EQ(checkRead(0, got.data(), 4, 1, holding({1, 2, 3, 4})), 1);
        EXPECT_EQ(got, (Bytes{1, 2, 3, 4}));
        EXPECT_EQ(SwapByteOrdering, flag);
    }
}

TEST_F(Io, CheckReadNeverReversesOneByteElements)
{
    Bytes got(4);
    EXPECT_EQ(checkRead(1, got.data(), 1, 4, holding({1, 2, 3, 4})), 4);
    EXPECT_EQ(got, (Bytes{1, 2, 3, 4}));
}

TEST_F(Io, WhatIsWrittenWithEitherFlagReadsBackWithTheSame)
{
    for (int flag : {0, 1}) {
        SwapByteOrdering = flag;
        const float values[3] = {1.5f, -2.25f, 3.0e30f};
        FILE* stream = empty();
        EXPECT_EQ(ZELWrite(values, 4, 3, stream), 3);
        rewind(stream);
        float got[3] = {};
        EXPECT_EQ(ZELRead(got, 4, 3, stream), 3);
        EXPECT_EQ(bytesOf(got, sizeof got), bytesOf(values, sizeof values));
    }
}

TEST_F(Io, NoElementsAreNoBytes)
{
    SwapByteOrdering = 1;
    const int value = 7;
    EXPECT_EQ(ZELWrite(&value, 4, 0, empty()), 0);
    EXPECT_EQ(written(), Bytes{});
}

}  // namespace
