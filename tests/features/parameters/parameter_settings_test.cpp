// Feature parameter files: input and output files, classes and settings.
#include <gtest/gtest.h>

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <set>

#include "support/parameters.hpp"

namespace {

using zel_test::CompleteParameters;
using zel_test::Parameters;
using zel_test::TempDir;
using zel_test::text;

// The names of the input files, in list order.
std::vector<std::string> inputs(Parameters& file)
{
    std::vector<std::string> all;
    for (const InputStruct* input = file->IO.inputListHead; input; input = input->next)
        all.push_back(text(input->Filename));
    return all;
}

std::set<std::string> inputSet(Parameters& file)
{
    const auto all = inputs(file);
    return {all.begin(), all.end()};
}

// ---- Input files ----

TEST(ParameterSettings, AnInputFileIsAdded)
{
    Parameters file("inputfilename @/f.par\ninputfilename @\noutputfilename o\nfeature Ch1\n");
    EXPECT_EQ(inputs(file), (std::vector<std::string>{file.dir.path("f.par"), file.dir.path()}));
    EXPECT_EQ(file->IO.numInputFiles, 2);
    EXPECT_EQ(file->IO.inputList->next, nullptr);
    EXPECT_EQ(text(file->IO.inputList->Filename), file.dir.path());
}

TEST(ParameterSettings, AnInputFileThatDoesNotOpenIsReportedAndPassedOver)
{
    CompleteParameters file("inputfilename /nowhere/scene.zel\n");
    EXPECT_FALSE(file.outcome.ended);
    EXPECT_EQ(file.outcome.err,
              "cannot open input file /nowhere/scene.zel... file will be skipped\n"
              "system error code:: No such file or directory\n");
    EXPECT_EQ(inputs(file), std::vector<std::string>{file.dir.path("f.par")});
}

// The reason for which an input was passed over is not that of what comes later.
TEST(ParameterSettings, AnInputThatWasSkippedLeavesNoSystemError)
{
    CompleteParameters file("inputfilename /nowhere/scene.zel\nfeature foo\n");
    EXPECT_EQ(file.outcome.err,
              "cannot open input file /nowhere/scene.zel... file will be skipped\n"
              "system error code:: No such file or directory\n"
              "line 2: feature foo\n"
              "parse error: illegal character in constant or unknown variable\n");
}

class Directory : public testing::Test {
protected:
    void SetUp() override
    {
        for (const char* name : {"a.img", "b.IMG", "a.img.img", "img.txt", "scene.imgs", ".img"})
            zel_test::writeFile(dir.path(name), std::string("x"));
        ASSERT_EQ(mkdir(dir.path("sub.img").c_str(), 0777), 0);
    }
    // The inputs that the command finds, without the one of a complete file.
    std::set<std::string> found(const std::string& command)
    {
        CompleteParameters file(command + "\n");
        EXPECT_FALSE(file.outcome.ended) << file.outcome.err;
        auto all = inputSet(file);
        EXPECT_EQ(all.erase(file.dir.path("f.par")), 1u);
        EXPECT_EQ(file->IO.numInputFiles, static_cast<int>(all.size()) + 1);
        return all;
    }
    std::set<std::string> in(std::initializer_list<const char*> names) const
    {
        std::set<std::string> all;
        for (const char* name : names) all.insert(dir.path(name));
        return all;
    }

