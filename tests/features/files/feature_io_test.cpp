// The encoding of the feature layer's files: numbers and strings.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "support/feature_bytes.hpp"
#include "support/parameters.hpp"
#include "support/program.hpp"

namespace {

using zel_test::Bytes;
using zel_test::FeatureBytes;
using zel_test::Outcome;
using zel_test::runFeature;
using zel_test::Stream;

std::string systemError(int error)
{
    return std::string("system error code:: ") + std::strerror(error) + "\n";
}

// ---- Numbers ----

TEST(FeatureIo, NumbersAreWrittenWithTheirHighestByteFirst)
{
    const Stream stream;
    const std::int32_t one = 1, many = -2;
    const std::int16_t half = 0x0102;
    const double wide = 1.0;  // 3F F0 00 00 00 00 00 00
    FileWrite(&one, 4, 1, stream);
    FileWrite(&many, 4, 1, stream);
    FileWrite(&half, 2, 1, stream);
    FileWrite(&wide, 8, 1, stream);
    EXPECT_EQ(stream.bytes(),
              (Bytes{0, 0, 0, 1, 0xFF, 0xFF, 0xFF, 0xFE, 1, 2, 0x3F, 0xF0, 0, 0, 0, 0, 0, 0}));
}

TEST(FeatureIo, WhatIsWrittenStaysAsItIsInMemory)
{
    const Stream stream;
    std::int32_t values[] = {1, 2, 0x01020304};
    FileWrite(values, 4, 3, stream);
    EXPECT_EQ(values[0], 1);
    EXPECT_EQ(values[1], 2);
    EXPECT_EQ(values[2], 0x01020304);
    EXPECT_EQ(stream.bytes(), (Bytes{0, 0, 0, 1, 0, 0, 0, 2, 1, 2, 3, 4}));
}

TEST(FeatureIo, BytesAreWrittenAsTheyStand)
{
    const Stream stream;
    FileWrite("abc", 1, 3, stream);
    EXPECT_EQ(stream.bytes(), (Bytes{'a', 'b', 'c'}));
}

TEST(FeatureIo, ALargeWriteAfterASmallOneAndBack)
{
    const Stream stream;
    const std::vector<std::int32_t> values(5000, 3);
    const std::int32_t one = 1;
    FileWrite(&one, 4, 1, stream);
    FileWrite(values.data(), 4, 5000, stream);
    FileWrite(&one, 4, 1, stream);
    const Bytes bytes = stream.bytes();
    ASSERT_EQ(bytes.size(), 20008u);
    EXPECT_EQ(bytes[7], 3);
    EXPECT_EQ(bytes[20003], 3);
    EXPECT_EQ(bytes[20007], 1);
}

TEST(FeatureIo, NumbersAreReadInTheHostsOrder)
{
    const Stream stream({0, 0, 0, 1, 0xC0, 0, 0, 0, 1, 2, 'x', 'y'});
    std::int32_t number = 0;
    float real = 0;
    std::int16_t half = 0;
    char text[3] = "";
    EXPECT_EQ(FileRead(&number, 4, 1, stream), 1);
    EXPECT_EQ(FileRead(&real, 4, 1, stream), 1);
    EXPECT_EQ(FileRead(&half, 2, 1, stream), 1);
    EXPECT_EQ(FileRead(text, 1, 2, stream), 2);
    EXPECT_EQ(number, 1);
    EXPECT_EQ(real, -2.0f);
    EXPECT_EQ(half, 0x0102);
    EXPECT_STREQ(text, "xy");
}

TEST(FeatureIo, AShortReadReturnsHowManyElementsThereWere)
{
    const Stream stream({0, 0, 0, 1, 0, 0, 0, 2, 0, 0});
    std::int32_t numbers[3] = {-1, -1, 77};
    EXPECT_EQ(FileRead(numbers, 4, 3, stream), 2);
    EXPECT_EQ(numbers[0], 1);
    EXPECT_EQ(numbers[1], 2);
    EXPECT_EQ(FileRead(numbers, 4, 1, stream), 0);
    EXPECT_EQ(numbers[0], 1);
}

TEST(FeatureIo, TheOrderOfTheHostIsFoundOnce)
{
    OSInitialized = 0;
    HostOS = -1;
    const Stream stream;
    FileWrite("a", 1, 1, stream);
    EXPECT_EQ(OSInitialized, 0);
    const std::int32_t one = 1;
    FileWrite(&one, 4, 1, stream);
    EXPECT_EQ(OSInitialized, 1);
    EXPECT_EQ(HostOS, std::endian::native == std::endian::little ? 1 : 0);
    HostOS = -5;
    InitializeFileRead();
    EXPECT_EQ(HostOS, std::endian::native == std::endian::little ? 1 : 0);
}

// With the host's order set to big-endian, the bytes are left alone.
TEST(FeatureIo, AHostWithTheFilesOrderReversesNothing)
{
    InitializeFileRead();
    const int host = HostOS;
    HostOS = 0;
    const Stream stream;
    const char bytes[] = {1, 2, 3, 4};
    FileWrite(bytes, 4, 1, stream);
    EXPECT_EQ(stream.bytes(), (Bytes{1, 2, 3, 4}));
    std::rewind(stream);
    char read[4] = "";
    FileRead(read, 4, 1, stream);
    EXPECT_EQ(std::memcmp(read, bytes, 4), 0);
    HostOS = host;
}

TEST(FeatureIo, WritingNothingEndsTheProcess)
{
    for (const int size : {1, 4}) {
        const Stream stream;
        const std::int32_t none = 0;
        const Outcome outcome = runFeature([&] { FileWrite(&none, size, 0, stream); });
        EXPECT_TRUE(outcome.ended);
        EXPECT_EQ(outcome.status, -1);
        EXPECT_EQ(outcome.err, "FileWrite error:");
    }
}

TEST(FeatureIo, AWriteThatFailsEndsTheProcess)
{
    const zel_test::TempDir dir;
    zel_test::writeFile(dir.path("f"), std::string("x"));
    FILE* readOnly = std::fopen(dir.path("f").c_str(), "rb");
    const std::int32_t one = 1;
    const Outcome outcome = runFeature([&] { FileWrite(&one, 4, 1, readOnly); });
    std::fclose(readOnly);
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err, "FileWrite error:" + systemError(EBADF));
}

