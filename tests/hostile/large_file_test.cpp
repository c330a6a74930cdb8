// Files that are longer than 32 bits count: lines are found at their ends, and no number wraps.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <limits>

#include "support/feature_file.hpp"
#include "support/file_builder.hpp"
#include "support/outcome.hpp"

namespace {

using zel_test::BuiltFile;
using zel_test::Bytes;
using zel_test::run;
using zel_test::Scene;

constexpr std::int64_t gibibyte = std::int64_t{1} << 30;

// A file whose lines are holes but for those that are put in.
class SparseFile {
public:
    explicit SparseFile(const std::string& path)
        : path_(path), descriptor_(::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600))
    {
    }
    ~SparseFile() { ::close(descriptor_); }
    SparseFile(const SparseFile&) = delete;
    SparseFile& operator=(const SparseFile&) = delete;

    const char* path() const { return path_.c_str(); }
    // False where the file system cannot have such a file.
    bool grow(std::int64_t size)
    {
        struct stat now {};
        return ::ftruncate(descriptor_, size) == 0 && ::fstat(descriptor_, &now) == 0 &&
               now.st_size == size && now.st_blocks < 16384;
    }
    void put(std::int64_t offset, const Bytes& bytes)
    {
        ASSERT_EQ(::pwrite(descriptor_, bytes.data(), bytes.size(), offset),
                  static_cast<ssize_t>(bytes.size()));
    }

private:
    std::string path_;
    int descriptor_;
};

// A layout of many lines, of which a few hold numbers of their own.
class LongScene {
public:
    LongScene(int version, int pixels, int lines) : lines_(lines)
    {
        scene_ = zel_test::smallScene(version);
        scene_.pixels = pixels;
        scene_.navPoints = 0;
        scene_.slots = {zel_test::channel(3, "bytes")};
        scene_.lines.resize(1);
        const BuiltFile built = build(scene_);
        headerEnd_ = static_cast<std::int64_t>(built.headerEnd);
        lineSize_ = static_cast<std::int64_t>(built.lineSize);
    }

    Scene& scene() { return scene_; }
    std::int64_t headerEnd() const { return headerEnd_; }
    std::int64_t size() const { return placeOf(lines_); }
    std::int64_t placeOf(std::int64_t line) const { return headerEnd_ + line * lineSize_; }
    // The line that holds that byte of the file.
    int lineAt(std::int64_t offset) const
    {
        return static_cast<int>((offset - headerEnd_) / lineSize_);
    }

    static unsigned char numberOf(std::int64_t line)
    {
        return static_cast<unsigned char>(line * 31 + 7);
    }

    Bytes header() const
    {
        const Bytes bytes = build(scene_).bytes;
        return {bytes.begin(), bytes.begin() + headerEnd_};
    }
    Bytes line(std::int64_t n) const
    {
        Scene scene = scene_;
        scene.lines[0].scanTime = static_cast<double>(n) + 0.5;
        scene.lines[0].pixels[0] = Bytes(static_cast<std::size_t>(scene.pixels), numberOf(n));
        const Bytes bytes = build(scene).bytes;
        return {bytes.begin() + headerEnd_, bytes.end()};
    }

    // Writes it from start on, with these lines; false where the file system cannot.
    bool write(SparseFile& file, const std::vector<int>& lines, std::int64_t start = 0) const
    {
        if (!file.grow(start + size())) return false;
        file.put(start, header());
        for (const int n : lines) file.put(start + placeOf(n), line(n));
        return true;
    }

private:
    Scene scene_;
    std::int64_t lines_;
    std::int64_t headerEnd_ = 0, lineSize_ = 0;
};

class LargeFile : public testing::Test {
protected:
    void TearDown() override
    {
        if (opened) run([&] { ZELFinishReadingFile(record.get()); });
    }

    void open()
    {
        outcome = run([&] { result = ZELOpenReadOnlyFile(record.get(), file.path()); });
        opened = result == 0;
    }

    void expectLine(int n, int channel = 0)
    {
        ASSERT_EQ(ZELReadLine(record.get()), record->ZELHeader.NPixelPerLine) << n;
        EXPECT_EQ(record->CurrentLine, n + 1);
        EXPECT_EQ(record->ScanTime, n + 0.5);
        for (const int x : {0, record->ZELHeader.NPixelPerLine - 1})
            EXPECT_EQ(record->Channels[channel].ChannelData[x],
                      static_cast<float>(LongScene::numberOf(n)))
                << n;
    }

