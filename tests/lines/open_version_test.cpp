// Which versions and byte orders an open accepts.
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "support/file_builder.hpp"
#include "support/outcome.hpp"
#include "zel/ground/text_number.hpp"

namespace {

using zel_test::build;
using zel_test::BuiltFile;
using zel_test::Bytes;
using zel_test::OpenedFile;
using zel_test::Outcome;
using zel_test::run;
using zel_test::Scene;
using zel_test::smallScene;
using zel_test::TempDir;
using zel_test::writeFile;

const char* const tryingAnotherOrder = "OpenReadOnlyFile: Trying another byte ordering...\n";
const char* const unsupported = "OpenReadOnlyFile: Trying another byte ordering...\n"
                                "OpenReadOnlyFile: unsupported data type\n";

Bytes withVersionNumber(float version)
{
    BuiltFile built = build(smallScene());
    built.putFloat("VersionNumber", version);
    return built.bytes;
}

TEST(OpenVersion, PrefixOfANewerLibraryEndsTheProcess)
{
    for (const char* version : {"2.4", "2.31", "10.0", "3"}) {
        Scene scene = smallScene();
        scene.prefix.version = version;
        OpenedFile file(build(scene).bytes);
        EXPECT_TRUE(file.outcome.ended) << version;
        EXPECT_EQ(file.outcome.status, -1) << version;
        EXPECT_EQ(file.outcome.out, std::string("ZELOpen: Error: ZEL Library version ") + version +
                                        " or higher needed to open file\n");
    }
}

TEST(OpenVersion, PrefixOfThisOrAnOlderLibraryOpens)
{
    for (const char* version : {"2.3", "2.30", "2.29", "1.51", "2", "0", "none"}) {
        Scene scene = smallScene();
        scene.prefix.version = version;
        EXPECT_EQ(OpenedFile(build(scene).bytes).result, 0) << version;
    }
}

TEST(OpenVersion, BytesAfterTheVersionTextAreNotSignificant)
{
    Scene scene = smallScene();
    scene.prefix.version = std::string("2.3\0xyz9.9", 10);
    OpenedFile file(build(scene).bytes);
    EXPECT_EQ(file.result, 0);
    EXPECT_EQ(file.outcome.out, "");
}

TEST(OpenVersion, AVersionTextThatFillsItsFieldIsNotOverrun)
{
    Scene scene = smallScene();
    scene.prefix.version = "9.23456789";
    scene.prefix.base = 0x39393939;  // more digits right after it
    OpenedFile file(build(scene).bytes);
    EXPECT_TRUE(file.outcome.ended);
    EXPECT_EQ(file.outcome.out,
              "ZELOpen: Error: ZEL Library version 9.23456789 or higher needed to open file\n");
}

TEST(OpenVersion, NumbersInTextsAreReadAsFarAsTheyGo)
{
    const double infinity = std::numeric_limits<double>::infinity();
    const struct {
        const char* text;
        double number;
    } rows[] = {{"2.3", 2.3},        {" \t\n2.31xyz", 2.31},
                {"2,5", 2},          {".5", 0.5},
                {"+7.25", 7.25},     {"-1.5", -1.5},
                {"+-1", 0},          {"--1", 0},
                {"1e999", infinity}, {"-1e999", -infinity},
                {"2e-1", 0.2},       {"1e-999", 0},
                {"none", 0},         {"", 0},
                {"  ", 0},           {"+", 0}};
    for (const auto& row : rows) EXPECT_EQ(zel::leadingNumber(row.text), row.number) << row.text;
}

// A program that has set its user's locale may have a comma there.
TEST(OpenVersion, PrefixIsReadTheSameWhereTheDecimalPointIsAComma)
{
    const zel_test::TempDir dir;
    const std::string make =
        "localedef -f UTF-8 -i de_DE " + dir.path("de_DE.UTF-8") + " >/dev/null 2>&1";
    if (std::system(make.c_str()) != 0) GTEST_SKIP() << "no locale can be made here";
    setenv("LOCPATH", dir.path().c_str(), 1);
    const bool isSet = std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
    if (!isSet || std::strcmp(std::localeconv()->decimal_point, ",") != 0)
        GTEST_SKIP() << "no locale with a comma";
    Scene scene = smallScene();
    scene.prefix.version = "2.31";
    const OpenedFile file(build(scene).bytes);
    std::setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
    EXPECT_TRUE(file.outcome.ended);
    EXPECT_EQ(file.outcome.out,
              "ZELOpen: Error: ZEL Library version 2.31 or higher needed to open file\n");
}

// The integer version is the number plus 0.005, times 100, truncated: 2.3 to 230.
TEST(OpenVersion, VersionNumbersAreRoundedToHundredths)
{
    for (float accepted : {2.3f, 2.304f, 2.296f, 2.2999f})
        EXPECT_EQ(OpenedFile(withVersionNumber(accepted)).result, 0) << accepted;
    for (float refused : {2.306f, 2.31f, 3.0f}) {
        OpenedFile file(withVersionNumber(refused));
        EXPECT_EQ(file.result, -2) << refused;
        EXPECT_EQ(file.outcome.out, unsupported) << refused;
    }
}

TEST(OpenVersion, VersionNumbersThatMakeNoSenseAreRefused)
{
    for (float refused : {0.0f, -0.0f, 0.004f, -1.0f, -2.3f, 1e9f, 1e30f, -1e30f,
                          std::numeric_limits<float>::infinity(),
                          -std::numeric_limits<float>::infinity(), std::nanf("")}) {
        OpenedFile file(withVersionNumber(refused));
        EXPECT_EQ(file.result, -2) << refused;
        EXPECT_EQ(file.outcome.out, unsupported) << refused;
        EXPECT_FALSE(file.outcome.ended) << refused;
    }
}

TEST(OpenVersion, NeverCrashesBelowVersionOne)
{
    for (float version : {0.006f, 0.5f, 0.99f}) {
        OpenedFile file(withVersionNumber(version));
        EXPECT_FALSE(file.outcome.ended) << version;
        EXPECT_TRUE(file.result == 0 || file.result == -2) << version;
    }
}

TEST(OpenVersion, AFileInTheOtherByteOrderOpensAfterOneLine)
{
    for (int version : {141, 142, 150, 230}) {
        Scene scene = smallScene(version);
        scene.prefixed = false;
        scene.bigEndian = true;
        const BuiltFile built = build(scene);
        OpenedFile file(built.bytes);
        ASSERT_EQ(file.result, 0) << version;
        EXPECT_EQ(file.outcome.out, tryingAnotherOrder) << version;
        EXPECT_EQ(SwapByteOrdering, 1);
        EXPECT_EQ(file->ZELHeader.year, 2001);
        EXPECT_EQ(file->ZELHeader.NumNavPoints, 2);
        EXPECT_EQ(file->ZELHeader.SpatialResolution, 30.0f);
        EXPECT_EQ(file->Channels[0].MaxValue, 250.0f);
        EXPECT_EQ(file->Channels[2].Type, 5);
        EXPECT_EQ(file->HeaderOffset, static_cast<int>(built.headerEnd));
        EXPECT_EQ(file->NumLines, 2);
    }
}

TEST(OpenVersion, LaterReadsOfAFileInTheOtherOrderAreSwapped)
{
    Scene scene = smallScene(141);
    scene.bigEndian = true;
    OpenedFile file(build(scene).bytes);
    ASSERT_EQ(file.result, 0);
    run([&] { ZELReadLine(file.get()); });
    EXPECT_EQ(file->ScanTime, 10.25);
    EXPECT_EQ(file->LatBuffer[1], 41.5f);
    EXPECT_EQ(file->Channels[0].ChannelData[2], 13.0f);
    EXPECT_EQ(file->Channels[2].ChannelData[2], 40000.0f);
}

TEST(OpenVersion, EveryOldVersionOpensInTheOtherByteOrder)
{
    for (int version : {100, 101, 110, 111, 121, 131, 132, 140}) {
        Scene scene = smallScene(version);
        scene.bigEndian = true;
        const BuiltFile built = build(scene);
        OpenedFile file(built.bytes);
        ASSERT_EQ(file.result, 0) << version;
        EXPECT_EQ(file.outcome.out.rfind(tryingAnotherOrder, 0), 0u) << version;
        EXPECT_EQ(file->HeaderOffset, static_cast<int>(built.headerEnd)) << version;
        EXPECT_EQ(file->ZELHeader.julian, 123) << version;
    }
}

// The order is one for the whole process: an open takes it back from every file opened before.
TEST(OpenVersion, OpeningAnotherFileResetsTheSharedByteOrder)
{
    Scene scene = smallScene(141);
    scene.bigEndian = true;
    OpenedFile swapped(build(scene).bytes);
    ASSERT_EQ(SwapByteOrdering, 1);
    OpenedFile plain(build(smallScene()).bytes);
    ASSERT_EQ(plain.result, 0);
    EXPECT_EQ(SwapByteOrdering, 0);
    run([&] { ZELReadLine(swapped.get()); });
    // 1000 is 03 E8 on disk, read low byte first from now on.
    EXPECT_EQ(swapped->Channels[2].ChannelData[0], 0xE803);
}

// The retry starts again at byte 0 of the file, where a prefix has its magic and not a version.
TEST(OpenVersion, APrefixedFileInTheOtherOrderIsNotSupported)
{
    Scene scene = smallScene();
    scene.bigEndian = true;
    TempDir dir;
    writeFile(dir.path("f"), build(scene).bytes);
    auto record = zel_test::junkRecord();
    int result = -9;
    const Outcome outcome =
        run([&] { result = OpenReadOnlyFile(record.get(), dir.path("f").c_str(), 0, 0); });
    EXPECT_EQ(result, -2);
    EXPECT_EQ(outcome.out, unsupported);
    run([&] { ZELFinishReadingFile(record.get()); });
    CheckByteOrder();
}

// Its directory reads as one of 16777216 components before the version comes into it.
TEST(OpenVersion, AWholePrefixInTheOtherOrderIsRefusedAsAComposite)
{
    Scene scene = smallScene();
    scene.bigEndian = true;
    OpenedFile file(build(scene).bytes);
    EXPECT_EQ(file.result, -2);
    EXPECT_FALSE(file.outcome.ended);
    EXPECT_EQ(file.outcome.out.rfind("OpenReadOnlyFile: corrupt file ", 0), 0u);
}

// For a component too the retry starts at byte 0 of the file, not at the component.
TEST(OpenVersion, TheRetryOfAComponentReadsFromByteZeroOfTheFile)
{
    Scene scene = smallScene(141);
    scene.bigEndian = true;
    const BuiltFile built = build(scene);
    TempDir dir;
    writeFile(dir.path("f"), built.bytes);
    auto record = zel_test::junkRecord();
    const int inTheComment = 1000;  // zeros there: no magic, and no version in either order
    int result = -9;
    const Outcome outcome = run(
        [&] { result = OpenReadOnlyFile(record.get(), dir.path("f").c_str(), inTheComment, 0); });
    ASSERT_EQ(result, 0);
    EXPECT_EQ(zel_test::withoutGridNotes(outcome.out), tryingAnotherOrder);
    EXPECT_EQ(record->ZELHeader.year, 2001);
    EXPECT_EQ(record->fileOffset, inTheComment);
    EXPECT_EQ(record->HeaderOffset, static_cast<int>(built.headerEnd) - inTheComment);
    run([&] { ZELFinishReadingFile(record.get()); });
}

TEST(OpenVersion, AfterAnUnsupportedVersionTheFlagStaysFlippedAndTheStreamOpen)
{
    TempDir dir;
    writeFile(dir.path("f"), withVersionNumber(9.0f));
    auto record = zel_test::junkRecord();
    const int before = zel_test::openDescriptors();
    int result = 0;
    run([&] { result = OpenReadOnlyFile(record.get(), dir.path("f").c_str(), 0, 0); });
    EXPECT_EQ(result, -2);
    EXPECT_EQ(SwapByteOrdering, 1);
    EXPECT_EQ(zel_test::openDescriptors(), before + 1);
    const Outcome finish = run([&] { ZELFinishReadingFile(record.get()); });
    EXPECT_FALSE(finish.ended);
    EXPECT_EQ(zel_test::openDescriptors(), before);
    CheckByteOrder();
}

TEST(OpenVersion, TextIsNotAFile)
{
    OpenedFile file(zel_test::Bytes(5000, 'x'));
    EXPECT_EQ(file.result, -2);
    EXPECT_EQ(file.outcome.out, unsupported);
}

// ---- the check that needs only a stream

struct Checked {
    int result;
    long position;
    std::string out;
};

Checked check(const Bytes& content)
{
    FILE* stream = tmpfile();
    if (!content.empty()) fwrite(content.data(), 1, content.size(), stream);
    rewind(stream);
    Checked checked{};
    checked.out = run([&] { checked.result = ZELCheckFileVersion(stream); }).out;
    checked.position = ftell(stream);
    fclose(stream);
    return checked;
}

const char* const checkTrying = "ZELCheckFileVersion: Trying another byte ordering...\n";
const char* const checkUnsupported = "ZELCheckFileVersion: unsupported data type\n";

TEST(CheckFileVersion, ACurrentFilePasses)
{
    const Checked c = check(build(smallScene()).bytes);
    EXPECT_EQ(c.result, 1);
    EXPECT_EQ(c.position, 0);
    EXPECT_EQ(c.out, "Major version 2 Minor version 3\n");
}

TEST(CheckFileVersion, AFileWithoutAPrefixPassesSilently)
{
    const Checked c = check(build(smallScene(141)).bytes);
    EXPECT_EQ(c.result, 1);
    EXPECT_EQ(c.position, 0);
    EXPECT_EQ(c.out, "");
}

TEST(CheckFileVersion, AFileInTheOtherOrderPassesAfterOneLine)
{
    Scene scene = smallScene(141);
    scene.bigEndian = true;
    const Checked c = check(build(scene).bytes);
    EXPECT_EQ(c.result, 1);
    EXPECT_EQ(c.position, 0);
    EXPECT_EQ(c.out, checkTrying);
}

TEST(CheckFileVersion, LeavesTheSharedByteOrderAlone)
{
    Scene scene = smallScene(141);
    for (bool bigEndian : {false, true}) {
        scene.bigEndian = bigEndian;
        for (int flag : {0, 1}) {
            SwapByteOrdering = flag;
            EXPECT_EQ(check(build(scene).bytes).result, 1) << bigEndian << flag;
            EXPECT_EQ(SwapByteOrdering, flag);
        }
    }
    SwapByteOrdering = 0;
}

TEST(CheckFileVersion, MajorAndMinorAreTheNumbersAroundThePoint)
{
    Scene scene = smallScene();
    scene.prefix.version = "2.21";
    EXPECT_EQ(check(build(scene).bytes).out, "Major version 2 Minor version 21\n");
    scene.prefix.version = "12.04";
    const Checked c = check(build(scene).bytes);
    EXPECT_EQ(c.out, "Major version 12 Minor version 4\n");
    EXPECT_EQ(c.result, 1) << "the number after the prefix decides";
}

TEST(CheckFileVersion, AVersionTextWithoutAPointIsNoCrash)
{
    for (const char* text : {"2", "", "...", "2..3"}) {
        Scene scene = smallScene();
        scene.prefix.version = text;
        const Checked c = check(build(scene).bytes);
        EXPECT_EQ(c.out.rfind("Major version ", 0), 0u) << text;
    }
}

// A prefixed file of major version 1 is tested at byte 13, on the base component index.
TEST(CheckFileVersion, AMajorVersionOneFileIsTestedAtByte13)
{
    Scene scene = smallScene(151);
    scene.prefix.version = "1.51";
    Checked c = check(build(scene).bytes);
    EXPECT_EQ(c.result, 0);
    EXPECT_EQ(c.out,
              std::string("Major version 1 Minor version 51\n") + checkTrying + checkUnsupported);
    scene.prefix.base = 0x40000000;  // the float 2.0
    c = check(build(scene).bytes);
    EXPECT_EQ(c.result, 1);
    EXPECT_EQ(c.position, 0);
    EXPECT_EQ(c.out, "Major version 1 Minor version 51\n");
}

TEST(CheckFileVersion, APrefixedFileInTheOtherOrderFails)
{
    Scene scene = smallScene();
    scene.bigEndian = true;
    const Checked c = check(build(scene).bytes);
    EXPECT_EQ(c.result, 0);
    EXPECT_EQ(c.out,
              std::string("Major version 2 Minor version 3\n") + checkTrying + checkUnsupported);
}

TEST(CheckFileVersion, NewerAndSenselessVersionsFail)
{
    for (float version : {2.31f, 0.0f, -1.0f, 1e30f, std::nanf("")}) {
        const Checked c = check(withVersionNumber(version));
        EXPECT_EQ(c.result, 0) << version;
        EXPECT_EQ(c.out,
                  std::string("Major version 2 Minor version 3\n") + checkTrying + checkUnsupported)
            << version;
    }
}

TEST(CheckFileVersion, AStreamThatIsTooShortFails)
{
    const Bytes whole = build(smallScene()).bytes;
    for (std::size_t size : {0u, 1u, 2u, 3u, 7u, 13u, 600u, 1221u, 1224u})
        EXPECT_EQ(check(Bytes(whole.begin(), whole.begin() + static_cast<long>(size))).result, 0)
            << size;
}

}  // namespace
