// Headers are read a block at a time: the same fields, and the stream where it would be without
// that.
#include <gtest/gtest.h>

#include <stdio.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

#include "ground/memory.hpp"
#include "records/walk.hpp"
#include "support/outcome.hpp"

namespace {

using zel::ReadAhead;
using zel::RecordReader;
using zel_test::Bytes;
using zel_test::TempDir;
using zel_test::writeFile;

constexpr std::size_t blockSize = 64 * 1024;

// Byte i is i modulo 251, so that blocks differ.
Bytes countingBytes(std::size_t size)
{
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(i % 251);
    return bytes;
}

class Reading : public testing::Test {
protected:
    void open(std::size_t size)
    {
        bytes_ = countingBytes(size);
        writeFile(dir_.path("bytes"), bytes_);
        stream_.reset(std::fopen(dir_.path("bytes").c_str(), "rb"));
        reader_ =
            std::make_unique<RecordReader>(stream_.get(), 230, 0, static_cast<std::int64_t>(size));
        reader_->readAhead(ahead_);
    }
    // Reads that many bytes and holds them against the file's.
    void expectNext(std::size_t size)
    {
        const auto place = static_cast<std::size_t>(reader_->position());
        Bytes read(size);
        reader_->array("bytes", read.data(), static_cast<int>(size));
        EXPECT_EQ(std::memcmp(read.data(), bytes_.data() + place, size), 0) << place;
        EXPECT_EQ(reader_->position(), static_cast<std::int64_t>(place + size));
    }