    void expectEnd()
    {
        const int lines = record->NumLines;
        EXPECT_EQ(ZELReadLine(record.get()), 0);
        EXPECT_EQ(record->CurrentLine, lines);
        EXPECT_EQ(ZELSkipLines(record.get(), std::numeric_limits<int>::max()), -1);
        EXPECT_EQ(record->CurrentLine, lines);
    }

    zel_test::TempDir dir;
    SparseFile file{dir.path("large.zel")};
    std::unique_ptr<ZELType> record = zel_test::junkRecord();
    zel_test::Outcome outcome;
    int result = -9;
    bool opened = false;
};

#define SKIP_WITHOUT_SPARSE_FILES(written) \
    if (!(written)) GTEST_SKIP() << "no sparse files of this size in " << dir.path()

// Lines at the ends of the file and across the places where 31 and 32 bits are at their end.
std::vector<int> linesToTry(const LongScene& scene, int lines)
{
    const int at2 = scene.lineAt(2 * gibibyte);
    const int at4 = scene.lineAt(4 * gibibyte);
    return {0, at2, at2 + 1, at4 - 1, at4, at4 + 1, lines - 2, lines - 1};
}

struct Extent {
    int pixels, lines;
};
class LargeFileOf : public LargeFile, public testing::WithParamInterface<Extent> {};
INSTANTIATE_TEST_SUITE_P(Wide, LargeFileOf, testing::Values(Extent{32767, 140000}));
INSTANTIATE_TEST_SUITE_P(Narrow, LargeFileOf, testing::Values(Extent{1, 140000000}));

TEST_P(LargeFileOf, LinesBeyond4GiBAreRead)
{
    const auto [pixels, lines] = GetParam();
    const LongScene scene(230, pixels, lines);
    ASSERT_GT(scene.size(), 4 * gibibyte);
    const std::vector<int> tried = linesToTry(scene, lines);
    SKIP_WITHOUT_SPARSE_FILES(scene.write(file, tried));
    open();
    ASSERT_EQ(result, 0) << outcome.out;
    EXPECT_EQ(record->NumLines, lines);
    for (const int n : tried) {
        ASSERT_EQ(ZELSetCurrentLine(record.get(), n), n);
        expectLine(n);
    }
    expectEnd();
}

TEST_F(LargeFile, LinesAreReadOneAfterTheOtherAcross4GiB)
{
    constexpr int lines = 140000;
    const LongScene scene(230, 32767, lines);
    const int at4 = scene.lineAt(4 * gibibyte);
    std::vector<int> tried;
    for (int n = at4 - 3; n < at4 + 4; ++n) tried.push_back(n);
    SKIP_WITHOUT_SPARSE_FILES(scene.write(file, tried));
    open();
    ASSERT_EQ(result, 0) << outcome.out;
    ASSERT_EQ(ZELSkipLines(record.get(), at4 - 3), at4 - 3);
    for (const int n : tried) expectLine(n);
}

TEST_F(LargeFile, APartialLineAfter4GiBIsNotCounted)
{
    constexpr int lines = 140000;
    const LongScene scene(230, 32767, lines);
    SKIP_WITHOUT_SPARSE_FILES(scene.write(file, {lines - 2}) && file.grow(scene.size() - 1));
    open();
    ASSERT_EQ(result, 0) << outcome.out;
    EXPECT_EQ(record->NumLines, lines - 1);
    ASSERT_EQ(ZELSetCurrentLine(record.get(), lines - 2), lines - 2);
    expectLine(lines - 2);
    expectEnd();
}

// Lines of nine bytes, the shortest that there are.
TEST_F(LargeFile, AsManyLinesAsAnIntCountsAreReadAndOneMoreIsRefused)
{
    constexpr int lines = std::numeric_limits<int>::max();
    const LongScene scene(111, 1, lines);
    SKIP_WITHOUT_SPARSE_FILES(scene.write(file, {lines - 2, lines - 1}));
    open();
    ASSERT_EQ(result, 0) << outcome.out;
    EXPECT_EQ(record->NumLines, lines);
    ASSERT_EQ(ZELSetCurrentLine(record.get(), lines - 2), lines - 2);
    expectLine(lines - 2);
    expectLine(lines - 1);
    expectEnd();
    ZELFinishReadingFile(record.get());
    SKIP_WITHOUT_SPARSE_FILES(file.grow(scene.size() + 9));
    open();
    EXPECT_EQ(result, -2);
    EXPECT_NE(outcome.out.find("corrupt file " + dir.path("large.zel") +
                               ": invalid number of lines 2.14748365e+09"),
              std::string::npos)
        << outcome.out;
}

