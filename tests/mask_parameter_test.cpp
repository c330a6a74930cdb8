// Mask parameter files: every command, every rule of the blocks, every message.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstring>

#include "support/mask_bytes.hpp"
#include "support/mask_text.hpp"

namespace {

using zel_test::Bytes;
using zel_test::elements;
using zel_test::entry;
using zel_test::Outcome;
using zel_test::text;

const std::string noFile = "system error code:: No such file or directory\n";

// A mask parameter file, read. "@" stands for a directory with two classifier files: "one" with the
// bytes 1, 2, 3 behind its header, and "empty" with none.
class MaskParameters {
public:
    explicit MaskParameters(std::string lines)
    {
        Bytes one = build(zel_test::fullHeader()).bytes;
        zel_test::writeFile(dir.path("empty"), one);
        one.insert(one.end(), {1, 2, 3});
        zel_test::writeFile(dir.path("one"), one);
        for (std::size_t at = lines.find('@'); at != std::string::npos; at = lines.find('@'))
            lines.replace(at, 1, dir.path());
        zel_test::writeFile(dir.path("m.par"), lines);
        read(dir.path("m.par"));
    }
    ~MaskParameters() { ZELFeatureFreeMaskList(&list); }
    MaskParameters(const MaskParameters&) = delete;
    MaskParameters& operator=(const MaskParameters&) = delete;

    void read(const std::string& path)
    {
        std::memset(&list, 0xA5, sizeof list);
        outcome = zel_test::runFeature([&] { ZELParseMaskParameterFile(path.c_str(), &list); });
    }
    ZELFeatureMaskType& mask(int n = 0)
    {
        ZELFeatureMaskType* found = list.MaskHead;
        while (found && n-- > 0) found = found->next;
        if (!found) throw std::out_of_range("no such mask");
        return *found;
    }
    ZELMaskParameterType& rules(int n = 0) { return mask(n).MaskParameters; }

    // Ended with that text on standard error, and nothing on standard output.
    testing::AssertionResult failed(const std::string& message) const
    {
        if (!outcome.ended || outcome.status != -1)
            return testing::AssertionFailure() << "no ending with -1: " << outcome.err;
        if (outcome.err != message)
            return testing::AssertionFailure() << outcome.err << "instead of\n" << message;
        if (!outcome.out.empty()) return testing::AssertionFailure() << outcome.out;
        return testing::AssertionSuccess();
    }
    testing::AssertionResult succeeded() const
    {
        if (outcome.ended || !outcome.err.empty())
            return testing::AssertionFailure() << outcome.err;
        return testing::AssertionSuccess();
    }