// ---- Strings ----

TEST(FeatureIo, AStringIsItsLengthWithTheTerminatorAndItsBytes)
{
    const Stream stream;
    WriteString(stream, "abc");
    WriteString(stream, "");
    WriteString(stream, nullptr);
    EXPECT_EQ(stream.bytes(), (Bytes{0, 0, 0, 4, 'a', 'b', 'c', 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}));
}

std::string readString(FILE* stream)
{
    char* read = ReadString(stream);
    const std::string text = read;
    std::free(read);
    return text;
}

TEST(FeatureIo, StringsAreReadBack)
{
    const Stream stream({0, 0, 0, 4, 'a', 'b', 'c', 0, 0, 0, 0, 1, 0});
    EXPECT_EQ(readString(stream), "abc");
    EXPECT_EQ(readString(stream), "");
    EXPECT_EQ(std::ftell(stream), 13);
}

TEST(FeatureIo, AStringThatLacksItsTerminatorGetsOne)
{
    const Stream stream({0, 0, 0, 2, 'x', 'y', 'z'});
    EXPECT_EQ(readString(stream), "xy");
}

// The length, what there is of the text, and what the message says.
TEST(FeatureIo, AStringLongerThanTheFileEndsTheProcess)
{
    const struct {
        Bytes bytes;
        const char* message;
    } rows[] = {
        {{0, 0, 0, 4}, "status = 0, Length = 4\n"},
        {{0, 0, 0, 4, 'a', 'b', 'c'}, "status = 0, Length = 4\n"},
        {{0x7F, 0xFF, 0xFF, 0xFF, 'a', 0}, "status = 0, Length = 2147483647\n"},
        {{0xFF, 0xFF, 0xFF, 0xFE, 'a', 0}, "status = 0, Length = -2\n"},
        {{0, 0, 0, 0, 'a'}, "status = 0, Length = 0\n"},
        {{0, 0, 0}, "status = 0, Length = 0\n"},
        {{}, "status = 0, Length = 0\n"},
    };
    for (const auto& row : rows) {
        const Stream stream(row.bytes);
        const Outcome outcome = runFeature([&] { std::free(ReadString(stream)); });
        EXPECT_TRUE(outcome.ended) << row.message;
        EXPECT_EQ(outcome.status, -1);
        EXPECT_EQ(outcome.err, std::string("ReadString error:") + row.message);
        EXPECT_EQ(outcome.out, "");
    }
}