    TempDir dir_;
    Bytes bytes_;
    std::unique_ptr<FILE, zel::CloseFile> stream_;
    ReadAhead ahead_;
    std::unique_ptr<RecordReader> reader_;
};

TEST_F(Reading, FieldsCrossTheEndsOfBlocks)
{
    open(3 * blockSize);
    expectNext(blockSize - 1);
    expectNext(4);
    expectNext(blockSize);
    expectNext(blockSize - 3);
}

TEST_F(Reading, AnArrayLargerThanABlockIsWholeAndWhatFollowsItToo)
{
    open(4 * blockSize);
    expectNext(10);
    expectNext(2 * blockSize + 7);
    expectNext(5);
}

TEST_F(Reading, GoesBackWithinABlockAndBeforeIt)
{
    open(4 * blockSize);
    expectNext(100);
    reader_->seek(40);
    expectNext(20);
    expectNext(2 * blockSize);
    reader_->seek(3);
    expectNext(9);
    reader_->seek(static_cast<std::int64_t>(blockSize) + 500);
    expectNext(9);
}

TEST_F(Reading, BeginsAtItsPlaceHoweverFarTheStreamIs)
{
    open(2 * blockSize);
    ASSERT_EQ(std::fseek(stream_.get(), 500, SEEK_SET), 0);
    reader_->seek(0);
    expectNext(8);
}

TEST_F(Reading, ASettledStreamIsAtTheReadersPlace)
{
    open(2 * blockSize);
    expectNext(77);
    reader_->settle();
    EXPECT_EQ(std::ftell(stream_.get()), 77);
    EXPECT_EQ(std::fgetc(stream_.get()), 77);
}

TEST_F(Reading, AnotherReaderOfTheStreamBeginsAtTheReadersPlace)
{
    open(2 * blockSize);
    expectNext(60);
    EXPECT_EQ(std::ftell(reader_->stream()), 60);
    ASSERT_EQ(std::fseek(stream_.get(), 200, SEEK_SET), 0);
    reader_->moveTo(200);
    expectNext(10);
}

// What follows a line is another reader's.
TEST_F(Reading, TheStreamGoesNoFurtherThanTheLimit)
{
    ahead_ = ReadAhead(100);
    open(2 * blockSize);
    expectNext(60);
    expectNext(40);
    EXPECT_EQ(std::ftell(stream_.get()), 100);
    ahead_.drop(20);
    expectNext(20);
    EXPECT_EQ(std::ftell(stream_.get()), 120);
}

TEST_F(Reading, NothingIsReadBeyondTheLimit)
{
    ahead_ = ReadAhead(blockSize + 100);
    open(2 * blockSize);
    Bytes read(2 * blockSize);
    EXPECT_EQ(ahead_.take(stream_.get(), read.data(), blockSize + 101), blockSize + 100);
    EXPECT_EQ(std::ftell(stream_.get()), static_cast<long>(blockSize) + 100);
}

// Bytes 251 apart are equal.
TEST_F(Reading, BytesAreTakenAgainWhereBothTheyAndThoseBeforeAreHere)
{
    open(blockSize + 600);
    EXPECT_FALSE(ahead_.takeRepeated(251));
    Bytes read(251);
    ahead_.take(stream_.get(), read.data(), 251);
    EXPECT_FALSE(ahead_.takeRepeated(250));
    EXPECT_FALSE(ahead_.takeRepeated(252));
    EXPECT_TRUE(ahead_.takeRepeated(251));
    EXPECT_EQ(ahead_.lead(), blockSize - 502);
    for (std::size_t left = blockSize - 502; left >= 251; left -= 251)
        EXPECT_TRUE(ahead_.takeRepeated(251)) << left;
    EXPECT_EQ(ahead_.lead(), blockSize % 251);
    EXPECT_FALSE(ahead_.takeRepeated(251));
}

// Zeros before the block, and those of the block before, are no bytes that were read.
TEST_F(Reading, BytesThatWereNotReadAreNotTakenAgain)
{
    writeFile(dir_.path("zeros"), Bytes(blockSize + 100));
    stream_.reset(std::fopen(dir_.path("zeros").c_str(), "rb"));
    const auto kept = std::make_unique<std::pair<std::array<char, 64>, ReadAhead>>();
    ReadAhead& ahead = kept->second;
    Bytes read(blockSize);
    ahead.take(stream_.get(), read.data(), 60);
    EXPECT_FALSE(ahead.takeRepeated(61));
    EXPECT_TRUE(ahead.takeRepeated(60));
    ahead.take(stream_.get(), read.data(), blockSize - 120);
    ahead.take(stream_.get(), read.data(), 60);
    EXPECT_EQ(ahead.lead(), 40U);
    EXPECT_FALSE(ahead.takeRepeated(41));
    EXPECT_TRUE(ahead.takeRepeated(40));
}

TEST_F(Reading, AFileThatIsCutShortIsReportedAtTheField)
{
    open(10);
    expectNext(8);
    std::int32_t number = -5;
    try {
        reader_->field("number", number);
        FAIL();
    } catch (const zel::Damage& damage) {
        EXPECT_STREQ(damage.what, "cut short in number");
        EXPECT_EQ(damage.offset, 8);
    }
    EXPECT_EQ(number, -5);
}

// A length is the sum of fields and stands in none.
TEST_F(Reading, WhatIsNoFieldIsRefusedAtTheFieldReadLast)
{
    open(300);
    for (int field = 0; field < 20; ++field) expectNext(10);
    try {
        reader_->require(false, "header length", 5);
        FAIL();
    } catch (const zel::Damage& damage) {
        EXPECT_STREQ(damage.what, "invalid header length 5");
        EXPECT_EQ(damage.offset, 190);
    }
}

#ifdef __GLIBC__
// A stream of which the first bytes can be read, and no more.
struct Cut {
    std::size_t place = 0;
};

FILE* readableTo100()
{
    static Cut cut;
    cut = Cut();
    cookie_io_functions_t functions{};
    functions.read = [](void* cookie, char* buffer, size_t size) -> ssize_t {
        auto& place = static_cast<Cut*>(cookie)->place;
        if (place >= 100) {
            errno = EIO;
            return -1;
        }
        const std::size_t got = std::min(size, 100 - place);
        std::memset(buffer, 7, got);
        place += got;
        return static_cast<ssize_t>(got);
    };
    functions.seek = [](void* cookie, off64_t* offset, int whence) {
        auto& place = static_cast<Cut*>(cookie)->place;
        if (whence == SEEK_CUR) *offset += static_cast<off64_t>(place);
        place = static_cast<std::size_t>(*offset);
        return 0;
    };
    return fopencookie(&cut, "r", functions);
}

// The bytes after a header may be unreadable: whoever reads them finds out.
TEST(ReadAheadFailure, CountsOnlyForBytesThatAreAskedFor)
{
    const std::unique_ptr<FILE, zel::CloseFile> stream(readableTo100());
    ASSERT_TRUE(stream);
    ReadAhead ahead;
    RecordReader reader(stream.get(), 230, 0, 1000);
    reader.readAhead(ahead);
    unsigned char bytes[60];
    reader.array("bytes", bytes, 60);
    EXPECT_EQ(bytes[59], 7);
    ASSERT_TRUE(std::ferror(stream.get()));
    reader.settle();
    EXPECT_FALSE(std::ferror(stream.get()));
    EXPECT_EQ(std::ftell(stream.get()), 60);
    EXPECT_THROW(reader.array("bytes", bytes, 60), zel::Damage);
}
#endif

}  // namespace