    zel_test::TempDir dir;
    ZELFeatureMaskListType list;
    Outcome outcome;
};

// A mask block around lines, of which the first is line 2.
std::string block(const std::string& lines)
{
    return "beginmask\n" + lines + "classifiername @/one\nendmask\n";
}

struct Block : MaskParameters {
    explicit Block(const std::string& lines) : MaskParameters(block(lines)) {}
};

// ---- The file ----

TEST(MaskParameter, AFileThatDoesNotOpenEndsTheProcess)
{
    MaskParameters file("");
    file.read("/nowhere/m.par");
    EXPECT_TRUE(file.failed("cannot open mask parameter filename /nowhere/m.par\n" + noFile));
    EXPECT_EQ(file.list.NumMasks, 0);
    EXPECT_EQ(file.list.MaskHead, nullptr);
}

TEST(MaskParameter, TheSmallestFileGivesAMask)
{
    Block file("");
    ASSERT_TRUE(file.succeeded());
    EXPECT_EQ(file.outcome.out, "");
    EXPECT_EQ(file.list.NumMasks, 1);
    EXPECT_EQ(file.list.Mask, &file.mask());
    EXPECT_EQ(file.mask().ZELChannelIndex, 0);
    EXPECT_EQ(file.mask().numClassifiers, 1);
    EXPECT_EQ(file.rules().MaskType, ZEL_MASK_CASE);
    EXPECT_EQ(file.rules().PreClassFilters.num, 0);
    EXPECT_EQ(file.rules().PreProcessHead, nullptr);
    EXPECT_EQ(file.rules().PostProcessHead, nullptr);
    EXPECT_EQ(file.rules().IO.outputFilename, nullptr);
}

TEST(MaskParameter, BlankLinesAndCommentsAreSkippedButCounted)
{
    Block file("\n   \t\n# endmask\n  #nonsense\nnonsense\n");
    ASSERT_TRUE(file.succeeded());
    EXPECT_EQ(file.outcome.out, "unknown command on line 6\nignored...\n");
}

TEST(MaskParameter, CommandsMatchWithoutRegardToCase)
{
    MaskParameters file(
        "BeginMask\nMASKTYPE HIER\nTitle a\nClassifierName @/one\nBEGINPREPROCESS\nCh1=1\n"
        "EndPreProcess\nENDMASK\n");
    ASSERT_TRUE(file.succeeded());
    EXPECT_EQ(file.rules().MaskType, ZEL_MASK_HIERARCHICAL);
    EXPECT_EQ(text(entry(file.rules().Title).Label), "a");
    EXPECT_NE(file.rules().PreProcessHead, nullptr);
}

TEST(MaskParameter, ALastLineWithoutANewlineIsLost)
{
    const std::string whole = block("");
    MaskParameters file(whole.substr(0, whole.size() - 1));
    EXPECT_TRUE(file.failed("End of file\nerror: missing endmask statement\n"));
}

TEST(MaskParameter, UnknownCommandsAreReportedAndPassedOver)
{
    MaskParameters file("feature Ch1\n" + block("inputfilename x\n") + "endmasks\n");
    ASSERT_TRUE(file.succeeded());
    EXPECT_EQ(file.outcome.out, "unknown command on line 1\nignored...\n"
                                "unknown command on line 3\nignored...\n"
                                "unknown command on line 6\nignored...\n");
    EXPECT_EQ(file.list.NumMasks, 1);
}

// ---- Blocks ----

TEST(MaskParameter, MasksAreNumberedInTheOrderOfTheirBlocks)
{
    MaskParameters file(block("title a\n") + block("title b\n") + block("title c\n"));
    ASSERT_TRUE(file.succeeded());
    EXPECT_EQ(file.list.NumMasks, 3);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(file.mask(i).ZELChannelIndex, i);
        EXPECT_EQ(text(entry(file.rules(i).Title).Label), std::string(1, "abc"[i]));
        EXPECT_EQ(file.mask(i).numClassifiers, 1);
    }
    EXPECT_EQ(file.list.Mask, &file.mask(2));
    EXPECT_EQ(file.mask(2).next, nullptr);
}

TEST(MaskParameter, ACommandOfAMaskOutsideOfABlockEndsTheProcess)
{
    for (const char* line :
         {"preclassfilter Ch1:3", "postclassfilter Ch1:class=1", "comment c", "title t",
          "classifiername @/one", "masktype case", "savemaskfilename x", "endmask",
          "beginpreprocess", "endpreprocess", "beginpostprocess", "endpostprocess"}) {
        for (const std::string& before : {std::string(), block("")}) {
            MaskParameters file(before + "\n" + line + "\n");
            std::string shown = line;
            if (shown.find('@') != std::string::npos)
                shown.replace(shown.find('@'), 1, file.dir.path());
            EXPECT_TRUE(file.failed("line " + std::string(before.empty() ? "2" : "5") + ": " +
                                    shown + "\nerror: command must be within a mask block\n"));
        }
    }
}

TEST(MaskParameter, ABlockInsideABlockEndsTheProcess)
{
    MaskParameters file("beginmask\nclassifiername @/one\n  beginmask\n");
    EXPECT_TRUE(file.failed("line 3:   beginmask\nerror: missing endmask before beginmask\n"));
    MaskParameters inProgram("beginmask\nbeginpreprocess\nCh1=1\nbeginmask\n");
    EXPECT_TRUE(inProgram.failed("line 4: beginmask\nerror: missing endmask before beginmask\n"));
}