// ---- Composites ----

void put32(Bytes& bytes, std::size_t place, std::int64_t value)
{
    for (int i = 0; i < 4; ++i)
        bytes[place + static_cast<std::size_t>(i)] = static_cast<unsigned char>(value >> 8 * i);
}

// The first component nearly fills what a directory can say.
TEST_F(LargeFile, TheEndsOfTheComponentsOfTheLargestContainerAreRead)
{
    constexpr int lines = 1000;
    const LongScene second(230, 100, lines);
    const int firstLines = static_cast<int>(
        (std::numeric_limits<std::int32_t>::max() - second.size() - second.headerEnd()) /
        (32 + 32767));
    LongScene first(230, 32767, firstLines);
    const std::int64_t start = std::numeric_limits<std::int32_t>::max() - second.size();
    ASSERT_GE(start, first.size());
    SKIP_WITHOUT_SPARSE_FILES(first.write(file, {lines - 1}) &&
                              second.write(file, {0, lines - 2, lines - 1}, start));
    Bytes directory = first.header();
    directory.resize(1221);
    put32(directory, 13, 1);
    put32(directory, 17, 2);
    put32(directory, 25, start);
    put32(directory, 821, first.size());
    put32(directory, 825, second.size());
    file.put(0, directory);
    open();
    ASSERT_EQ(result, 0) << outcome.out;
    EXPECT_EQ(record->NumLines, lines);
    EXPECT_EQ(record->ZELComponent[0].NumLines, firstLines);
    for (const int n : {lines - 2, lines - 1, 0}) {
        ASSERT_EQ(ZELSetCurrentLine(record.get(), n), n);
        expectLine(n, 1);
    }
    ASSERT_EQ(ZELSetCurrentLine(record.get(), lines - 1), lines - 1);
    expectLine(lines - 1, 0);
    expectEnd();
}

TEST_F(LargeFile, ALastComponentBeyondWhatADirectoryCanSayIsRefused)
{
    const LongScene first(230, 100, 10);
    SKIP_WITHOUT_SPARSE_FILES(first.write(file, {0}) && file.grow(5 * gibibyte));
    Bytes directory = first.header();
    directory.resize(1221);
    put32(directory, 17, 2);
    put32(directory, 821, first.size());
    put32(directory, 25, 3 * gibibyte);
    put32(directory, 825, first.size());
    file.put(0, directory);
    open();
    EXPECT_EQ(result, -2);
    EXPECT_NE(outcome.out.find("invalid component offset -1073741824 at offset 25"),
              std::string::npos)
        << outcome.out;
}

TEST_F(LargeFile, AViewOfFilesOfMoreThan4GiBIsReadAtItsEnd)
{
    constexpr int lines = 140000;
    const LongScene scene(230, 32767, lines);
    SKIP_WITHOUT_SPARSE_FILES(scene.write(file, {0, lines - 1}));
    const std::string copy = dir.path("second.zel");
    SparseFile second(copy);
    SKIP_WITHOUT_SPARSE_FILES(scene.write(second, {0, lines - 1}));
    const char* names[] = {file.path(), second.path()};
    outcome = run([&] { result = ZELOpenCompositeReadOnlyFile(record.get(), names, 2, 0); });
    opened = true;
    ASSERT_EQ(result, 0) << outcome.out;
    EXPECT_EQ(record->NumLines, lines);
    for (const int channel : {0, 1}) {
        ASSERT_EQ(ZELSetCurrentLine(record.get(), lines - 1), lines - 1);
        expectLine(lines - 1, channel);
    }
    expectEnd();
}

