// Mask parameter files: the lines, the blocks, the programs, and what a file must have.
#include <gtest/gtest.h>

#include "support/mask_parameters.hpp"
#include "support/places.hpp"

namespace {

using zel_test::block;
using zel_test::Block;
using zel_test::elements;
using zel_test::entry;
using zel_test::MaskParameters;
using zel_test::noFile;
using zel_test::Outcome;
using zel_test::text;

// ---- The file ----

// Both messages are cut at 240 characters, the newline included.
TEST(MaskParameter, AMessageThatIsCutIsStillALine)
{
    const std::string name = "/nowhere/" + std::string(215, 'x');
    const MaskParameters file("beginmask\nclassifiername " + name + "\nendmask\n");
    EXPECT_TRUE(file.failed(("line 2: classifiername " + name).substr(0, 239) + "\n" +
                            ("cannot open input file " + name).substr(0, 239) + "\n" + noFile));
}

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

// ---- What a file must have ----

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

// ---- The guide ----

// The parameter file of the guide, with classifier files that are there.
std::string guideExample()
{
    std::string text = zel_test::readText(zel_test::sourceFile("docs/masks.md"));
    const std::size_t begin = text.find("```mask\n") + 8;
    text = text.substr(begin, text.find("```", begin) - begin);
    for (const std::string name : {"surface.cls", "clouds.cls"})
        text.replace(text.find(name), name.size(), "@/one");
    return text;
}

TEST(MaskGuide, ItsExampleIsAMask)
{
    MaskParameters file(guideExample());
    ASSERT_TRUE(file.succeeded());
    EXPECT_EQ(file.outcome.out, "");
    EXPECT_EQ(file.list.NumMasks, 1);
    const ZELMaskParameterType& p = file.rules();
    EXPECT_EQ(text(entry(p.Title).Label), "Clouds");
    EXPECT_EQ(text(entry(p.Comments).Label), "trained on the gulf scenes");
    EXPECT_EQ(p.MaskType, ZEL_MASK_HIERARCHICAL);
    EXPECT_EQ(file.mask().numClassifiers, 2);
    EXPECT_EQ(file.mask().ClassifierList->ClassifierType, 2);
    EXPECT_EQ(file.mask().ClassifierList->ClassifierLevel, 1);
    EXPECT_EQ(text(p.IO.outputFilename), "clouds.mask");
}

TEST(MaskGuide, ItsExampleDoesWhatItSays)
{
    MaskParameters file(guideExample());
    ASSERT_TRUE(file.succeeded());
    const ZELMaskParameterType& p = file.rules();
    float channels[4] = {50, 20, 0, 260};
    ZELPixelStruct pixel{};
    pixel.Channels = channels;
    pixel.numChannels = 4;
    pixel.sz = 86;
    ZELFeatureClearClassWeights(&pixel, 1);
    ZELBindPixel(&pixel);
    EXPECT_EQ(ZELPreProcessPixel(&p, &pixel), 0);
    EXPECT_EQ(pixel.class_weights[7], 2.0f) << "bright and cold";
    EXPECT_EQ(pixel.Registers[0], 30.0f);
    ZELFeaturePreClassificationFilter(&p, &pixel);
    EXPECT_EQ(pixel.class_weights[3] + pixel.class_weights[4], 0.0f) << "the sun is low";
    EXPECT_EQ(pixel.class_weights[5], 1.0f);
    pixel.Class = 7;
    ZELFeaturePostClassificationFilter(&p, &pixel);
    EXPECT_EQ(pixel.Class, 7.0f);
    EXPECT_EQ(ZELPostProcessPixel(&p, &pixel), 0);
    EXPECT_EQ(pixel.Class, 3.0f);
    EXPECT_EQ(pixel.Registers[1], 3.0f);
    channels[3] = 0;
    ZELFeaturePostClassificationFilter(&p, &pixel);
    EXPECT_EQ(pixel.Class, 0.0f);
    ZELBindPixel(nullptr);
}

// ---- From the text to the file ----

TEST(MaskParameter, AMaskIsSavedToTheFileThatItNames)
{
    Block file("savemaskfilename @/saved\n");
    ASSERT_TRUE(file.succeeded());
    ZELFeatureMaskType& mask = file.mask();
    zel_test::runFeature([&] { ZELFeatureSaveMask(&mask, mask.MaskParameters.IO.outputFilename); });
    const zel_test::Bytes saved = zel_test::readFile(file.dir.path("saved"));
    ASSERT_FALSE(saved.empty());
    zel_test::ReadMask read(saved);
    EXPECT_FALSE(read.outcome.ended) << read.outcome.err;
    EXPECT_EQ(read->numClassifiers, 1);
}

TEST(MaskParameter, AMaskIsTheSameWhenItWasSavedAndRead)
{
    Block file("define bright:Ch1 > 100\npreclassfilter bright:3,4\npostclassfilter 1:class=5\n"
               "masktype hier\ntitle the title\ncomment a comment\nclassifiername @/one 4 11\n"
               "beginpreprocess\nif (bright) weightclasses 3,5:0.5\nregister1=2\nendpreprocess\n"
               "beginpostprocess\nclass=class+1\nendpostprocess\n");
    ASSERT_TRUE(file.succeeded());
    ZELFeatureMaskType& mask = file.mask();
    const std::string path = file.dir.path("saved");
    const Outcome saved = zel_test::runFeature([&] { ZELFeatureSaveMask(&mask, path.c_str()); });
    ASSERT_FALSE(saved.ended) << saved.err;
    const zel_test::Stream stream(zel_test::readFile(path));
    const zel_test::OwnedMask read(ZELFeatureReadMask(stream));
    freeInputList(&mask.MaskParameters.IO);  // the names of files are not stored
    for (ZELClassifierList* c = mask.ClassifierListHead; c; c = c->next)  // nor are class counts
        for (int& count : c->Parameters->ClassInfo.Count) count = 0;
    EXPECT_EQ(zel_test::textOf(read.get()), zel_test::textOf(&mask));
    EXPECT_EQ(read->ClassifierListHead->ClassifierLevel, 11);
}

}  // namespace
