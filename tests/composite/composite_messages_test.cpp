// Messages of containers and views: refusals, warnings and failures on the way.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/file_builder.hpp"
#include "support/file_size_limit.hpp"
#include "support/outcome.hpp"

namespace {

using zel_test::build;
using zel_test::Bytes;
using zel_test::Outcome;
using zel_test::run;
using zel_test::Scene;
using zel_test::smallScene;
using zel_test::withoutGridNotes;

Scene sceneAt(float resolution, int version = 230)
{
    Scene scene = smallScene(version);
    scene.resolution = resolution;
    return scene;
}

class Messages : public testing::Test {
protected:
    std::string path(const std::string& name) const { return dir.path(name); }
    void put(const std::string& name, const Bytes& content) const
    {
        zel_test::writeFile(path(name), content);
    }
    void put(const std::string& name, const Scene& scene) const { put(name, build(scene).bytes); }

    static std::vector<const char*> pointers(const std::vector<std::string>& names)
    {
        std::vector<const char*> all;
        for (const std::string& name : names) all.push_back(name.c_str());
        return all;
    }
    std::vector<std::string> paths(const std::vector<std::string>& names) const
    {
        std::vector<std::string> all;
        for (const std::string& name : names) all.push_back(path(name));
        return all;
    }

    Outcome create(const std::vector<std::string>& names, const std::string& output = "out")
    {
        const std::vector<std::string> files = paths(names);
        const std::string target = path(output);
        return call([&] {
            return ZELCreateCompositeFile(pointers(files).data(), static_cast<int>(names.size()), 0,
                                          0, target.c_str(), 0);
        });
    }

    // A view that did open is finished.
    Outcome view(const std::vector<std::string>& names, int base = 0)
    {
        const std::vector<std::string> files = paths(names);
        const auto record = zel_test::junkRecord();
        const Outcome outcome = call([&] {
            return ZELOpenCompositeReadOnlyFile(record.get(), pointers(files).data(),
                                                static_cast<int>(names.size()), base);
        });
        if (!outcome.ended) run([&] { ZELFinishReadingFile(record.get()); });
        return outcome;
    }

    const zel_test::TempDir dir;
    int result = -9;

private:
    Outcome call(const std::function<int()>& function)
    {
        result = -9;
        Outcome outcome = run([&] { result = function(); });
        outcome.out = withoutGridNotes(outcome.out);
        return outcome;
    }
};

// ---- Containers ----

using ContainerMessages = Messages;

TEST_F(ContainerMessages, MoreComponentsThanADirectoryHolds)
{
    put("full", zel_test::buildComposite(std::vector<Scene>(100, sceneAt(30))));
    put("a", sceneAt(30));
    EXPECT_EQ(create({"full", "a"}).out,
              "ZELCreateCompositeFile: Error: 101 components, a file holds at most 100\n");
    EXPECT_EQ(result, -1);
}

TEST_F(ContainerMessages, TheOutputIsAnInput)
{
    put("a", sceneAt(30));
    put("b", sceneAt(60));
    EXPECT_EQ(create({"a", "b"}, "b").out, "ZELCreateCompositeFile: Error: output file " +
                                               path("b") + " is one of the input files\n");
    EXPECT_EQ(result, -1);
    EXPECT_EQ(zel_test::readFile(path("b")), build(sceneAt(60)).bytes);
}

// Copying needs no slots: the container is whole, and each of its components can be read.
TEST_F(ContainerMessages, MoreChannelsThanAViewHolds)
{
    Scene scene = sceneAt(30);
    scene.slots.assign(501, scene.slots[0]);
    put("a", scene);
    scene.resolution = 60;
    put("b", scene);
    const Outcome outcome = create({"a", "b"});
    EXPECT_EQ(result, 0);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "ZELCreateCompositeFile: warning: file " + path("out") +
                               " has 1002 channels, a view holds at most 1000: it cannot be opened "
                               "as a whole\n");
    Bytes want = zel_test::readFile(path("a"));
    const std::size_t first = want.size();
    const Bytes second = zel_test::readFile(path("b"));
    want.insert(want.end(), second.begin(), second.end());
    Bytes made = zel_test::readFile(path("out"));
    ASSERT_EQ(made.size(), want.size());
    EXPECT_TRUE(std::equal(made.begin() + 1221, made.end(), want.begin() + 1221));
    const auto record = zel_test::junkRecord();
    run([&] {
        EXPECT_EQ(OpenReadOnlyFile(record.get(), path("out").c_str(), static_cast<int>(first),
                                   static_cast<int>(second.size())),
                  0);
        EXPECT_EQ(record->NumTotalChans, 501);
        ZELFinishReadingFile(record.get());
    });
}