    TempDir dir;
};

TEST_F(Directory, ByStringAddsEveryEntryThatContainsThePattern)
{
    EXPECT_EQ(found("inputdirstr " + dir.path() + ":.img"),
              in({"a.img", "a.img.img", "scene.imgs", ".img", "sub.img"}));
    EXPECT_EQ(found("inputdirstr " + dir.path() + ":scene"), in({"scene.imgs"}));
    EXPECT_EQ(found("inputdirstr " + dir.path() + ":nothing like it"), in({}));
}

// With so many names, no file system lists them in the order of the alphabet by chance.
TEST_F(Directory, EntriesKeepTheOrderOfTheListing)
{
    TempDir many;
    for (const int k : {17, 3, 29, 11, 1, 23, 7, 19, 2, 13, 5, 31})
        zel_test::writeFile(many.path(std::to_string(k) + ".img"), std::string("x"));
    std::vector<std::string> listed;
    DIR* const directory = opendir(many.path().c_str());
    ASSERT_NE(directory, nullptr);
    while (const dirent* entry = readdir(directory))
        if (entry->d_name[0] != '.') listed.push_back(many.path(entry->d_name));
    closedir(directory);
    ASSERT_EQ(listed.size(), 12u);
    if (std::is_sorted(listed.begin(), listed.end())) GTEST_SKIP() << "listed by name";
    for (const char* word : {"inputdirstr ", "inputdirext "}) {
        CompleteParameters file(word + many.path() + ":.img\n");
        auto all = inputs(file);
        std::erase(all, file.dir.path("f.par"));
        EXPECT_EQ(all, listed);
    }
}

TEST_F(Directory, ByExtensionAddsEveryEntryThatEndsWithIt)
{
    EXPECT_EQ(found("inputdirext " + dir.path() + ":.txt"), in({"img.txt"}));
}

// a.img.img has its first .img elsewhere.
TEST_F(Directory, ByExtensionLooksAtTheFirstOccurrenceOnly)
{
    EXPECT_EQ(found("inputdirext " + dir.path() + ":.img"), in({"a.img", ".img", "sub.img"}));
}

TEST_F(Directory, TheSlashAndTheBlanksAroundThePatternDoNotMatter)
{
    EXPECT_EQ(found("inputdirext " + dir.path() + "/: . t x t "), in({"img.txt"}));
    EXPECT_EQ(found("InputDirExt " + dir.path() + " : .txt"), in({"img.txt"}));
    EXPECT_EQ(found("INPUTDIRSTR " + dir.path() + ": .txt\t"), in({"img.txt"}));
}

TEST_F(Directory, WithoutAColonItEndsTheProcess)
{
    for (const char* word : {"inputdirstr", "inputdirext"}) {
        const std::string line = std::string(word) + " " + dir.path() + " .img";
        CompleteParameters file(line + "\n");
        EXPECT_TRUE(file.outcome.ended);
        EXPECT_EQ(file.outcome.status, -1);
        EXPECT_EQ(file.outcome.err, "line 1: " + line + "\nmissing colon separator\n");
    }
}

TEST_F(Directory, OneThatCannotBeListedEndsTheProcess)
{
    for (const char* word : {"inputdirstr", "inputdirext"}) {
        CompleteParameters file(std::string(word) + " /nowhere/at/all:.img\n");
        EXPECT_TRUE(file.outcome.ended);
        EXPECT_EQ(file.outcome.status, -1);
        EXPECT_EQ(file.outcome.err, "cannot get listing of input directory /nowhere/at/all/\n"
                                    "system error code:: No such file or directory\n");
    }
}

// ---- Output ----

TEST(ParameterSettings, TheOutputIsNamedOnce)
{
    Parameters file("inputfilename @/f.par\noutputfilename out.feat and more\nfeature Ch1\n");
    EXPECT_EQ(text(file->IO.outputFilename), "out.feat");
    CompleteParameters twice("outputfilename a\noutputfilename b\n");
    EXPECT_TRUE(twice.outcome.ended);
    EXPECT_EQ(twice.outcome.status, -1);
    EXPECT_EQ(twice.outcome.err, "line 2: outputfilename b\noutputfilename previously declared!\n");
}

// ---- Classes ----

TEST(ParameterSettings, AClassHasANameAndAColour)
{
    CompleteParameters file(
        "class 3: \"water\":0 10 255\nclass 0:\"zero: none\":1 2 3\nclass 999 :last one:  7 8 9\n");
    EXPECT_FALSE(file.outcome.ended);
    const ZELClassStruct& classes = file->ClassInfo;
    EXPECT_EQ(text(classes.name[3]), "water");
    EXPECT_EQ(classes.Red[3], 0);
    EXPECT_EQ(classes.Green[3], 10);
    EXPECT_EQ(classes.Blue[3], 255);
    // A colon ends a label inside its quotes too, and what follows it is no colour.
    EXPECT_EQ(text(classes.name[0]), "zero");
    EXPECT_EQ(classes.Red[0], 0);
    EXPECT_EQ(text(classes.name[999]), "last one");
    EXPECT_EQ(classes.Red[999], 7);
    EXPECT_EQ(classes.Green[999], 8);
    EXPECT_EQ(classes.Blue[999], 9);
    EXPECT_EQ(classes.Count[3], 0);
    EXPECT_EQ(classes.name[4], nullptr);
}

TEST(ParameterSettings, AQuoteAfterTheLabelOfAClassIsNoLabel)
{
    CompleteParameters file("class 7:water:1 2 3 \"deep\"\n");
    EXPECT_EQ(text(file->ClassInfo.name[7]), "water");
    EXPECT_EQ(file->ClassInfo.Red[7], 1);
    EXPECT_EQ(file->ClassInfo.Blue[7], 3);
}

TEST(ParameterSettings, AClassWithoutColoursIsBlack)
{
    CompleteParameters file("class 5:\"cloud\"\nclass 6:\"snow\":1\n");
    EXPECT_FALSE(file.outcome.ended);
    EXPECT_EQ(text(file->ClassInfo.name[5]), "cloud");
    EXPECT_EQ(file->ClassInfo.Red[5], 0);
    EXPECT_EQ(text(file->ClassInfo.name[6]), "snow");
    EXPECT_EQ(file->ClassInfo.Red[6], 1);
    EXPECT_EQ(file->ClassInfo.Green[6], 0);
}

TEST(ParameterSettings, AClassNamedAgainIsReplaced)
{
    CompleteParameters file("class 5:\"cloud\":1 2 3\nclass 5:\"snow\":4 5 6\n");
    EXPECT_EQ(text(file->ClassInfo.name[5]), "snow");
    EXPECT_EQ(file->ClassInfo.Blue[5], 6);
}

TEST(ParameterSettings, AClassWithoutAColonEndsTheProcess)
{
    CompleteParameters file("class 3 water 0 0 255\n");
    EXPECT_TRUE(file.outcome.ended);
    EXPECT_EQ(file.outcome.status, -1);
    EXPECT_EQ(file.outcome.err, "line 1: class 3 water 0 0 255\nmissing colon separator\n");
}

TEST(ParameterSettings, AClassOutsideTheTableIsReportedAndIgnored)
{
    CompleteParameters file("class 1000:\"a\":1 2 3\nclass -1:\"b\":1 2 3\n");
    EXPECT_FALSE(file.outcome.ended);
    EXPECT_EQ(file.outcome.err, "line 1: class 1000 is not in 0..999, ignored\n"
                                "line 2: class -1 is not in 0..999, ignored\n");
}

// ---- Settings ----

TEST(ParameterSettings, TheRandomSeedIsAnInteger)
{
    EXPECT_EQ(CompleteParameters("randomseed 12345\n")->RandomSeed, 12345);
    EXPECT_EQ(CompleteParameters("randomseed -7\n")->RandomSeed, -7);
    EXPECT_EQ(CompleteParameters("randomseed none\n")->RandomSeed, 0);
}

TEST(ParameterSettings, RequirementsCanBeSetAside)
{
    EXPECT_EQ(CompleteParameters("ignorerequirements\n")->IgnoreRequirementFlag, 1);
    EXPECT_EQ(CompleteParameters("IgnoreRequirements\n")->IgnoreRequirementFlag, 1);
}

TEST(ParameterSettings, SubSamplingIsByNameOrEveryNth)
{
    const struct {
        const char* word;
        int method;
    } rows[] = {{"none", 0}, {"log10", 1}, {"log", 2},   {"sqrt", 3},
                {"SQRT", 3}, {"4", -4},    {"other", 0}, {"99999999999", -INT_MAX}};
    for (const auto& row : rows)
        EXPECT_EQ(
            CompleteParameters(std::string("subsample ") + row.word + "\n")->SubSamplingMethod,
            row.method)
            << row.word;
}

TEST(ParameterSettings, ClassTypesHaveNames)
{
    EXPECT_EQ(CompleteParameters("classtype pixel\n")->ClassType, 0);
    EXPECT_EQ(CompleteParameters("classtype Primary\n")->ClassType, 1);
    EXPECT_EQ(CompleteParameters("classtype elementary\n")->ClassType, 2);
    CompleteParameters file("classtype primary\n\nclasstype secondary\n");
    EXPECT_FALSE(file.outcome.ended);
    EXPECT_EQ(file->ClassType, 1);
    EXPECT_EQ(file.outcome.err, "line 3: unknown class type\n");
}

// Two of them are not the index of their label: ikonos, and msg, which has no label.
TEST(ParameterSettings, DataTypesHaveNames)
{
    const struct {
        const char* word;
        int code;
    } rows[] = {{"generic", 0},    {"avhrr_lac", 1},    {"avhrr_gac", 2}, {"mas", 3},
                {"virs", 4},       {"landsat_tm", 5},   {"goes", 6},      {"modis", 7},
                {"aster", 8},      {"landsat_mss", 11}, {"ikonos", 13},   {"msg", 14},
                {"LANDSAT_TM", 5}, {"Goes", 6}};
    for (const auto& row : rows) {
        CompleteParameters file(std::string("datatype ") + row.word + "\n");
        EXPECT_EQ(file->DataType, row.code) << row.word;
        EXPECT_EQ(file.outcome.err, "");
    }
    CompleteParameters file("datatype modis\ndatatype landsat\n");
    EXPECT_FALSE(file.outcome.ended);
    EXPECT_EQ(file->DataType, 7);
    EXPECT_EQ(file.outcome.err, "line 2: unknown data type\n");
}

TEST(ParameterSettings, TheSettingsHaveLabels)
{
    const char* const methods[] = {"None", "Log10", "Log", "Sqrt"};
    for (int i = 0; i < 4; ++i) EXPECT_STREQ(subSamplingMethodLabel[i], methods[i]);
    const char* const types[] = {"Pixel", "Primary", "Elementary"};
    for (int i = 0; i < 3; ++i) EXPECT_STREQ(classTypeLabel[i], types[i]);
    const char* const sensors[] = {"Generic", "AVHRR LAC",     "AVHRR GAC",      "MAS",
                                   "VIRS",    "LANDSAT TM",    "GOES",           "MODIS",
                                   "ASTER",   "Cirrovue VIRS", "Cirrovue MODIS", "Landsat MSS",
                                   "IKONOS",  "Unsupported"};
    for (int i = 0; i < 14; ++i) EXPECT_STREQ(dataTypeLabel[i], sensors[i]);
}

}  // namespace