TEST(MaskParameter, TheEndOfAMaskInsideAProgramEndsTheProcess)
{
    Block post("beginpostprocess\nCh1=1\n");
    EXPECT_TRUE(post.failed("line 5: endmask\n"
                            "error: endmask before postprocess block is complete\n"));
    Block pre("beginpreprocess\n");
    EXPECT_TRUE(pre.failed("line 4: endmask\n"
                           "error: endmask before preprocess block is complete\n"));
}

TEST(MaskParameter, AProgramInsideAProgramEndsTheProcess)
{
    Block post("beginpreprocess\nbeginpostprocess\n");
    EXPECT_TRUE(post.failed("line 3: beginpostprocess\n"
                            "error: beginpostprocess before preprocess block is complete\n"));
    Block pre("beginpostprocess\nbeginpreprocess\n");
    EXPECT_TRUE(pre.failed("line 3: beginpreprocess\n"
                           "error: beginpreprocess before postprocess block is complete\n"));
    Block same("beginpreprocess\nbeginpreprocess\n");
    EXPECT_TRUE(same.failed("line 3: beginpreprocess\n"
                            "error: beginpreprocess before preprocess block is complete\n"));
}

TEST(MaskParameter, TheEndOfAProgramThatWasNotBegunEndsTheProcess)
{
    Block pre("endpreprocess\n");
    EXPECT_TRUE(pre.failed("line 2: endpreprocess\n"
                           "error: missing beginpreprocess before endpreprocess\n"));
    Block other("beginpreprocess\nendpostprocess\n");
    EXPECT_TRUE(other.failed("line 3: endpostprocess\n"
                             "error: missing beginpostprocess before endpostprocess\n"));
}

TEST(MaskParameter, ASecondProgramOfAKindEndsTheProcess)
{
    Block file("beginpreprocess\nCh1=1\nendpreprocess\nbeginpreprocess\n");
    EXPECT_TRUE(file.failed("line 5: beginpreprocess\n"
                            "error: preprocess block previously declared\n"));
}

TEST(MaskParameter, TheEndOfTheFileInsideABlockEndsTheProcess)
{
    MaskParameters mask("beginmask\nclassifiername @/one\n");
    EXPECT_TRUE(mask.failed("End of file\nerror: missing endmask statement\n"));
    MaskParameters pre("beginmask\nclassifiername @/one\nbeginpreprocess\nCh1=1\n");
    EXPECT_TRUE(pre.failed("End of file\nerror: missing endpreprocess statement\n"));
    MaskParameters post("beginmask\nclassifiername @/one\nbeginpostprocess\n");
    EXPECT_TRUE(post.failed("End of file\nerror: missing endpostprocess statement\n"));
}

// ---- Classifiers ----

const std::string noClassifiers = "error: no classifier files specified in parameter file\n"
                                  "add at least one line of the following to the parameter file:\n"
                                  "   classifiername <filename>\n";

TEST(MaskParameter, AFileWithoutClassifiersEndsTheProcess)
{
    EXPECT_TRUE(MaskParameters("").failed(noClassifiers));
    EXPECT_TRUE(MaskParameters("define a:Ch1\n").failed(noClassifiers));
    EXPECT_TRUE(MaskParameters("beginmask\nendmask\n").failed(noClassifiers));
}

// A mask without classifiers could not be stored.
TEST(MaskParameter, EveryMaskNeedsAClassifier)
{
    EXPECT_TRUE(MaskParameters("beginmask\nendmask\n" + block("")).failed(noClassifiers));
    EXPECT_TRUE(MaskParameters(block("") + "beginmask\nendmask\n").failed(noClassifiers));
}

TEST(MaskParameter, AClassifierFileIsAHeaderAndTheClassifier)
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

TEST(MaskParameter, AClassifierFileMayEndBehindItsHeader)
{
    Block file("classifiername @/empty\n");
    ASSERT_TRUE(file.succeeded());
    ASSERT_EQ(file.mask().numClassifiers, 2);
    EXPECT_EQ(file.mask().ClassifierListHead->ClassifierByteCount, 0);
    EXPECT_EQ(file.mask().ClassifierListHead->Classifier, nullptr);
    EXPECT_EQ(file.mask().ClassifierList->ClassifierByteCount, 3);
}