TEST_F(ContainerMessages, AsManyChannelsAsAViewHolds)
{
    Scene scene = sceneAt(30);
    scene.slots.assign(500, scene.slots[0]);
    put("a", scene);
    EXPECT_EQ(create({"a", "a"}).err, "");
    EXPECT_EQ(result, 0);
}

// Files of holes, which take no room.
TEST_F(ContainerMessages, AContainerThatIsTooLarge)
{
    put("a", sceneAt(30));
    put("b", sceneAt(60));
    for (const char* name : {"a", "b"}) std::filesystem::resize_file(path(name), 1500000000);
    EXPECT_EQ(create({"a", "b"}).out, "ZELCreateCompositeFile: Error: file " + path("out") +
                                          " would hold 3000000000 bytes, at most 2147483647 fit\n");
    EXPECT_EQ(result, -1);
    EXPECT_FALSE(std::filesystem::exists(path("out")));
}

TEST_F(ContainerMessages, AFileOfTheOtherByteOrder)
{
    Scene swapped = sceneAt(60, 142);
    swapped.bigEndian = true;
    put("a", sceneAt(30));
    put("b", swapped);
    EXPECT_EQ(create({"a", "b"}).err,
              "ZELCreateCompositeFile: warning: file " + path("b") +
                  " is of the other byte order and cannot be read again in a container\n");
    EXPECT_EQ(result, 0);
    CheckByteOrder();
}

TEST_F(ContainerMessages, AnOldFileAfterANewPrefix)
{
    put("a", sceneAt(30, 120));
    put("b", sceneAt(60));
    const Outcome outcome = create({"a", "b"});
    EXPECT_EQ(outcome.err,
              "ZELCreateCompositeFile: warning: file " + path("a") +
                  " is of an old version and cannot be read again after a prefix: write it with "
                  "-same_res first\n");
    EXPECT_EQ(result, 0);
}

// From 1.41 on a header says how long it is; from 1.51 on a file begins with a prefix of its own,
// and one of these without it is no more readable after another.
TEST_F(ContainerMessages, VersionsThatCanBeReadAfterANewPrefix)
{
    put("b", sceneAt(60));
    for (const int version : {140, 141, 142, 150, 151}) {
        Scene scene = sceneAt(30, version);
        scene.prefixed = false;
        put("a", scene);
        const bool readable = version >= 141 && version < 151;
        EXPECT_EQ(create({"a", "b"}).err.empty(), readable) << version;
    }
}

// The base index is the place of the file among the inputs, and one too many passes.
TEST_F(ContainerMessages, ABaseMissingFromTheContainer)
{
    put("a", sceneAt(30));
    put("b", sceneAt(60));
    const std::string names[] = {path("a"), path("b")};
    const char* inputs[] = {names[0].c_str(), names[1].c_str()};
    const Outcome outcome =
        run([&] { result = ZELCreateCompositeFile(inputs, 2, 2, 0, path("out").c_str(), 0); });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(outcome.err, "ZELCreateCompositeFile: warning: file " + path("out") +
                               " names component 2 as its base and has 2, counted from 0: it "
                               "cannot be opened\n");
}

// The progress of the first file removes the second one.
TEST_F(ContainerMessages, AnInputRemovedBeforeItsTurn)
{
    put("a", sceneAt(30));
    put("b", zel_test::buildComposite({sceneAt(60), sceneAt(90)}));
    const std::string second = path("b");
    ZELSetProgressSink(
        [](void* name, const char*, double, double) {
            std::filesystem::remove(*static_cast<const std::string*>(name));
        },
        const_cast<std::string*>(&second));
    const Outcome outcome = create({"a", "b"});
    ZELSetProgressSink(nullptr, nullptr);
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out, "ZELCreateCompositeFile: Error: cannot read file " + path("b") + "\n");
}