// A fine file that ends long before the base does. Line 131072 of the view begins at its line 2 to
// the 31st and line 262144 at its line 2 to the 32nd: in 32 bits that would be a place in front of
// it, and its first line.
TEST_F(LargeFile, ALineOfAViewBeyondAllLinesOfAFineFileIsItsEnd)
{
    constexpr int factor = 16384;
    LongScene base(111, 1, 262145);
    base.scene().resolution = factor;
    LongScene fine(111, 1, factor);
    fine.scene().resolution = 1;
    SKIP_WITHOUT_SPARSE_FILES(base.write(file, {0, 131072, 262144}));
    SparseFile second(dir.path("fine.zel"));
    SKIP_WITHOUT_SPARSE_FILES(fine.write(second, {}));
    const char* names[] = {file.path(), second.path()};
    outcome = run([&] { result = ZELOpenCompositeReadOnlyFile(record.get(), names, 2, 0); });
    opened = result == 0;
    ASSERT_EQ(result, 0) << outcome.out;
    ASSERT_EQ(record->ZELComponent[1].samplingFactor, factor);
    expectLine(0);
    for (const int line : {131072, 262144}) {
        ASSERT_EQ(ZELSetCurrentLine(record.get(), line), line);
        int pixels = -9;
        outcome = run([&] { pixels = ZELReadLine(record.get()); });
        EXPECT_EQ(pixels, 0) << line << ": " << outcome.out;
    }
}

// ---- Headers ----

// A value of a table counts 204 bytes of a header, and its record as many again. 322 tables bring
// that to 127 below what 31 bits count: what comes before them is more. One value more is too much
// by itself.
TEST_F(LargeFile, AHeaderThatCountsMoreThan31BitsIsRefused)
{
    constexpr int tables = 322, most = 32767, last = 8351;
    zel_test::Scene scene = zel_test::smallScene();
    scene.tables.resize(tables);
    const BuiltFile built = build(scene);
    const auto start = static_cast<std::int64_t>(built.offset("table[0].NumTableValues"));
    const std::string begin = "corrupt file " + dir.path("large.zel") + ": invalid ";
    for (const auto& [values, reported] :
         {std::pair(last, "header length 2.14748678e+09"),
          std::pair(last + 1, "length of the table block 2.14748372e+09")}) {
        const std::int64_t place = start + (tables - 1) * std::int64_t{204 + 4 * most};
        SKIP_WITHOUT_SPARSE_FILES(file.grow(place + 204 + 4 * values + 100000));
        file.put(0, {built.bytes.begin(), built.bytes.begin() + start});
        for (int i = 0; i < tables - 1; ++i)
            file.put(start + i * std::int64_t{204 + 4 * most}, zel_test::rawWords({most}));
        file.put(place, zel_test::rawWords({values}));
        std::string said;
        ZELSetMessageSink(
            [](void* data, FILE*, const char* text) {
                std::string& all = *static_cast<std::string*>(data);
                all = text;
            },
            &said);
        EXPECT_EQ(ZELOpenReadOnlyFile(record.get(), file.path()), -2);
        ZELSetMessageSink(nullptr, nullptr);
        EXPECT_NE(said.find(begin + reported), std::string::npos) << said;
    }
}

// ---- Samples ----

// Samples of eleven fields and one feature, on both sides of 2 and of 4 GiB, each found by its
// place and after the one before it.
TEST_F(LargeFile, SamplesBeyond4GiBAreRead)
{
    constexpr std::int64_t length = 48;
    constexpr int samples = 90'000'000;
    const Bytes start = zel_test::sampleFile(1, 0);
    const auto header = static_cast<std::int64_t>(start.size());
    ASSERT_GT(length * samples, 4 * gibibyte);
    SKIP_WITHOUT_SPARSE_FILES(file.grow(header + length * samples));
    file.put(0, start);
    const auto lastBefore = [&](std::int64_t place) {
        return static_cast<int>((place - header) / length) - 1;
    };
    const int tried[] = {samples - 2, lastBefore(2 * gibibyte), lastBefore(4 * gibibyte)};
    const auto put = [&](int sample, int number) {
        zel_test::FeatureBytes bytes;
        zel_test::appendSample(bytes, number, 1);
        file.put(header + length * sample, bytes.bytes);
    };
    for (const int first : tried) {
        put(first, first % 1000);
        put(first + 1, first % 1000 + 1);
    }
    zel_test::FeatureFile features;
    outcome = features.open(file.path());
    ASSERT_FALSE(outcome.ended) << outcome.err;
    EXPECT_EQ(features->NumberOfSamples, samples);
    for (const int first : tried) {
        ZELFeatureSeekSample(features.get(), first);
        for (const int number : {first % 1000, first % 1000 + 1}) {
            ASSERT_EQ(ZELFeatureReadSampleFromFile(features.get()), 1) << first;
            EXPECT_EQ(features->Pixel.Class, static_cast<float>(number));
            EXPECT_EQ(features->Features[0], static_cast<float>(number * 10));
        }
    }
}

}  // namespace
