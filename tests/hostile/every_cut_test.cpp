// Files cut at every byte, in every layout and both byte orders, before and while they are read.
#include <gtest/gtest.h>

#include <iostream>
#include <map>
#include <set>
#include <string>

#include "support/base_files.hpp"
#include "support/field_map.hpp"
#include "support/reading.hpp"

namespace {

using zel_test::BaseFile;
using zel_test::Bytes;
using zel_test::FileUnderTest;
using zel_test::Layout;
using zel_test::layouts;
using zel_test::NaiveScene;
using zel_test::Reading;
using zel_test::readNaively;

// Returns how many of the lengths still open.
int openAtEveryLength(Bytes bytes)
{
    const NaiveScene whole = readNaively(bytes);
    EXPECT_EQ(whole.refusal, "");
    FileUnderTest file(bytes);
    int cases = 0;
    int opened = 0;
    while (!bytes.empty()) {
        bytes.pop_back();
        file.cut(bytes.size());
        const Reading reading = file.read();
        ++cases;
        opened += reading.result == 0 && !reading.ended ? 1 : 0;
        const auto right = isRight(reading, readNaively(bytes), whole, file.path());
        EXPECT_TRUE(right) << "cut at byte " << bytes.size();
        if (!right) break;
    }
    std::cout << "[  cases   ] " << cases << " lengths, at " << opened
              << " of them the file still opens\n";
    return opened;
}

class EveryCut : public testing::TestWithParam<Layout> {};

INSTANTIATE_TEST_SUITE_P(Layouts, EveryCut, testing::ValuesIn(layouts()), zel_test::nameOf);

// The field where a message says that this one, or the array or block that it is of, begins. The
// entries of a LUT are a block.
std::size_t reportedField(const std::vector<zel_test::MappedField>& fields, std::size_t n)
{
    const auto isInside = [&](const std::string& name) {
        static const std::set<std::string> entry = {"R", "G", "B", "LUTEntryLabel"};
        if (entry.contains(name)) return fields[n - 1].name != "DisplayLUTLabel";
        return name.find('[') != std::string::npos && !name.ends_with("[0]");
    };
    while (isInside(fields[n].name)) --n;
    return n;
}

std::string reportedName(const std::string& field)
{
    static const std::map<std::string, std::string> blocks = {
        {"R", "display LUT entries"},
        {"value", "table values"},
        {"number of classifiers", "classifier mask"}};
    const std::string name = field.substr(0, field.find('['));
    const auto block = blocks.find(name);
    return block == blocks.end() ? name : block->second;
}

TEST_P(EveryCut, ReportsTheFieldThatIsMissing)
{
    const Layout layout = GetParam();
    const BaseFile base = zel_test::baseFile(layout.version, layout.bigEndian);
    const zel_test::FieldMap map =
        zel_test::mapFields(base.bytes, 0, base.bytes.size(), layout.bigEndian, base.padding);
    FileUnderTest file(base.bytes);
    // From the second field on: an empty file is of no kind.
    for (std::size_t n = 1; map.fields[n].offset < map.linesBegin; ++n) {
        file.write(0, base.bytes);
        file.cut(map.fields[n].offset);
        const zel_test::MappedField& reported = map.fields[reportedField(map.fields, n)];
        const std::string words = "cut short in " + reportedName(reported.name) + " at offset " +
                                  std::to_string(reported.offset) + "\n";
        const std::string said = file.read().messages;
        EXPECT_NE(said.find(words), std::string::npos)
            << map.fields[n].fullName() << ": " << words << "said: " << said;
    }
}

TEST_P(EveryCut, GivesAReasonOrTheWholeLinesBeforeIt)
{
    const Layout layout = GetParam();
    const BaseFile file = zel_test::baseFile(layout.version, layout.bigEndian);
    const auto lines = static_cast<int>(file.bytes.size()) -
                       static_cast<int>(readNaively(file.bytes).headerOffset);
    EXPECT_EQ(openAtEveryLength(file.bytes), lines + static_cast<int>(file.padding));
}

// Its directory says how long it was.
TEST(EveryCutOfAComposite, GivesAReason)
{
    EXPECT_EQ(openAtEveryLength(zel_test::baseComposite(0).bytes), 0);
}

TEST(EveryCutOfAMaskedFile, GivesAReasonOrTheWholeLinesBeforeIt)
{
    EXPECT_GT(openAtEveryLength(zel_test::maskedBaseFile(142, true).bytes), 0);
}

// ---- A file that shrinks while it is read ----

// Lines that were read are those of the whole file; the others end it with a word.
testing::AssertionResult endsWithAWord(const Reading& reading, const NaiveScene& whole,
                                       const std::string& path)
{
    const auto wrong = [&](const char* what) {
        return testing::AssertionFailure() << what << ": " << reading.messages;
    };
    const auto says = [&](const std::string& words) {
        return reading.messages.find(words) != std::string::npos;
    };
    if (reading.result != 0) return wrong("not opened");
    if (reading.values.size() > whole.values.size()) return wrong("too many lines");
    const std::vector<float> expected(
        whole.values.begin(), whole.values.begin() + static_cast<long>(reading.values.size()));
    if (!zel_test::sameValues(reading.values, expected)) return wrong("pixels");
    const bool shorter = !reading.ended && reading.readLines < whole.readableLines;
    if (reading.ended != says("ZELReadLine: read error on file " + path + ", line "))
        return wrong("no read error");
    if (shorter != says("ZELReadLine: warning: file " + path + " ends before line "))
        return wrong("no warning");
    return testing::AssertionSuccess();
}

// lineOffset: of the lines at the end of the file.
void expectAWordAtEveryLength(const Bytes& bytes, long headerOffset, long lineOffset)
{
    const NaiveScene whole = readNaively(bytes);
    ASSERT_EQ(whole.refusal, "");
    FileUnderTest file(bytes);
    // Densely around the ends of lines, and where a stream refills its buffer in between.
    const auto isWorthATry = [&](long size) {
        const long inLine = (size - headerOffset) % lineOffset;
        return inLine < 20 || lineOffset - inLine < 20 || size % 97 == 0;
    };
    int cases = 0;
    int ended = 0;
    int shorter = 0;
    for (auto size = static_cast<long>(bytes.size()); size >= headerOffset; --size) {
        if (!isWorthATry(size)) continue;
        file.write(0, bytes);
        const Reading reading = file.read([&] { file.cut(static_cast<std::size_t>(size)); });
        ASSERT_TRUE(endsWithAWord(reading, whole, file.path())) << "cut at byte " << size;
        ++cases;
        ended += reading.ended ? 1 : 0;
        shorter += !reading.ended && reading.readLines < whole.readableLines ? 1 : 0;
    }
    std::cout << "[  cases   ] " << cases << " lengths, " << ended << " read errors and " << shorter
              << " early ends\n";
    EXPECT_GT(ended, 0);
    EXPECT_GT(shorter, 0);
}

class EveryCutWhileOpen : public testing::TestWithParam<Layout> {};

INSTANTIATE_TEST_SUITE_P(Layouts, EveryCutWhileOpen, testing::ValuesIn(layouts()),
                         zel_test::nameOf);

TEST_P(EveryCutWhileOpen, EndsTheLinesWithAWord)
{
    const Layout layout = GetParam();
    const Bytes bytes = zel_test::wideBaseFile(layout.version, layout.bigEndian).bytes;
    const NaiveScene scene = readNaively(bytes);
    expectAWordAtEveryLength(bytes, scene.headerOffset, scene.lineOffset);
}

TEST(EveryCutOfAnOpenComposite, EndsTheLinesWithAWord)
{
    for (const int base : {0, 1}) {
        const zel_test::BaseComposite file = zel_test::wideBaseComposite(base);
        const NaiveScene second =
            readNaively({file.bytes.begin() + static_cast<long>(file.second), file.bytes.end()});
        ASSERT_EQ(second.refusal, "");
        expectAWordAtEveryLength(file.bytes, static_cast<long>(file.second) + second.headerOffset,
                                 second.lineOffset);
    }
}

}  // namespace