TEST(MaskParameter, ClassifierFilesAreRemembered)
{
    Block file("classifiername @/empty\n");
    ASSERT_TRUE(file.succeeded());
    const IOStruct& io = file.rules().IO;
    ASSERT_EQ(io.numInputFiles, 2);
    EXPECT_EQ(text(io.inputListHead->Filename), file.dir.path("empty"));
    EXPECT_EQ(text(io.inputList->Filename), file.dir.path("one"));
}

TEST(MaskParameter, ClassifiersHaveTypesAndLevels)
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

TEST(MaskParameter, LevelsBeyondTheirRangeEndTheProcess)
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

TEST(MaskParameter, OfATypeCaseThereIsLevel0Only)
{
    Block file("masktype case\nclassifiername x 0 1\n");
    EXPECT_TRUE(file.failed("line 3: classifiername x 0 1\ninvalid classifier level 1\n"));
    Block zero("masktype case\nclassifiername @/one 0 0\n");
    EXPECT_TRUE(zero.succeeded());
}

// The type may be given behind its classifiers, or be left at case.
TEST(MaskParameter, LevelsAreCheckedAgainAtTheEndOfTheMask)
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
TEST(MaskParameter, TheTypeOfOneMaskIsNotThatOfTheNext)
{
    MaskParameters file(block("masktype hier\nclassifiername @/one 0 5\n") +
                        block("classifiername @/one 0 5\n"));
    EXPECT_TRUE(file.failed("line 9: endmask\ninvalid classifier level 5\n"));
}

TEST(MaskParameter, TypesThatAreNoneEndTheProcess)
{
    Block negative("classifiername x -1\n");
    EXPECT_TRUE(negative.failed("line 2: classifiername x -1\ninvalid classifier type: -1\n"));
    for (const char* words : {"two", "1.5", "2147483648", "1x", "0 one", "0 1."}) {
        Block file(std::string("classifiername x ") + words + "\n");
        EXPECT_TRUE(file.failed("syntax error line 2\n")) << words;
    }
}

TEST(MaskParameter, AClassifierFileThatDoesNotOpenEndsTheProcess)
{
    Block file("classifiername /nowhere/c 1\n");
    EXPECT_TRUE(file.failed("line 2: classifiername /nowhere/c 1\n"
                            "cannot open input file /nowhere/c\n" +
                            noFile));
    Block unnamed("classifiername\n");
    EXPECT_TRUE(unnamed.failed("line 2: classifiername\ncannot open input file \n" + noFile));
}

TEST(MaskParameter, AClassifierFileWithoutAHeaderEndsTheProcess)
{
    MaskParameters file("beginmask\nclassifiername @/m.par\n");
    EXPECT_TRUE(file.failed("Error: file does not contain ZEL Feature header\n"));
    EXPECT_EQ(zel_test::openDescriptors(), [] {
        MaskParameters again("beginmask\nclassifiername @/m.par\n");
        return zel_test::openDescriptors();
    }());
}

// A file of holes, which takes no room.
TEST(MaskParameter, AClassifierOf2GigabytesEndsTheProcess)
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

TEST(MaskParameter, MaskTypesAreReadByName)
{
    EXPECT_EQ(Block("masktype case\n").rules().MaskType, ZEL_MASK_CASE);
    EXPECT_EQ(Block("masktype hierarchical\n").rules().MaskType, ZEL_MASK_HIERARCHICAL);
    EXPECT_EQ(Block("masktype Hier\n").rules().MaskType, ZEL_MASK_HIERARCHICAL);
}

TEST(MaskParameter, AnotherMaskTypeEndsTheProcess)
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

TEST(MaskParameter, TheNameToSaveUnderIsKept)
{
    Block file("savemaskfilename a.mask\n");
    ASSERT_TRUE(file.succeeded());
    EXPECT_EQ(text(file.rules().IO.outputFilename), "a.mask");
    EXPECT_EQ(text(Block("savemaskfilename a\nsavemaskfilename b c\n").rules().IO.outputFilename),
              "b");
}

TEST(MaskParameter, TitlesAndCommentsAreTexts)
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

TEST(MaskParameter, DefinitionsInABlockAreTheMasks)
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

TEST(MaskParameter, DefinitionsOutsideAreForAllMasksThatFollow)
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

