// Directories of containers that other programs wrote or that were made by hand: what opens, and
// what is copied from where.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "support/file_builder.hpp"
#include "support/outcome.hpp"
#include "zel/zel.h"

namespace {

using zel_test::build;
using zel_test::Bytes;
using zel_test::Outcome;
using zel_test::run;
using zel_test::Scene;

// Where the fields of a directory begin.
constexpr std::size_t baseIndex = 13, numComponents = 17, offsets = 21, resolutions = 421,
                      sizes = 821;

void putInt32(Bytes& bytes, std::size_t offset, std::size_t value)
{
    for (std::size_t i = 0; i < 4; ++i)
        bytes[offset + i] = static_cast<unsigned char>(value >> 8 * i);
}

void putFloat(Bytes& bytes, std::size_t offset, float value)
{
    std::memcpy(&bytes[offset], &value, sizeof value);
}

std::size_t int32At(const Bytes& bytes, std::size_t offset)
{
    std::size_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) value |= std::size_t{bytes[offset + i]} << 8 * i;
    return value;
}

float floatAt(const Bytes& bytes, std::size_t offset)
{
    float value = 0;
    std::memcpy(&value, &bytes[offset], sizeof value);
    return value;
}

// Two lines of scan time 12.5, of one channel.
Scene sceneAt(float resolution)
{
    Scene scene = zel_test::smallScene();
    scene.resolution = resolution;
    scene.slots = {zel_test::channel(3, "bytes")};
    zel_test::Line line = scene.lines[0];
    line.scanTime = 12.5;
    scene.lines.assign(2, line);
    return scene;
}

class Directories : public testing::Test {
protected:
    std::string path(const std::string& name) const { return dir.path(name); }
    void put(const std::string& name, const Bytes& content) const
    {
        zel_test::writeFile(path(name), content);
    }

    // Opens the named files together.
    int open(const std::vector<std::string>& names, int base)
    {
        std::vector<std::string> files;
        for (const std::string& name : names) files.push_back(path(name));
        std::vector<const char*> pointers;
        for (const std::string& file : files) pointers.push_back(file.c_str());
        int result = 99;
        finish();
        outcome = run([&] {
            result = ZELOpenCompositeReadOnlyFile(view.get(), pointers.data(),
                                                  static_cast<int>(pointers.size()), base);
        });
        outcome.out = zel_test::withoutGridNotes(outcome.out);
        opened = true;
        return result;
    }

    int openAlone(const std::string& name)
    {
        int result = 99;
        finish();
        outcome = run([&] { result = ZELOpenReadOnlyFile(view.get(), path(name).c_str()); });
        outcome.out = zel_test::withoutGridNotes(outcome.out);
        opened = true;
        return result;
    }

    int create(const std::vector<std::string>& names, int baseFile = 0, int component = 0)
    {
        std::vector<std::string> files;
        for (const std::string& name : names) files.push_back(path(name));
        std::vector<const char*> pointers;
        for (const std::string& file : files) pointers.push_back(file.c_str());
        int result = 99;
        outcome = run([&] {
            result = ZELCreateCompositeFile(pointers.data(), static_cast<int>(pointers.size()),
                                            baseFile, component, path("out").c_str(), 0);
        });
        outcome.out = zel_test::withoutGridNotes(outcome.out);
        return result;
    }

    void finish()
    {
        if (opened) run([&] { ZELFinishReadingFile(view.get()); });
        opened = false;
    }
    void TearDown() override { finish(); }

    const zel_test::TempDir dir;
    const std::unique_ptr<ZELType> view = zel_test::junkRecord();
    const Bytes whole = zel_test::buildComposite({sceneAt(30), sceneAt(60)});
    const std::size_t first = build(sceneAt(30)).bytes.size();
    Outcome outcome;
    bool opened = false;
};

// ---- The stored base index ----

using StoredBase = Directories;

TEST_F(StoredBase, OutsideTheContainerIsRefusedWhereItNamesTheComponentToOpen)
{
    Bytes bytes = whole;
    putInt32(bytes, baseIndex, 2);
    put("c", bytes);
    EXPECT_EQ(openAlone("c"), -2);
    EXPECT_EQ(outcome.out, "OpenReadOnlyFile: corrupt file " + path("c") +
                               ": invalid base component index 2 at offset 13\n");
    EXPECT_EQ(open({"c"}, 2), -2);
}

TEST_F(StoredBase, OutsideTheContainerIsNotUsedWhereTheCallerNamesAnother)
{
    Bytes bytes = whole;
    putInt32(bytes, baseIndex, 2);
    put("c", bytes);
    EXPECT_EQ(open({"c"}, 1), 0);
    EXPECT_EQ(outcome.out + outcome.err, "");
    EXPECT_EQ(view->ZELHeader.SpatialResolution, 60.0f);
    EXPECT_EQ(view->baseZELComponent, 1);
}

