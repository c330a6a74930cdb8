// Mask parameter files: classifiers, settings, definitions and filters.
#include <gtest/gtest.h>

#include <unistd.h>

#include "support/mask_parameters.hpp"

namespace {

using zel_test::block;
using zel_test::Block;
using zel_test::Bytes;
using zel_test::elements;
using zel_test::entry;
using zel_test::MaskParameters;
using zel_test::noFile;
using zel_test::text;

// ---- Classifiers ----

TEST(MaskCommand, AClassifierFileIsAHeaderAndTheClassifier)
{
    Block file("");
    ASSERT_TRUE(file.succeeded());
    const ZELClassifierList& c = *file.mask().ClassifierListHead;
    ASSERT_EQ(c.ClassifierByteCount, 3);
    EXPECT_EQ(Bytes(c.Classifier, c.Classifier + 3), (Bytes{1, 2, 3}));
    EXPECT_EQ(c.ClassifierType, 0);
    EXPECT_EQ(c.ClassifierLevel, 0);
    EXPECT_EQ(c.ClassifierIndex, 0);
    EXPECT_EQ(c.Parameters->RandomSeed, 7);
    EXPECT_EQ(c.Parameters->ClassInfo.Count[3], 258);
    EXPECT_STREQ(c.Parameters->FeatureInfo.Label[0], "sum");
    EXPECT_EQ(c.Parameters->FeatureInfo.Max[0], 1.5f);
}

TEST(MaskCommand, AClassifierFileMayEndAfterItsHeader)
{
    Block file("classifiername @/empty\n");
    ASSERT_TRUE(file.succeeded());
    ASSERT_EQ(file.mask().numClassifiers, 2);
    EXPECT_EQ(file.mask().ClassifierListHead->ClassifierByteCount, 0);
    EXPECT_EQ(file.mask().ClassifierListHead->Classifier, nullptr);
    EXPECT_EQ(file.mask().ClassifierList->ClassifierByteCount, 3);
}

TEST(MaskCommand, ClassifierFilesAreRemembered)
{
    Block file("classifiername @/empty\n");
    ASSERT_TRUE(file.succeeded());
    const IOStruct& io = file.rules().IO;
    ASSERT_EQ(io.numInputFiles, 2);
    EXPECT_EQ(text(io.inputListHead->Filename), file.dir.path("empty"));
    EXPECT_EQ(text(io.inputList->Filename), file.dir.path("one"));
}

TEST(MaskCommand, ClassifiersHaveTypesAndLevels)
{
    Block file("masktype hier\nclassifiername @/one 7\nclassifiername @/one 0 99\n"
               "classifiername @/one 2147483647 1\n");
    ASSERT_TRUE(file.succeeded());
    const ZELClassifierList* c = file.mask().ClassifierListHead;
    EXPECT_EQ(c->ClassifierType, 7);
    EXPECT_EQ(c->ClassifierLevel, 0);
    c = c->next;
    EXPECT_EQ(c->ClassifierType, 0);
    EXPECT_EQ(c->ClassifierLevel, 99);
    c = c->next;
    EXPECT_EQ(c->ClassifierType, 2147483647);
    EXPECT_EQ(c->ClassifierLevel, 1);
    EXPECT_EQ(c->ClassifierIndex, 2);
}

TEST(MaskCommand, LevelsBeyondTheirRangeEndTheProcess)
{
    for (const char* level : {"-1", "100", "2147483647"}) {
        Block file(std::string("masktype hierarchical\nclassifiername x 0 ") + level + "\n");
        EXPECT_TRUE(file.failed(std::string("line 3: classifiername x 0 ") + level +
                                "\ninvalid classifier level " + level + "\n"));
    }
    Block untyped("classifiername x 0 100\n");
    EXPECT_TRUE(untyped.failed("line 2: classifiername x 0 100\n"
                               "invalid classifier level 100\n"));
}

TEST(MaskCommand, TheTypeCaseHasLevel0Only)
{
    Block file("masktype case\nclassifiername x 0 1\n");
    EXPECT_TRUE(file.failed("line 3: classifiername x 0 1\ninvalid classifier level 1\n"));
    Block zero("masktype case\nclassifiername @/one 0 0\n");
    EXPECT_TRUE(zero.succeeded());
}

// The type may be given after its classifiers, or be left at case.
TEST(MaskCommand, LevelsAreCheckedAgainAtTheEndOfTheMask)
{
    Block late("classifiername @/one 0 5\nmasktype hier\n");
    ASSERT_TRUE(late.succeeded());
    EXPECT_EQ(late.mask().ClassifierListHead->ClassifierLevel, 5);
    Block changed("masktype hier\nclassifiername @/one 0 5\nmasktype case\n");
    EXPECT_TRUE(changed.failed("line 6: endmask\ninvalid classifier level 5\n"));
    Block silent("classifiername @/one 0 5\n");
    EXPECT_TRUE(silent.failed("line 4: endmask\ninvalid classifier level 5\n"));
}

// Each mask has a type of its own.
TEST(MaskCommand, TheTypeOfOneMaskIsNotThatOfTheNext)
{
    MaskParameters file(block("masktype hier\nclassifiername @/one 0 5\n") +
                        block("classifiername @/one 0 5\n"));
    EXPECT_TRUE(file.failed("line 9: endmask\ninvalid classifier level 5\n"));
}

TEST(MaskCommand, UnknownTypesEndTheProcess)
{
    Block negative("classifiername x -1\n");
    EXPECT_TRUE(negative.failed("line 2: classifiername x -1\ninvalid classifier type: -1\n"));
    for (const char* words : {"two", "1.5", "2147483648", "1x", "0 one", "0 1."}) {
        Block file(std::string("classifiername x ") + words + "\n");
        EXPECT_TRUE(file.failed(std::string("line 2: classifiername x ") + words +
                                "\nsyntax error line 2\n"));
    }
}

TEST(MaskCommand, AClassifierFileThatDoesNotOpenEndsTheProcess)
{
    Block file("classifiername /nowhere/c 1\n");
    EXPECT_TRUE(file.failed("line 2: classifiername /nowhere/c 1\n"
                            "cannot open input file /nowhere/c\n" +
                            noFile));
    Block unnamed("classifiername\n");
    EXPECT_TRUE(unnamed.failed("line 2: classifiername\ncannot open input file \n" + noFile));
}

TEST(MaskCommand, AClassifierFileWithoutAHeaderEndsTheProcess)
{
    MaskParameters file("beginmask\nclassifiername @/m.par\n");
    EXPECT_TRUE(file.failed("Error: file does not contain ZEL Feature header\n"));
    EXPECT_EQ(zel_test::openDescriptors(), [] {
        MaskParameters again("beginmask\nclassifiername @/m.par\n");
        return zel_test::openDescriptors();
    }());
}

// A file of holes, which takes no room.
TEST(MaskCommand, AClassifierOf2GigabytesEndsTheProcess)
{
    MaskParameters file("");
    const auto large = static_cast<off_t>(build(zel_test::fullHeader()).bytes.size()) + 2147483648;
    if (truncate(file.dir.path("empty").c_str(), large) != 0) GTEST_SKIP() << "no large files";
    zel_test::writeFile(file.dir.path("m.par"),
                        "beginmask\nclassifiername " + file.dir.path("empty") + "\n");
    file.read(file.dir.path("m.par"));
    EXPECT_TRUE(file.failed("line 2: classifiername " + file.dir.path("empty") +
                            "\nclassifier is too large\n"));
}

// ---- Settings and texts ----

TEST(MaskCommand, MaskTypesAreReadByName)
{
    EXPECT_EQ(Block("masktype case\n").rules().MaskType, ZEL_MASK_CASE);
    EXPECT_EQ(Block("masktype hierarchical\n").rules().MaskType, ZEL_MASK_HIERARCHICAL);
    EXPECT_EQ(Block("masktype Hier\n").rules().MaskType, ZEL_MASK_HIERARCHICAL);
}

TEST(MaskCommand, AnotherMaskTypeEndsTheProcess)
{
    for (const std::string word : {"hierarchy", "1", "cases"}) {
        Block file("masktype " + word + "\n");
        EXPECT_TRUE(file.failed("line 2: masktype " + word + "\ninvalid classifier type: " + word +
                                "\n  valid types are: \n  case\n  hierarchical or hier\n"));
    }
    Block none("masktype\n");
    EXPECT_TRUE(none.failed("line 2: masktype\ninvalid classifier type: \n"
                            "  valid types are: \n  case\n  hierarchical or hier\n"));
}

TEST(MaskCommand, TheNameToSaveUnderIsKept)
{
    Block file("savemaskfilename a.mask\n");
    ASSERT_TRUE(file.succeeded());
    EXPECT_EQ(text(file.rules().IO.outputFilename), "a.mask");
    EXPECT_EQ(text(Block("savemaskfilename a\nsavemaskfilename b c\n").rules().IO.outputFilename),
              "b");
}

TEST(MaskCommand, TitlesAndCommentsAreTexts)
{
    Block file("title the title\ncomment one\ncomment  \"quoted : text\" and more\ncomment\n");
    ASSERT_TRUE(file.succeeded());
    EXPECT_EQ(text(entry(file.rules().Title).Label), "the title");
    EXPECT_EQ(file.rules().Comments.num, 3);
    EXPECT_EQ(text(entry(file.rules().Comments).Label), "one");
    EXPECT_EQ(text(entry(file.rules().Comments, 1).Label), "quoted : text");
    EXPECT_EQ(text(entry(file.rules().Comments, 2).Label), "");
}

// ---- Definitions ----

TEST(MaskCommand, DefinitionsInABlockAreTheMasks)
{
    MaskParameters file(block("condition bright: Ch1 > 100\nvariable half:Ch2/2\n"
                              "define both:bright && half\n") +
                        block(""));
    ASSERT_TRUE(file.succeeded());
    EXPECT_EQ(file.list.Conditions.num, 0);
    const CommandStruct& conditions = *file.rules().FilterConditions;
    EXPECT_EQ(conditions.num, 3);
    EXPECT_EQ(text(entry(conditions).Label), "bright");
    EXPECT_EQ(text(entry(conditions).Condition), " Ch1 > 100");
    EXPECT_EQ(text(entry(conditions, 1).Label), "half");
    EXPECT_EQ(elements(entry(conditions, 2).Condition), "2:1 1:100 0:9 2:2 1:2 0:15 0:4");
    EXPECT_EQ(file.rules(1).FilterConditions->num, 0);
}

TEST(MaskCommand, DefinitionsOutsideAreForAllMasksThatFollow)
{
    MaskParameters file("define a:Ch1\n" + block("define c:a+1\n") + "define b:a*2\n" +
                        block("preclassfilter b:3\n"));
    ASSERT_TRUE(file.succeeded());
    EXPECT_EQ(file.list.Conditions.num, 2);
    EXPECT_EQ(text(entry(file.list.Conditions, 1).Label), "b");
    const CommandStruct& first = *file.rules(0).FilterConditions;
    EXPECT_EQ(first.num, 2);
    EXPECT_EQ(text(entry(first).Label), "a");
    EXPECT_EQ(elements(entry(first).Condition), "2:1");
    EXPECT_EQ(text(entry(first).Condition), "Ch1");
    EXPECT_EQ(elements(entry(first, 1).Condition), "2:1 1:1 0:12");
    const CommandStruct& second = *file.rules(1).FilterConditions;
    EXPECT_EQ(second.num, 2);
    EXPECT_EQ(text(entry(second, 1).Label), "b");
    EXPECT_NE(entry(second).Condition, entry(first).Condition) << "copies of their own";
    EXPECT_EQ(elements(entry(file.rules(1).PreClassFilters).Condition), "2:1 1:2 0:13");
}

// After the line, as for every error on a line of a mask.
TEST(MaskCommand, ADefinitionWithoutAColonIsASyntaxError)
{
    for (const std::string word : {"condition", "variable", "define"}) {
        const std::string line = word + " a Ch1\n";
        EXPECT_TRUE(MaskParameters(line).failed("line 1: " + line + "syntax error line 1\n"));
        EXPECT_TRUE(Block(line).failed("line 2: " + line + "syntax error line 2\n"));
    }
}

TEST(MaskCommand, ADefinitionThatDoesNotCompileEndsTheProcess)
{
    EXPECT_TRUE(MaskParameters("define a:(Ch1\n")
                    .failed("line 1: define a:(Ch1\nparse error: missing right parenthesis\n"));
    EXPECT_TRUE(Block("condition a:Ch1)\n")
                    .failed("line 2: condition a:Ch1)\nparse error: missing left parenthesis\n"));
}

// ---- Filters ----

TEST(MaskCommand, APreClassFilterIsAConditionAndAClassList)
{
    Block file("define bright:Ch1 > 100\npreclassfilter Ch1 > 100: 3,4\npreclassfilter bright:7\n");
    ASSERT_TRUE(file.succeeded());
    const CommandStruct& filters = file.rules().PreClassFilters;
    EXPECT_EQ(filters.num, 2);
    EXPECT_EQ(text(entry(filters).Condition), "Ch1 > 100");
    EXPECT_EQ(elements(entry(filters).Condition), "2:1 1:100 0:9");
    EXPECT_EQ(text(entry(filters).Action), " 3,4");
    EXPECT_EQ(elements(entry(filters).Action), "1:3 1:4 0:1");
    EXPECT_EQ(entry(filters).Label, nullptr);
    EXPECT_EQ(elements(entry(filters, 1).Condition), "2:1 1:100 0:9");
    EXPECT_EQ(elements(entry(filters, 1).Action), "1:7");
}

TEST(MaskCommand, APostClassFilterIsAConditionAndAnAction)
{
    Block file("postclassfilter Ch1==0:skip_pixel\npostclassfilter 1 : class = 5\n");
    ASSERT_TRUE(file.succeeded());
    const CommandStruct& filters = file.rules().PostClassFilters;
    EXPECT_EQ(filters.num, 2);
    EXPECT_EQ(elements(entry(filters).Condition), "2:1 1:0 0:6");
    EXPECT_EQ(elements(entry(filters).Action), "0:0");
    EXPECT_EQ(elements(entry(filters, 1).Action), "4:0 1:5 0:2");
}

TEST(MaskCommand, AFilterMayHaveALabel)
{
    Block file("preclassfilter 1:3:\"no clouds\"\npostclassfilter 1:class=5:five\n");
    ASSERT_TRUE(file.succeeded());
    EXPECT_EQ(text(entry(file.rules().PreClassFilters).Label), "no clouds");
    EXPECT_EQ(text(entry(file.rules().PostClassFilters).Label), "five");
    EXPECT_EQ(elements(entry(file.rules().PostClassFilters).Action), "4:0 1:5 0:2");
}

TEST(MaskCommand, AConditionThatDoesNotCompileEndsTheProcess)
{
    for (const std::string word : {"preclassfilter", "postclassfilter"}) {
        Block file(word + " Ch1 > :3\n");
        EXPECT_TRUE(
            file.failed("line 2: " + word + " Ch1 > :3\nCondition parse error: syntax error\n"));
        Block list(word + " 3,4:5\n");
        EXPECT_TRUE(
            list.failed("line 2: " + word + " 3,4:5\nCondition parse error: syntax error\n"));
    }
}

TEST(MaskCommand, AnActionThatDoesNotCompileEndsTheProcess)
{
    Block list("preclassfilter 1:3,x\n");
    EXPECT_TRUE(list.failed("line 2: preclassfilter 1:3,x\nAction parse error: "
                            "illegal character in constant or unknown variable\n"));
    Block action("postclassfilter 1:class=1,register1=2\n");
    EXPECT_TRUE(action.failed("line 2: postclassfilter 1:class=1,register1=2\n"
                              "Action parse error: syntax error\n"));
    Block several("postclassfilter 1:class=(register1=2)\n");
    EXPECT_TRUE(several.failed("line 2: postclassfilter 1:class=(register1=2)\n"
                               "Action parse error: only one equal sign allowed per "
                               "expression\n"));
}

TEST(MaskCommand, APostClassFilterWithoutAnActionEndsTheProcess)
{
    for (const std::string line : {"postclassfilter Ch1", "postclassfilter Ch1:"}) {
        Block file(line + "\n");
        EXPECT_TRUE(file.failed("line 2: " + line + "\nAction parse error: syntax error\n"));
    }
}

// A class list need not have a value, and so may be empty, as in a mask file.
TEST(MaskCommand, APreClassFilterMayHaveAnEmptyClassList)
{
    for (const char* line :
         {"preclassfilter Ch1", "preclassfilter Ch1:", "preclassfilter Ch1: :l"}) {
        Block file(line + std::string("\n"));
        ASSERT_TRUE(file.succeeded()) << line;
        const CommandListStruct filter = entry(file.rules().PreClassFilters);
        EXPECT_EQ(elements(filter.Condition), "2:1") << line;
        ASSERT_NE(filter.Action, nullptr) << line;
        EXPECT_EQ(filter.Action->numStackElements, 0) << line;
        const zel_test::ReadMask again(zel_test::written(&file.mask()));
        ASSERT_FALSE(again.outcome.ended) << again.outcome.err;
        EXPECT_EQ(
            zel_test::textOf(again.mask.get()).find("pre-class filters = 1\n") == std::string::npos,
            false)
            << line;
    }
}

// The text is looked for after the word in lower case.
TEST(MaskCommand, AFilterInUpperCaseIsASyntaxError)
{
    for (const std::string line : {"PreClassFilter 1:3\n", "POSTCLASSFILTER 1:class=3\n"})
        EXPECT_TRUE(Block(line).failed("line 2: " + line + "syntax error line 2\n"));
}

}  // namespace