// A pipe cannot seek back to the directory. Nothing is written: that could block for lack of a
// reader.
TEST_F(ContainerMessages, AnOutputThatCannotSeek)
{
    put("a", sceneAt(30));
    put("b", sceneAt(60));
    ASSERT_EQ(mkfifo(path("out").c_str(), 0600), 0);
    const int pipe = open(path("out").c_str(), O_RDWR | O_NONBLOCK);
    ASSERT_GE(pipe, 0);
    const Outcome outcome = create({"a", "b"});
    char byte = 0;
    EXPECT_EQ(read(pipe, &byte, 1), -1) << "a byte was written";
    close(pipe);
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out, "ZELCreateCompositeFile: Error:  seek error\n");
    EXPECT_EQ(outcome.err.substr(0, 37), "ZELCreateCompositeFile: write error o");
}

// Until its directory is written, a container would look like a plain file with the other inputs as
// lines.
TEST_F(ContainerMessages, AnOutputThatIsGoneAtTheEnd)
{
    put("a", sceneAt(30));
    put("b", sceneAt(60));
    std::string output = path("out");
    ZELSetProgressSink([](void* name, const char*, double,
                          double) { unlink(static_cast<const std::string*>(name)->c_str()); },
                       &output);
    const Outcome outcome = create({"a", "b"});
    ZELSetProgressSink(nullptr, nullptr);
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err, "ZELCreateCompositeFile: write error on file " + output +
                               ": No such file or directory\n");
    EXPECT_EQ(outcome.out, "ZELCreateCompositeFile: Error:  write error copying files\n");
}

// It is not lost, and may have moved.
TEST_F(ContainerMessages, AnOutputThatIsMovedWhileItIsWritten)
{
    put("a", sceneAt(30));
    put("b", sceneAt(60));
    static std::string from, to;
    from = path("out");
    to = path("moved");
    ZELSetProgressSink(
        [](void*, const char*, double, double) { std::rename(from.c_str(), to.c_str()); }, nullptr);
    const Outcome outcome = create({"a", "b"});
    ZELSetProgressSink(nullptr, nullptr);
    EXPECT_FALSE(outcome.ended) << outcome.err;
    EXPECT_EQ(result, 0);
    EXPECT_EQ(ZELIsFileComposite(to.c_str()), 1);
}

TEST_F(ContainerMessages, AnUnfinishedContainerIsNotASceneFile)
{
    put("a", sceneAt(30));
    put("old", sceneAt(30, 142));
    put("b", sceneAt(60));
    put("both", zel_test::buildComposite({sceneAt(30), sceneAt(60)}));
    const std::size_t size = build(sceneAt(60)).bytes.size();
    for (const std::string first : {"a", "old", "both"}) {
        const int before = zel_test::openDescriptors();
        {
            const zel_test::FileSizeLimit full(zel_test::readFile(path(first)).size() + size - 100);
            EXPECT_TRUE(create({first, "b"}).ended) << first;
        }
        EXPECT_EQ(zel_test::openDescriptors(), before) << first;
        EXPECT_GT(zel_test::readFile(path("out")).size(), size);
        const zel_test::OpenedFile file(zel_test::readFile(path("out")));
        EXPECT_EQ(file.result, -2) << first;
        EXPECT_NE(file.outcome.out.find("OpenReadOnlyFile: unsupported data type\n"),
                  std::string::npos)
            << file.outcome.out;
    }
}

// ---- Views ----

using ViewMessages = Messages;

TEST_F(ViewMessages, NoInput)
{
    EXPECT_EQ(view({}).out, "ZELOpenCompositeReadOnlyFile: Error: no input files\n");
    EXPECT_EQ(result, -1);
}

TEST_F(ViewMessages, AnInvalidBase)
{
    put("a", sceneAt(30));
    put("b", sceneAt(30));
    for (const int base : {-1, 2, 99}) {
        EXPECT_EQ(view({"a", "b"}, base).out,
                  "ZELOpenCompositeReadOnlyFile: Error: invalid base file index " +
                      std::to_string(base) + "\n");
        EXPECT_EQ(result, -1);
    }
}

TEST_F(ViewMessages, MoreChannelsThanAViewHolds)
{
    Scene scene = sceneAt(30);
    scene.slots.assign(501, zel_test::channel(3, "one of many"));
    put("a", scene);
    put("b", scene);
    EXPECT_EQ(
        view({"a", "b"}).out,
        "ZELOpenCompositeReadOnlyFile: Error: the components have 1002 channels, at most 1000 "
        "fit\n");
    EXPECT_EQ(result, -1);
}

