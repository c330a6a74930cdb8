#include "support/reading.hpp"

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <stdexcept>

#include "zel_features/zel_features.h"

namespace zel_test {

namespace {

// Refusals in the words of the operations, which name no file.
const char* const wordsOfTheirOwn[] = {
    "OpenReadOnlyFile: unsupported data type\n",
    "ZELOpen: Error: ZEL Library version ",
};

bool saysWhatIsWrong(const std::string& messages, const std::string& path)
{
    for (const char* begin : {"OpenReadOnlyFile: corrupt file ", "OpenReadOnlyFile: file "}) {
        const std::size_t found = messages.find(begin + path + ": ");
        if (found != std::string::npos)
            return messages.find(" at offset ", found) != std::string::npos;
    }
    if (messages.find("of file " + path + " and ") != std::string::npos) return true;
    for (const char* words : wordsOfTheirOwn)
        if (messages.find(words) != std::string::npos) return true;
    return false;
}

bool sameValue(float a, float b)
{
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b) ||
           (std::isnan(a) && std::isnan(b));
}

void readLines(ZELType& file, Reading& reading)
{
    reading.pixels = file.ZELHeader.NPixelPerLine;
    reading.lines = file.NumLines;
    for (; ZELReadLine(&file) != 0; ++reading.readLines)
        for (int i = 0; i < file.ZELHeader.MaxNumChan; ++i)
            if (file.Channels[i].ChannelPresentFlag)
                reading.values.insert(reading.values.end(), file.Channels[i].ChannelData,
                                      file.Channels[i].ChannelData + reading.pixels);
}

void printReports(ZELType& file)
{
    static FILE* const nowhere = std::fopen("/dev/null", "w");
    ZELPrintHeaderInfo(&file, nowhere);
    ZELPrintMetadata(&file);
    ZELPrintLUTs(&file);
    ZELPrintTables(&file.ZELHeader.TableList);
    ZELPrintHistograms(&file);
    for (int i = 0; i < file.ZELHeader.MaxNumChan; ++i) ZELPrintTables(&file.Channels[i].TableList);
}

// Records are large: what goes back to the system at a finish has to be had anew at the next open.
void keepMemory()
{
#ifdef __GLIBC__
    mallopt(M_MMAP_THRESHOLD, 1 << 28);
    mallopt(M_TRIM_THRESHOLD, 1 << 29);
#endif
}

void fetchAngles(ZELType& file)
{
    float *lat = nullptr, *lon = nullptr, *sz = nullptr, *vz = nullptr, *az = nullptr;
    ZELFetchNavigation(&file, &lat, &lon);
    ZELFetchSolar(&file, &sz, &vz, &az);
    ZELAncillaryFetchSunglint(&file);
}

}  // namespace

FileUnderTest::FileUnderTest(const Bytes& content)
{
    keepMemory();
    writeFile(path_, content);
    descriptor_ = ::open(path_.c_str(), O_WRONLY);
    if (descriptor_ < 0) throw std::runtime_error("cannot open " + path_);
}

FileUnderTest::~FileUnderTest()
{
    ::close(descriptor_);
    CheckByteOrder();
}

void FileUnderTest::write(std::size_t offset, const Bytes& bytes)
{
    const ssize_t written =
        ::pwrite(descriptor_, bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (written != static_cast<ssize_t>(bytes.size()))
        throw std::runtime_error("cannot write " + path_);
}

void FileUnderTest::cut(std::size_t size)
{
    if (::ftruncate(descriptor_, static_cast<off_t>(size)) != 0)
        throw std::runtime_error("cannot cut " + path_);
}

Reading FileUnderTest::read(const std::function<void()>& action)
{
    Reading reading;
    const Outcome outcome = run([&] {
        reading.result = ZELOpenReadOnlyFile(record_.get(), path_.c_str());
        action();
        if (reading.result == 0) readLines(*record_, reading);
    });
    reading.ended = outcome.ended;
    reading.messages = outcome.out + outcome.err;
    if (reading.result == 0 && !reading.ended) {
        for (const auto& look : {printReports, fetchAngles}) {
            const Outcome looked = run([&] { look(*record_); });
            if (looked.ended) reading.reportEnding += looked.out + looked.err + "(ended)";
        }
    }
    if (reading.result != -1) run([&] { ZELFinishReadingFile(record_.get()); });
    return reading;
}

bool sameValues(const std::vector<float>& a, const std::vector<float>& b)
{
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (!sameValue(a[i], b[i])) return false;
    return true;
}

testing::AssertionResult isRight(const Reading& reading, const NaiveScene& expected,
                                 const NaiveScene& whole, const std::string& path)
{
    const auto wrong = [&](const std::string& what) {
        return testing::AssertionFailure()
               << what << "; the open returned " << reading.result
               << (reading.ended ? " and ended" : "") << ", expected was "
               << (expected.refusal.empty() ? "the scene" : "a refusal: " + expected.refusal)
               << ". " << withoutGridNotes(reading.messages);
    };
    const bool refused = reading.result != 0 || reading.ended;
    if (refused && !saysWhatIsWrong(reading.messages, path)) return wrong("refused without reason");
    const bool compiles = expected.compiledTexts == whole.compiledTexts;
    if (refused && (!expected.refusal.empty() || !compiles)) return testing::AssertionSuccess();
    if (refused) return wrong("refused");
    if (!expected.refusal.empty()) return wrong("not refused");
    if (reading.pixels != expected.pixels) return wrong("pixels per line");
    if (reading.lines != expected.lines) return wrong("number of lines");
    if (reading.readLines != expected.readableLines) return wrong("lines that can be read");
    if (!sameValues(reading.values, expected.values)) return wrong("pixels");
    // A line whose points lie outside of it, as those below 1.11 may, has no positions.
    const bool noPositions =
        reading.reportEnding.find("ZELInterpolateLatLong: invalid navigation points: ") == 0;
    if (!reading.reportEnding.empty() && !noPositions) return wrong(reading.reportEnding);
    return testing::AssertionSuccess();
}

}  // namespace zel_test
