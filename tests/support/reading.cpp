#include "support/reading.hpp"

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <stdexcept>

#include "zel_features/zel_features.h"

namespace zel_test {

namespace {

// What was said after the words, up to the end of the line; nothing where they were not said.
std::string textAfter(const std::string& messages, const std::string& words)
{
    const std::size_t found = messages.find(words);
    if (found == std::string::npos) return "";
    const std::size_t begin = found + words.size();
    return messages.substr(begin, messages.find('\n', begin) - begin);
}

// The offset that the words end in, or -1.
long offsetIn(const std::string& words)
{
    static const std::string before = " at offset ";
    const std::size_t found = words.rfind(before);
    return found == std::string::npos ? -1 : std::stol(words.substr(found + before.size()));
}

// The field that the bytes have wrong, and its place; refusals in the words of the operations name
// none. A mask whose texts were changed may fail to compile before anything else is found.
bool saysWhatIsWrong(const std::string& messages, const std::string& path,
                     const NaiveScene& expected, bool compiles)
{
    const std::string& why = expected.refusal;
    const auto isPlace = [&](long offset) {
        return offset >= expected.refusedFrom && offset < expected.refusedTo;
    };
    const std::string ofMask =
        textAfter(messages, "OpenReadOnlyFile: file " + path + ": cannot read classifier mask");
    if (!ofMask.empty()) {
        const long place = offsetIn(ofMask);
        if (why == "classifier mask" && isPlace(place)) return true;
        return !compiles &&
               std::count(expected.maskPlaces.begin(), expected.maskPlaces.end(), place) > 0;
    }
    if (why == "version")
        return messages.find("OpenReadOnlyFile: unsupported data type\n") != std::string::npos;
    if (why == "needs a newer library")
        return messages.find("ZELOpen: Error: ZEL Library version ") != std::string::npos;
    if (why == "resolutions") return !textAfter(messages, "of file " + path + " and ").empty();
    const std::string ofField =
        textAfter(messages, "OpenReadOnlyFile: corrupt file " + path + ": ");
    if (!isPlace(offsetIn(ofField))) return false;
    const bool cut = ofField.starts_with("cut short in ");
    if (why == "classifier mask") return cut || ofField.starts_with("invalid ");
    return why == "cut short" ? cut : ofField.starts_with("invalid " + why + " ");
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

// Records are large: memory that a finish returns to the system is mapped again by the next open.
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

int FileUnderTest::open()
{
    if (first_.empty()) return ZELOpenReadOnlyFile(record_.get(), path_.c_str());
    const char* names[] = {first_.c_str(), path_.c_str()};
    return ZELOpenCompositeReadOnlyFile(record_.get(), names, 2, 0);
}

Reading FileUnderTest::read(const std::function<void()>& action)
{
    Reading reading;
    const Outcome outcome = run([&] {
        reading.result = open();
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
               << (expected.refusal.empty() ? "the scene"
                                            : "a refusal: " + expected.refusal + " from " +
                                                  std::to_string(expected.refusedFrom))
               << ". " << withoutGridNotes(reading.messages);
    };
    const bool refused = reading.result != 0 || reading.ended;
    const bool compiles = expected.compiledTexts == whole.compiledTexts;
    if (refused && !saysWhatIsWrong(reading.messages, path, expected, compiles))
        return wrong("refused without its reason");
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