// ---- Streams without places ----

// The reading end of a pipe that has these bytes and no writer.
class Pipe {
public:
    explicit Pipe(const Bytes& bytes)
    {
        int ends[2];
        if (pipe(ends) != 0) throw std::runtime_error("no pipe");
        EXPECT_EQ(write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        close(ends[1]);
        stream_ = fdopen(ends[0], "rb");
    }
    ~Pipe() { std::fclose(stream_); }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    operator FILE*() const { return stream_; }

private:
    FILE* stream_;
};

TEST(FeatureIo, StringsAreReadFromAPipe)
{
    const Pipe pipe({0, 0, 0, 4, 'a', 'b', 'c', 0, 0, 0, 0, 1, 0, 'x'});
    errno = 0;
    EXPECT_EQ(readString(pipe), "abc");
    EXPECT_EQ(readString(pipe), "");
    EXPECT_EQ(std::fgetc(pipe), 'x');  // and not more of it than they are
    EXPECT_EQ(errno, 0);
}

// The length cannot be held against what is to come, so that the bytes that came are counted.
TEST(FeatureIo, AStringLongerThanThePipeEndsTheProcess)
{
    const struct {
        Bytes bytes;
        const char* message;
    } rows[] = {
        {{0, 0, 0, 4}, "status = 0, Length = 4\n"},
        {{0, 0, 0, 4, 'a', 'b', 'c'}, "status = 3, Length = 4\n"},
        {{0x01, 0xFF, 0xFF, 0xFF, 'a', 0}, "status = 2, Length = 33554431\n"},
        {{0xFF, 0xFF, 0xFF, 0xFE, 'a', 0}, "status = 0, Length = -2\n"},
        {{0, 0, 0}, "status = 0, Length = 0\n"},
        {{}, "status = 0, Length = 0\n"},
    };
    for (const auto& row : rows) {
        const Pipe pipe(row.bytes);
        const Outcome outcome = runFeature([&] { std::free(ReadString(pipe)); });
        EXPECT_TRUE(outcome.ended) << row.message;
        EXPECT_EQ(outcome.status, -1);
        EXPECT_EQ(outcome.err, std::string("ReadString error:") + row.message);
    }
}

TEST(FeatureIo, ListsAreReadFromAPipe)
{
    FeatureBytes bytes;
    zel_test::appendList(bytes, {{"low", "Ch1 < 5", {}}, {{}, {}, "class=2"}});
    bytes.raw("rest");
    const Pipe pipe(bytes.bytes);
    CommandStruct list{};
    const Outcome outcome = runFeature([&] { ZELReadCommand(pipe, &list, nullptr); });
    EXPECT_FALSE(outcome.ended) << outcome.err;
    ASSERT_EQ(list.num, 2);
    EXPECT_STREQ(list.ListHead->Label, "low");
    EXPECT_STREQ(list.ListHead->next->Action->expression, "class=2");
    EXPECT_EQ(std::fgetc(pipe), 'r');
    freeCommandList(&list);
}

TEST(FeatureIo, AListThatEndsInAPipeIsRefusedWhereItEnds)
{
    FeatureBytes bytes;
    zel_test::appendList(bytes, {{"low", "Ch1 < 5", {}}});
    bytes.bytes[3] = 3;  // entries
    const Pipe pipe(bytes.bytes);
    CommandStruct list{};
    const Outcome outcome = runFeature([&] { ZELReadCommand(pipe, &list, nullptr); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err, "corrupt feature file: cut short in label at offset 36\n");
    freeCommandList(&list);
}

TEST(FeatureIo, AHeaderIsReadFromAPipe)
{
    const zel_test::BuiltHeader header = zel_test::build(zel_test::FeatureHeader{});
    ASSERT_LT(header.bytes.size(), 65536u);  // what a pipe holds
    const Pipe pipe(header.bytes);
    ZELParameterStruct parameters;
    int end = 0;
    const Outcome outcome = runFeature([&] { end = ZELFeatureReadHeader(pipe, &parameters); });
    EXPECT_FALSE(outcome.ended) << outcome.err;
    EXPECT_EQ(end, static_cast<int>(header.bytes.size()));
    EXPECT_EQ(parameters.RandomSeed, 82497);
    ZELFeatureFreeParameters(&parameters);
}

// The length of 4 bytes fits, the text does not.
TEST(FeatureIo, AStringThatCannotBeWrittenEndsTheProcess)
{
    char room[6];
    FILE* small = fmemopen(room, sizeof room, "w");
    std::setvbuf(small, nullptr, _IONBF, 0);
    const Outcome outcome = runFeature([&] { WriteString(small, "a long text"); });
    std::fclose(small);
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err.substr(0, 18), "WriteString error:");
}

// ---- Program texts ----

TEST(FeatureIo, AProgramTextIsItsLineCountAndItsLines)
{
    const zel_test::ProgramText text("class=1\n\nreturn\n");
    const Stream stream;
    ZELFeatureWriteProgramText(stream, text.first());
    EXPECT_EQ(stream.bytes(),
              FeatureBytes().number(3).string("class=1").string("").string("return").bytes);
    const Stream empty;
    ZELFeatureWriteProgramText(empty, nullptr);
    EXPECT_EQ(empty.bytes(), (Bytes{0, 0, 0, 0}));
}

TEST(FeatureIo, AProgramTextIsReadWithLinesNumberedFromOne)
{
    const Stream stream(
        FeatureBytes().number(2).string("class=1").string("return").number(0).bytes);
    ProgramLines* text = ZELFeatureReadProgramText(stream);
    ASSERT_NE(text, nullptr);
    EXPECT_STREQ(text->text, "class=1");
    EXPECT_EQ(text->lineNumber, 1);
    ASSERT_NE(text->next, nullptr);
    EXPECT_STREQ(text->next->text, "return");
    EXPECT_EQ(text->next->lineNumber, 2);
    EXPECT_EQ(text->next->next, nullptr);
    ZELFeatureFreeProgramText(text);
    EXPECT_EQ(ZELFeatureReadProgramText(stream), nullptr);
}

TEST(FeatureIo, AProgramTextWithMoreLinesThanTheFileCanHoldIsRefused)
{
    const struct {
        Bytes bytes;
        const char* message;
    } rows[] = {
        {FeatureBytes().number(2).string("a").bytes,
         "corrupt feature file: invalid number of program lines 2 at offset 0\n"},
        {FeatureBytes().number(-1).string("a").string("b").bytes,
         "corrupt feature file: invalid number of program lines -1 at offset 0\n"},
        {FeatureBytes().number(2).string("return").number(9).bytes,
         "ReadString error:status = 0, Length = 9\n"},
        {{0, 0, 0}, "corrupt feature file: cut short in program lines at offset 0\n"},
    };
    for (const auto& row : rows) {
        const Stream stream(row.bytes);
        const Outcome outcome = runFeature([&] { ZELFeatureReadProgramText(stream); });
        EXPECT_TRUE(outcome.ended);
        EXPECT_EQ(outcome.status, -1);
        EXPECT_EQ(outcome.err, row.message);
    }
}

}  // namespace