TEST_F(StoredBase, OfABaseFileAmongOthersMayPointIntoTheNextFile)
{
    Bytes bytes = whole;
    putInt32(bytes, baseIndex, 2);
    put("c", bytes);
    put("d", build(sceneAt(90)).bytes);
    EXPECT_EQ(open({"c", "d"}, 0), 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(view->baseZELComponent, 2);
}

TEST_F(StoredBase, OutsideTheViewLeavesTheLinesWithoutScanTimes)
{
    put("d", build(sceneAt(90)).bytes);
    // One component comes before those of the container; the sum stops short of the largest number.
    const std::pair<std::size_t, int> rows[] = {
        {3, 4}, {0x7FFFFFFF, 2147483646}, {0x80000000, -2147483647}};
    for (const auto& [stored, base] : rows) {
        Bytes bytes = whole;
        putInt32(bytes, baseIndex, stored);
        put("c", bytes);
        EXPECT_EQ(open({"d", "c"}, 1), 0);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, "ZELOpenCompositeReadOnlyFile: warning: file " + path("c") +
                                   " names a base component that the view does not have: its lines "
                                   "have no scan times\n");
        EXPECT_EQ(view->ZELHeader.SpatialResolution, 30.0f);
        EXPECT_EQ(view->baseZELComponent, base);
        run([&] { EXPECT_EQ(ZELReadLine(view.get()), 4); });
        EXPECT_EQ(view->ScanTime, 0.0);
    }
}

// ---- Places and sizes ----

using Entries = Directories;

TEST_F(Entries, ASizeOfZeroReachesToTheEndOfTheFile)
{
    Bytes bytes = whole;
    putInt32(bytes, sizes + 4, 0);
    put("c", bytes);
    EXPECT_EQ(openAlone("c"), 0);
    EXPECT_EQ(view->ZELComponent[1].NumLines, 2);

    const auto built = build(sceneAt(30));
    putInt32(bytes, sizes, 0);
    put("c", bytes);
    EXPECT_EQ(openAlone("c"), 0);
    EXPECT_EQ(static_cast<std::size_t>(view->ZELComponent[0].NumLines),
              (whole.size() - built.headerEnd) / built.lineSize);
}

TEST_F(Entries, ComponentsMayOverlap)
{
    Bytes bytes = whole;
    putInt32(bytes, sizes, whole.size());
    putInt32(bytes, offsets + 4, 0);
    putInt32(bytes, sizes + 4, first);
    put("c", bytes);
    EXPECT_EQ(openAlone("c"), 0);
    EXPECT_EQ(view->numZELComponents, 2);
    EXPECT_EQ(view->ZELComponent[1].ZELHeader.SpatialResolution, 30.0f);
    EXPECT_EQ(view->ZELComponent[1].NumLines, 2);
}

TEST_F(Entries, OutsideTheFileAreRefused)
{
    const struct {
        std::size_t place, value;
        const char* what;
    } rows[] = {{sizes, whole.size() + 1, "component size"},
                {sizes + 4, whole.size() - first + 1, "component size"},
                {sizes, 0xFFFFFFFF, "component size -1"},
                {offsets, 0xFFFFFFFF, "component offset -1"},
                {offsets + 4, whole.size(), "component offset"}};
    for (const auto& [place, value, what] : rows) {
        Bytes bytes = whole;
        putInt32(bytes, place, value);
        put("c", bytes);
        EXPECT_EQ(openAlone("c"), -2);
        EXPECT_NE(outcome.out.find("invalid " + std::string(what)), std::string::npos)
            << outcome.out;
        EXPECT_NE(outcome.out.find(" at offset " + std::to_string(place) + "\n"), std::string::npos)
            << outcome.out;
    }
}

// The same component a hundred times: its header would have its memory a hundred times.
Bytes hundredfold(const Scene& component)
{
    Scene scene = component;
    scene.prefix.components = 100;
    scene.prefix.offsets.assign(100, 0);
    scene.prefix.sizes.assign(100, static_cast<int32_t>(build(component).bytes.size()));
    return build(scene).bytes;
}

TEST_F(Entries, AHundredOnOnePlaceMayHaveSmallHeaders)
{
    put("c", hundredfold(sceneAt(30)));
    EXPECT_EQ(openAlone("c"), 0);
    EXPECT_EQ(view->NumTotalChans, 100);
}