TEST_F(ViewMessages, ResolutionsWhoseRatioIsNotAWholeNumber)
{
    put("a", sceneAt(30));
    put("b", sceneAt(75));
    EXPECT_EQ(view({"a", "b"}).err,
              "ZELOpenCompositeReadOnlyFile: warning: the resolutions of file " + path("b") +
                  " and of the base have the ratio 2.500000: 2 is used, and pixels drift apart\n");
    EXPECT_EQ(result, 0);
}

// Over a line of 32767 pixels a ratio of 2.0009 drifts by fourteen of them. What is used is the
// whole part, however close the next whole number is: 0.9 and 0.3 have the ratio 2.9999998 as they
// are stored.
TEST_F(ViewMessages, RatiosThatAreNearlyWholeNumbers)
{
    const struct {
        float base, other;
        const char* reported;
    } rows[] = {{1000, 2000.9f, "2.000900: 2 is"},
                {1000.45f, 500, "2.000900: 2 is"},
                {1000, 1999.5f, "1.999500: 1 is"},
                {1000, 2000.03f, "2.000030: 2 is"},
                {0.3f, 0.9f, "3.000000: 2 is"}};
    for (const auto& [base, other, reported] : rows) {
        put("a", sceneAt(base));
        put("b", sceneAt(other));
        EXPECT_EQ(view({"a", "b"}).err,
                  "ZELOpenCompositeReadOnlyFile: warning: the resolutions of file " + path("b") +
                      " and of the base have the ratio " + reported +
                      " used, and pixels drift apart\n");
        EXPECT_EQ(result, 0);
    }
}

TEST_F(ViewMessages, RatiosThatAreWholeNumbersButForTheirLastDigits)
{
    const std::pair<float, float> rows[] = {{1000, 250},      {250, 1000},  {1.1f, 0.275f},
                                            {0.1f, 0.3f},     {0.1f, 1.1f}, {1000, 333.333f},
                                            {1000, 2000.01f}, {30, 30},     {1, 32767}};
    for (const auto& [base, other] : rows) {
        put("a", sceneAt(base));
        put("b", sceneAt(other));
        EXPECT_EQ(view({"a", "b"}).err, "") << base << " and " << other;
        EXPECT_EQ(result, 0);
    }
}

TEST_F(ViewMessages, ResolutionsThatCannotBelongTogether)
{
    put("a", sceneAt(30));
    put("b", sceneAt(-30));
    EXPECT_EQ(view({"a", "b"}).out,
              "ZELOpenCompositeReadOnlyFile: Error: resolutions -30.000000 of file " + path("b") +
                  " and 30.000000 of the base do not belong to one scene\n");
    EXPECT_EQ(result, -1);
}

// Offsets 17 and 21, 821: number and tables of a directory.
TEST_F(ViewMessages, ADirectoryThatIsDamaged)
{
    const Bytes whole = zel_test::buildComposite({sceneAt(30), sceneAt(60)});
    const auto damagedAt = [&](std::size_t offset, unsigned char value) {
        Bytes bytes = whole;
        bytes[offset] = value;
        put("c", bytes);
        return view({"c"}).out;
    };
    const std::string begin = "OpenReadOnlyFile: corrupt file " + path("c") + ": invalid ";
    EXPECT_EQ(damagedAt(17, 101), "OpenReadOnlyFile: corrupt file " + path("c") +
                                      ": invalid number of components 101 at offset 17\n");
    EXPECT_EQ(result, -2);
    EXPECT_EQ(damagedAt(24, 0x80), begin + "component offset -2147483648 at offset 21\n");
    EXPECT_EQ(damagedAt(824, 0x80).substr(0, begin.size() + 16), begin + "component size -");
}

TEST_F(ViewMessages, ChannelsAreCountedAsTheComponentsAreOpened)
{
    Scene scene = sceneAt(30);
    scene.slots.assign(600, zel_test::channel(3, "one of many"));
    put("a", scene);
    EXPECT_EQ(
        view({"a", "a", "a", "a"}).out,
        "ZELOpenCompositeReadOnlyFile: Error: the components have 1200 channels, at most 1000 "
        "fit\n");
    EXPECT_EQ(result, -1);
}

TEST_F(ViewMessages, AViewWithoutComponents)
{
    const auto record = zel_test::zeroRecord();
    record->numZELComponents = 2;
    const Outcome outcome = run([&] { ZELReadCompositeLine(record.get(), 1); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out, "ZELReadCompositeLine: Error NULL ZELComponent\n");
}

}  // namespace