TEST(MaskParameter, ADefinitionWithoutAColonIsASyntaxError)
{
    for (const char* word : {"condition", "variable", "define"}) {
        EXPECT_TRUE(MaskParameters(std::string(word) + " a Ch1\n").failed("syntax error line 1\n"));
        EXPECT_TRUE(Block(std::string(word) + " a Ch1\n").failed("syntax error line 2\n"));
    }
}

TEST(MaskParameter, ADefinitionThatDoesNotCompileEndsTheProcess)
{
    EXPECT_TRUE(MaskParameters("define a:(Ch1\n")
                    .failed("line 1: define a:(Ch1\nparse error: missing right parenthesis\n"));
    EXPECT_TRUE(Block("condition a:Ch1)\n")
                    .failed("line 2: condition a:Ch1)\nparse error: missing left parenthesis\n"));
}

// ---- Filters ----

TEST(MaskParameter, APreClassFilterIsAConditionAndAClassList)
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

TEST(MaskParameter, APostClassFilterIsAConditionAndAnAction)
{
    Block file("postclassfilter Ch1==0:skip_pixel\npostclassfilter 1 : class = 5\n");
    ASSERT_TRUE(file.succeeded());
    const CommandStruct& filters = file.rules().PostClassFilters;
    EXPECT_EQ(filters.num, 2);
    EXPECT_EQ(elements(entry(filters).Condition), "2:1 1:0 0:6");
    EXPECT_EQ(elements(entry(filters).Action), "0:0");
    EXPECT_EQ(elements(entry(filters, 1).Action), "4:0 1:5 0:2");
}

TEST(MaskParameter, AFilterMayHaveALabel)
{
    Block file("preclassfilter 1:3:\"no clouds\"\npostclassfilter 1:class=5:five\n");
    ASSERT_TRUE(file.succeeded());
    EXPECT_EQ(text(entry(file.rules().PreClassFilters).Label), "no clouds");
    EXPECT_EQ(text(entry(file.rules().PostClassFilters).Label), "five");
    EXPECT_EQ(elements(entry(file.rules().PostClassFilters).Action), "4:0 1:5 0:2");
}

TEST(MaskParameter, AConditionThatDoesNotCompileEndsTheProcess)
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

TEST(MaskParameter, AnActionThatDoesNotCompileEndsTheProcess)
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

TEST(MaskParameter, AFilterWithoutAnActionEndsTheProcess)
{
    for (const std::string line :
         {"preclassfilter Ch1", "preclassfilter Ch1:", "preclassfilter Ch1: :l",
          "postclassfilter Ch1", "postclassfilter Ch1:"}) {
        Block file(line + "\n");
        EXPECT_TRUE(file.failed("line 2: " + line + "\nAction parse error: syntax error\n"));
    }
}

// The text is looked for behind the word as it is written in lower case.
TEST(MaskParameter, AFilterInUpperCaseIsASyntaxError)
{
    EXPECT_TRUE(Block("PreClassFilter 1:3\n").failed("syntax error line 2\n"));
    EXPECT_TRUE(Block("POSTCLASSFILTER 1:class=3\n").failed("syntax error line 2\n"));
}

// ---- Programs ----

TEST(MaskParameter, TheLinesOfAProgramAreItsText)
{
    Block file("define bright:Ch1 > 100\nbeginpreprocess\n  if (bright) then\n\n# a remark\n"
               "weightclasses 3:0.5\nendif\nendpreprocess\nbeginpostprocess\nclass = 1\n"
               "endpostprocess\n");
    ASSERT_TRUE(file.succeeded());
    const ZELMaskParameterType& p = file.rules();
    const std::vector<std::pair<int, std::string>> expected = {
        {4, "  if (bright) then"}, {7, "weightclasses 3:0.5"}, {8, "endif"}};
    const ProgramLines* line = p.PreProcessProgramTextHead;
    for (const auto& [number, content] : expected) {
        ASSERT_NE(line, nullptr);
        EXPECT_EQ(line->lineNumber, number);
        EXPECT_EQ(line->text, content);
        line = line->next;
    }
    EXPECT_EQ(line, nullptr);
    ASSERT_NE(p.PreProcessHead, nullptr);
    EXPECT_EQ(p.PreProcessHead->statementType, IF_STATEMENT);
    EXPECT_EQ(elements(p.PreProcessHead->Statement), "2:1 1:100 0:9");
    EXPECT_EQ(p.PreProcessHead->nextFalse->statementType, ENDIF_STATEMENT);
    EXPECT_STREQ(p.PostProcessProgramTextHead->text, "class = 1");
    EXPECT_EQ(p.PostProcessProgramTextHead->next, nullptr);
    ASSERT_NE(p.PostProcessHead, nullptr);
    EXPECT_EQ(elements(p.PostProcessHead->Statement), "4:0 1:1 0:2");
}