// 64 MiB in all, or what the file holds: 34 LUTs of 100 entries take 34 * (204 + 100 * 203) =
// 697136 bytes.
TEST_F(Entries, AHundredOnOnePlaceMayNotHaveLargeHeaders)
{
    Scene scene = sceneAt(30);
    const zel_test::Lut lut{1, "lut", std::vector<zel_test::LutEntry>(100)};
    scene.luts.assign(34, lut);
    put("c", hundredfold(scene));
    EXPECT_EQ(openAlone("c"), -2);
    EXPECT_EQ(outcome.out,
              "OpenReadOnlyFile: corrupt file " + path("c") +
                  ": its components overlap, and their headers take more than 67108864 "
                  "bytes\n");
}

// ---- Containers made of such files ----

using Copies = Directories;

TEST_F(Copies, ResolutionsOfACompositeAreThoseOfItsDirectory)
{
    Bytes bytes = whole;
    putFloat(bytes, resolutions, 31.0f);
    putFloat(bytes, resolutions + 4, 61.0f);
    put("c", bytes);
    put("d", build(sceneAt(90)).bytes);
    ASSERT_EQ(create({"d", "c"}), 0);
    const Bytes made = zel_test::readFile(path("out"));
    EXPECT_EQ(floatAt(made, resolutions + 4), 31.0f);
    EXPECT_EQ(floatAt(made, resolutions + 8), 61.0f);
    const std::size_t inner = build(sceneAt(90)).bytes.size();
    EXPECT_EQ(floatAt(made, inner + resolutions), 31.0f);
    EXPECT_EQ(floatAt(made, inner + resolutions + 4), 0.0f);
}

TEST_F(Copies, TheResolutionOfAPlainFileIsThatOfItsHeader)
{
    Scene scene = sceneAt(30);
    scene.prefix.resolutions = {31.0f};
    put("a", build(scene).bytes);
    put("b", build(sceneAt(60)).bytes);
    ASSERT_EQ(create({"b", "a"}), 0);
    const Bytes made = zel_test::readFile(path("out"));
    EXPECT_EQ(floatAt(made, resolutions), 60.0f);
    EXPECT_EQ(floatAt(made, resolutions + 4), 30.0f);
}

// Replacing the base file also discards the component chosen for it.
TEST_F(Copies, AnInvalidBaseFileTakesItsComponentWithIt)
{
    put("c", whole);
    put("d", build(sceneAt(90)).bytes);
    for (const int base : {-1, 3}) {
        ASSERT_EQ(create({"c", "d"}, base, 1), 0);
        EXPECT_EQ(outcome.out,
                  "Warning: specified BaseFileIndex " + std::to_string(base) +
                      " invalid... using first file\n"
                      "Warning: specified UserBaseComponentIndex -1 invalid... using first "
                      "component\n");
        EXPECT_EQ(int32At(zel_test::readFile(path("out")), baseIndex), 0u);
    }
}

TEST_F(Copies, EntriesOfSizeZeroTakeNoRoomInADirectory)
{
    Bytes bytes = whole;
    putInt32(bytes, sizes + 4, 0);
    put("c", bytes);
    put("d", build(sceneAt(90)).bytes);
    ASSERT_EQ(create({"c", "d"}), 0);
    const Bytes made = zel_test::readFile(path("out"));
    EXPECT_EQ(int32At(made, offsets + 4), first);
    EXPECT_EQ(int32At(made, sizes + 4), 0u);
    EXPECT_EQ(int32At(made, offsets + 8), first);
}

// A file of a hole, twice a component.
TEST_F(Copies, SizesBeyondADirectoryAreRefused)
{
    constexpr std::size_t large = 1100000000;
    Bytes bytes = whole;
    putInt32(bytes, sizes, large);
    putInt32(bytes, offsets + 4, 0);
    putInt32(bytes, sizes + 4, large);
    put("c", bytes);
    std::filesystem::resize_file(path("c"), large);
    put("d", build(sceneAt(90)).bytes);
    EXPECT_EQ(create({"c", "d"}), -1);
    EXPECT_EQ(outcome.out, "ZELCreateCompositeFile: Error: the sizes of the components of file " +
                               path("c") + " add up to more than a directory holds\n");
    EXPECT_FALSE(std::filesystem::exists(path("out")));
}

// What a composite is copied in front of does not count with it: its sizes add up from its begin.
TEST_F(Copies, SizesThatADirectoryJustHoldsAreCopied)
{
    constexpr std::size_t count = 99, large = 21691754;
    static_assert(count * large <= 2147483647 && (count + 1) * large > 2147483647);
    Bytes bytes = whole;
    putInt32(bytes, numComponents, count);
    for (std::size_t i = 0; i < count; ++i) {
        putInt32(bytes, offsets + 4 * i, 0);
        putInt32(bytes, sizes + 4 * i, large);
    }
    put("c", bytes);
    std::filesystem::resize_file(path("c"), large);
    put("d", build(sceneAt(90)).bytes);
    EXPECT_EQ(create({"c", "d"}), 0);
    EXPECT_EQ(outcome.out, "");
}

}  // namespace