// Inside of a program only the words of blocks are commands.
TEST(MaskParameter, CommandsInsideAProgramAreStatements)
{
    Block file("beginpostprocess\ntitle x\nendpostprocess\n");
    EXPECT_TRUE(file.failed("line 3: title x\nstatement parse error: "
                            "illegal character in constant or unknown variable\n"));
}

TEST(MaskParameter, AProgramThatDoesNotCompileEndsTheProcess)
{
    Block pre("beginpreprocess\nCh1=1\nif Ch1 then\nendpreprocess\n");
    EXPECT_TRUE(pre.failed("line 4: if Ch1 then\n"
                           "parse error: Missing start Parenthesis in if condition\n"));
    Block post("beginpostprocess\nCh1=\nendpostprocess\n");
    EXPECT_TRUE(post.failed("line 3: Ch1=\nstatement parse error: syntax error\n"));
    Block structure("beginpreprocess\nendif\nendpreprocess\n");
    EXPECT_TRUE(structure.failed("Endif error: Missing If or Else before endif\n"));
}

TEST(MaskParameter, WeightsAreDroppedFromAPostProcessingProgram)
{
    Block file("beginpostprocess\nweightclasses 3:1\nendpostprocess\n");
    ASSERT_TRUE(file.succeeded());
    EXPECT_EQ(file.outcome.out, "weightclasses found in postprocess... ignored\n");
    EXPECT_EQ(file.rules().PostProcessHead, nullptr);
    EXPECT_NE(file.rules().PostProcessProgramTextHead, nullptr);
}

TEST(MaskParameter, AnEmptyProgramIsNone)
{
    Block file("beginpreprocess\n\nendpreprocess\nbeginpreprocess\nCh1=1\nendpreprocess\n");
    ASSERT_TRUE(file.succeeded());
    EXPECT_STREQ(file.rules().PreProcessProgramTextHead->text, "Ch1=1");
    Block none("beginpreprocess\nendpreprocess\n");
    ASSERT_TRUE(none.succeeded());
    EXPECT_EQ(none.rules().PreProcessProgramTextHead, nullptr);
    EXPECT_EQ(none.rules().PreProcessHead, nullptr);
}

// ---- From the text to the file ----

TEST(MaskParameter, AMaskIsTheSameWhenItWasSavedAndRead)
{
    Block file("define bright:Ch1 > 100\npreclassfilter bright:3,4\npostclassfilter 1:class=5\n"
               "masktype hier\ntitle the title\ncomment a comment\nclassifiername @/one 4 11\n"
               "beginpreprocess\nif (bright) weightclasses 3,5:0.5\nendif\nendpreprocess\n"
               "beginpostprocess\nclass=class+1\nendpostprocess\n");
    ASSERT_TRUE(file.succeeded());
    ZELFeatureMaskType& mask = file.mask();
    const std::string path = file.dir.path("saved");
    const Outcome saved = zel_test::runFeature([&] { ZELFeatureSaveMask(&mask, path.c_str()); });
    ASSERT_FALSE(saved.ended) << saved.err;
    const zel_test::Stream stream(zel_test::readFile(path));
    const zel_test::OwnedMask read(ZELFeatureReadMask(stream));
    freeInputList(&mask.MaskParameters.IO);  // the names of files are not stored
    EXPECT_EQ(zel_test::textOf(read.get()), zel_test::textOf(&mask));
    EXPECT_EQ(read->ClassifierListHead->ClassifierLevel, 11);
}

}  // namespace
