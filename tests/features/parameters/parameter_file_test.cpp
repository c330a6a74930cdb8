// Feature parameter files: the lines, the expression commands, and what a file must have.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <ctime>

#include "support/parameters.hpp"

namespace {

using zel_test::CompleteParameters;
using zel_test::elements;
using zel_test::entry;
using zel_test::Outcome;
using zel_test::Parameters;
using zel_test::text;

const char* const noFile = "\nsystem error code:: No such file or directory\n";

// ---- Reading lines ----

TEST(ParameterFile, AFileThatDoesNotOpenEndsTheProcess)
{
    ZELParameterStruct record;
    std::memset(&record, 0xA5, sizeof record);
    const Outcome outcome =
        zel_test::runFeature([&] { ZELParseParameterFile("/nowhere/f.par", &record); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err, std::string("cannot open parameter filename /nowhere/f.par") + noFile);
    EXPECT_EQ(outcome.out, "");
    ZELFeatureFreeParameters(&record);
}

TEST(ParameterFile, AnEndlessFileIsNone)
{
    ZELParameterStruct record;
    errno = 0;
    const Outcome outcome =
        zel_test::runFeature([&] { ZELParseParameterFile("/dev/zero", &record); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err, "parameter file /dev/zero has no end\n");
    ZELFeatureFreeParameters(&record);
}

TEST(ParameterFile, TheRecordStartsWithTheseValues)
{
    CompleteParameters file("");
    ASSERT_FALSE(file.outcome.ended) << file.outcome.err;
    EXPECT_EQ(file.outcome.out, "");
    EXPECT_EQ(file.outcome.err, "");
    EXPECT_STREQ(file->Header.IdentifierString, "ZEL_FEATURE_HEADER");
    EXPECT_STREQ(file->Header.VersionNumber, "1.2");
    EXPECT_EQ(file->RandomSeed, 82497);
    EXPECT_EQ(file->SubSamplingMethod, 0);
    EXPECT_EQ(file->ClassType, 0);
    EXPECT_EQ(file->DataType, 0);
    EXPECT_EQ(file->IgnoreRequirementFlag, 0);
    EXPECT_EQ(file->ClassOffset, 0);
    EXPECT_EQ(file->FeatureOffset, 0);
    EXPECT_EQ(file->FeatureInfo.Label, nullptr);
    EXPECT_EQ(file->FeatureInfo.Max, nullptr);
    EXPECT_EQ(file->FeatureInfo.Min, nullptr);
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(file->ClassInfo.name[i], nullptr) << i;
        ASSERT_EQ(file->ClassInfo.Red[i], 0) << i;
        ASSERT_EQ(file->ClassInfo.Green[i], 0) << i;
        ASSERT_EQ(file->ClassInfo.Blue[i], 0) << i;
        ASSERT_EQ(file->ClassInfo.Count[i], 0) << i;
    }
    EXPECT_EQ(file->Conditions.num, 0);
    EXPECT_EQ(file->Requirements.num, 0);
    EXPECT_EQ(file->Options.num, 0);
}

// "12:34:56  Monday Jan 02 2006"
TEST(ParameterFile, TheDateIsThatOfReading)
{
    const std::time_t before = std::time(nullptr);
    CompleteParameters file("");
    const std::time_t after = std::time(nullptr);
    std::tm read{};
    const char* end = strptime(file->Header.DateTimeString, "%T  %A %b %d %Y", &read);
    ASSERT_NE(end, nullptr) << file->Header.DateTimeString;
    EXPECT_STREQ(end, "");
    read.tm_isdst = -1;
    const std::time_t then = std::mktime(&read);
    EXPECT_GE(then, before);
    EXPECT_LE(then, after);
}

TEST(ParameterFile, ALastLineWithoutANewlineIsLost)
{
    Parameters unfinished(Parameters::complete("") + "randomseed 5");
    EXPECT_FALSE(unfinished.outcome.ended);
    EXPECT_EQ(unfinished->RandomSeed, 82497);
    Parameters finished(Parameters::complete("") + "randomseed 5\n");
    EXPECT_EQ(finished->RandomSeed, 5);
}

TEST(ParameterFile, EmptyLinesBlankLinesAndCommentsAreSkippedButCounted)
{
    CompleteParameters file("\n   \t \n# feature Ch9\n   #nonsense here\n#\nnonsense\n");
    EXPECT_FALSE(file.outcome.ended);
    EXPECT_EQ(file->Features.num, 1);
    EXPECT_EQ(file.outcome.out, "unknown command on line 6\nignored...\n");
    EXPECT_EQ(file.outcome.err, "");
}

TEST(ParameterFile, CommandsMatchWithoutRegardToCase)
{
    CompleteParameters file("RandomSeed 1\nSUBSAMPLE Log\nClassType PRIMARY\n");
    EXPECT_EQ(file->RandomSeed, 1);
    EXPECT_EQ(file->SubSamplingMethod, 2);
    EXPECT_EQ(file->ClassType, 1);
    EXPECT_EQ(file.outcome.err, "");
}

// 8 characters of command and blank, 230 of text, and the newline make 239.
TEST(ParameterFile, ALineOf239CharactersIsReadWhole)
{
    CompleteParameters file("comment " + std::string(230, 'x') + "\n");
    EXPECT_EQ(text(entry(file->Comments).Label), std::string(230, 'x'));
    EXPECT_EQ(file.outcome.out, "");
}

TEST(ParameterFile, ALastPieceOf239CharactersWithoutANewlineIsLost)
{
    const Parameters file(Parameters::complete("") + std::string(239, 'x'));
    EXPECT_EQ(file.outcome.out, "");
}

// The piece of 239 characters loses its last one; the rest is a line of its own.
TEST(ParameterFile, ALongerLineComesInPiecesThatAreCounted)
{
    CompleteParameters file("comment " + std::string(231, 'x') + "yz\nnonsense\n");
    EXPECT_EQ(text(entry(file->Comments).Label), std::string(230, 'x'));
    EXPECT_EQ(file.outcome.out,
              "unknown command on line 2\nignored...\nunknown command on line 3\nignored...\n");
}

TEST(ParameterFile, AnEmptyFileHasNoInput)
{
    Parameters file("");
    EXPECT_TRUE(file.outcome.ended);
    EXPECT_EQ(file.outcome.status, -1);
}

// ---- Definitions ----

TEST(ParameterFile, ADefinitionNamesAnExpression)
{
    CompleteParameters file("condition bright: Ch1 > 50\nvariable half:Ch2/2\n");
    EXPECT_EQ(file->Conditions.num, 2);
    EXPECT_EQ(text(entry(file->Conditions).Label), "bright");
    EXPECT_EQ(text(entry(file->Conditions).Condition), " Ch1 > 50");
    EXPECT_EQ(elements(entry(file->Conditions).Condition), "2:1 1:50 0:9");
    EXPECT_EQ(entry(file->Conditions).Action, nullptr);
    EXPECT_EQ(text(entry(file->Conditions, 1).Label), "half");
    EXPECT_EQ(text(entry(file->Conditions, 1).Condition), "Ch2/2");
    EXPECT_EQ(file->Conditions.List->next, nullptr);
    EXPECT_EQ(text(file->Conditions.List->Label), "half");
}

TEST(ParameterFile, ARequirementMayUseADefinition)
{
    CompleteParameters file("condition bright: Ch1 > 50\nrequirement bright\n");
    EXPECT_EQ(elements(entry(file->Requirements).Condition), "2:1 1:50 0:9");
    EXPECT_EQ(text(entry(file->Requirements).Condition), "bright");
}

TEST(ParameterFile, ADefinitionMayUseThoseBeforeIt)
{
    CompleteParameters file("define a:Ch1\ndefine b:a*2\n");
    EXPECT_EQ(elements(entry(file->Conditions, 1).Condition), "2:1 1:2 0:13");
}

TEST(ParameterFile, ADefinitionOfARegisterCanBeAssignedTo)
{
    CompleteParameters file("define r1: register1\nfilter 1:r1=5\n");
    EXPECT_EQ(elements(entry(file->Filters).Action), "7:1 1:5 0:2");
}

// The name is in the list already, without an expression.
TEST(ParameterFile, ADefinitionDoesNotKnowItself)
{
    CompleteParameters file("define x:x\n");
    EXPECT_TRUE(file.outcome.ended);
    EXPECT_EQ(file.outcome.err, "line 1: define x:x\n"
                                "parse error: illegal character in constant or unknown variable\n");
}

TEST(ParameterFile, TheNameOfADefinitionIsItsSecondWordUpToTheColon)
{
    CompleteParameters file("define one:Ch1\ndefine two words : Ch2\n");
    EXPECT_EQ(text(entry(file->Conditions, 0).Label), "one");
    EXPECT_EQ(text(entry(file->Conditions, 1).Label), "two");
    EXPECT_EQ(text(entry(file->Conditions, 1).Condition), " Ch2");
}

TEST(ParameterFile, ADefinitionInUpperCaseIsRead)
{
    CompleteParameters file("CONDITION bright: Ch1 > 50\n");
    EXPECT_FALSE(file.outcome.ended);
    EXPECT_EQ(text(entry(file->Conditions).Label), "bright");
}

TEST(ParameterFile, ADefinitionWithoutAColonIsASyntaxError)
{
    for (const char* word : {"condition", "variable", "define"}) {
        CompleteParameters file(std::string("\n") + word + " bright Ch1 > 50\n");
        EXPECT_TRUE(file.outcome.ended) << word;
        EXPECT_EQ(file.outcome.status, -1);
        EXPECT_EQ(file.outcome.err, "syntax error line 2\n");
    }
}

TEST(ParameterFile, ADefinitionThatDoesNotCompileEndsTheProcess)
{
    CompleteParameters file("define a: (Ch1\n");
    EXPECT_EQ(file.outcome.status, -1);
    EXPECT_EQ(file.outcome.err, "line 1: define a: (Ch1\nparse error: missing right parenthesis\n");
}

// ---- Requirements, options, features ----

TEST(ParameterFile, AFeatureHasALabelInQuotes)
{
    CompleteParameters file("feature Ch1+Ch2:\"sum\"\n");
    EXPECT_EQ(text(entry(file->Features).Condition), "Ch1+Ch2");
    EXPECT_EQ(elements(entry(file->Features).Condition), "2:1 2:2 0:12");
    EXPECT_EQ(text(entry(file->Features).Label), "sum");
    EXPECT_EQ(file->Features.num, 2);
}

TEST(ParameterFile, AFeatureNeedsNoLabel)
{
    CompleteParameters file("feature Ch1\nfeature Ch2:\n");
    EXPECT_EQ(text(entry(file->Features, 0).Condition), "Ch1");
    EXPECT_EQ(entry(file->Features, 0).Label, nullptr);
    EXPECT_EQ(text(entry(file->Features, 1).Condition), "Ch2");
    EXPECT_EQ(entry(file->Features, 1).Label, nullptr);
}

TEST(ParameterFile, ALabelWithoutQuotesIsTheWholeRest)
{
    CompleteParameters file(
        "feature Ch1: a sum : of two\noption Ch2:x \"y\" z\nrequirement 1:\"q\n");
    EXPECT_EQ(text(entry(file->Features).Label), " a sum : of two");
    EXPECT_EQ(text(entry(file->Options).Label), "y");
    EXPECT_EQ(text(entry(file->Requirements).Label), "q");
}

TEST(ParameterFile, EachExpressionCommandAppendsToItsList)
{
    CompleteParameters file(
        "requirement Ch1>1:\"r\"\noption Ch2>2:\"o\"\nfeature Ch3:\"f\"\nrequirement Ch4>4\n");
    EXPECT_EQ(file->Requirements.num, 2);
    EXPECT_EQ(text(entry(file->Requirements, 0).Condition), "Ch1>1");
    EXPECT_EQ(text(entry(file->Requirements, 0).Label), "r");
    EXPECT_EQ(text(entry(file->Requirements, 1).Condition), "Ch4>4");
    EXPECT_EQ(file->Options.num, 1);
    EXPECT_EQ(text(entry(file->Options).Condition), "Ch2>2");
    EXPECT_EQ(text(entry(file->Options).Label), "o");
    EXPECT_EQ(text(entry(file->Features).Label), "f");
}

TEST(ParameterFile, ACommandWordInUpperCaseIsASyntaxErrorWhereItsTextIsSearchedFor)
{
    for (const char* line : {"FEATURE Ch1", "Requirement Ch1", "OPTION Ch1", "Filter 1:Ch1=2"}) {
        CompleteParameters file(std::string("# one\n") + line + "\n");
        EXPECT_TRUE(file.outcome.ended) << line;
        EXPECT_EQ(file.outcome.status, -1);
        EXPECT_EQ(file.outcome.err, "syntax error line 2\n");
    }
}

// The text after the first place where the word is in lower case.
TEST(ParameterFile, ACommandWordIsSearchedForInTheWholeLine)
{
    CompleteParameters file("Feature feature Ch5\n");
    EXPECT_FALSE(file.outcome.ended);
    EXPECT_EQ(text(entry(file->Features).Condition), "Ch5");
}

TEST(ParameterFile, AnExpressionThatDoesNotCompileEndsTheProcess)
{
    const struct {
        const char* line;
        const char* message;
    } rows[] = {
        {"feature foo", "illegal character in constant or unknown variable"},
        {"requirement (Ch1", "missing right parenthesis"},
        {"option Ch1)", "missing left parenthesis"},
        {"feature Ch1,Ch2", "syntax error"},
        {"feature", "syntax error"},
        {"feature :\"no expression\"", "syntax error"},
        {"filter Ch1=Ch2=3:1", "only one equal sign allowed per expression"},
        {"filter 1:foo", "illegal character in constant or unknown variable"},
        {"filter Ch1 > 5", "syntax error"},
    };
    for (const auto& row : rows) {
        CompleteParameters file(std::string("comment x\n") + row.line + "\n");
        EXPECT_TRUE(file.outcome.ended) << row.line;
        EXPECT_EQ(file.outcome.status, -1);
        EXPECT_EQ(file.outcome.err,
                  std::string("line 2: ") + row.line + "\nparse error: " + row.message + "\n");
        EXPECT_EQ(file.outcome.out, "");
    }
}

// ---- Filters, comments, titles ----

TEST(ParameterFile, AFilterHasAConditionAndAnAction)
{
    CompleteParameters file("filter Ch1 > 5:class=3:\"bright\"\nfilter 1:skip_pixel\n");
    EXPECT_EQ(file->Filters.num, 2);
    EXPECT_EQ(text(entry(file->Filters).Condition), "Ch1 > 5");
    EXPECT_EQ(text(entry(file->Filters).Action), "class=3");
    EXPECT_EQ(elements(entry(file->Filters).Action), "4:0 1:3 0:2");
    EXPECT_EQ(text(entry(file->Filters).Label), "bright");
    EXPECT_EQ(text(entry(file->Filters, 1).Action), "skip_pixel");
    EXPECT_EQ(entry(file->Filters, 1).Label, nullptr);
}

TEST(ParameterFile, CommentsAndTitlesAreTexts)
{
    CompleteParameters file(
        "comment made by hand\ncomment  \"quoted text\" and more\ntitle  A title\ntitle\n"
        "COMMENT upper case\n");
    EXPECT_EQ(file->Comments.num, 3);
    EXPECT_EQ(text(entry(file->Comments, 0).Label), "made by hand");
    EXPECT_EQ(text(entry(file->Comments, 1).Label), "quoted text");
    EXPECT_EQ(text(entry(file->Comments, 2).Label), "upper case");
    EXPECT_EQ(entry(file->Comments).Condition, nullptr);
    EXPECT_EQ(entry(file->Comments).Action, nullptr);
    EXPECT_EQ(file->Title.num, 2);
    EXPECT_EQ(text(entry(file->Title, 0).Label), " A title");
    EXPECT_EQ(text(entry(file->Title, 1).Label), "");
}

TEST(ParameterFile, AnUnknownCommandIsReportedAndIgnored)
{
    CompleteParameters file("featur Ch1\nbeginmask\n");
    EXPECT_FALSE(file.outcome.ended);
    EXPECT_EQ(file.outcome.out,
              "unknown command on line 1\nignored...\nunknown command on line 2\nignored...\n");
    EXPECT_EQ(file.outcome.err, "");
}

// ---- What a file must have ----

TEST(ParameterFile, WithoutInputItEndsTheProcess)
{
    const char* const advice =
        "add one of the following to the parameter file:\n"
        "   inputfilename <filename>\n"
        "   inputdirext <directory name>:<extension to match>, or\n"
        "   inputdirstr <directory name>:<string pattern to match anywhere in filename>\n";
    Parameters none("outputfilename out\nfeature Ch1\n");
    EXPECT_TRUE(none.outcome.ended);
    EXPECT_EQ(none.outcome.status, -1);
    EXPECT_EQ(none.outcome.err,
              std::string("error: no input files specified in parameter file\n") + advice);
    EXPECT_EQ(none.outcome.out, "");
    Parameters searched("inputdirext @:.nothing\noutputfilename out\nfeature Ch1\n");
    EXPECT_EQ(searched.outcome.status, -1);
    EXPECT_EQ(searched.outcome.err,
              std::string("error: no input files found in specified directories\n") + advice);
}

TEST(ParameterFile, WithoutOutputItEndsTheProcess)
{
    Parameters file("inputfilename @/f.par\nfeature Ch1\n");
    EXPECT_TRUE(file.outcome.ended);
    EXPECT_EQ(file.outcome.status, -1);
    EXPECT_EQ(
        file.outcome.err,
        "error: no output file specified in parameter file\n    add outputfilename <filename>\n");
}

TEST(ParameterFile, AnOutputSetByTheProgramStandsInForThatOfTheFile)
{
    ZELFeatureSetOutputFilename("elsewhere");
    Parameters file("inputfilename @/f.par\nfeature Ch1\n");
    EXPECT_FALSE(file.outcome.ended);
    EXPECT_EQ(file->IO.outputFilename, nullptr);
    ZELFeatureSetOutputFilename(nullptr);
    Parameters unset("inputfilename @/f.par\nfeature Ch1\n");
    EXPECT_TRUE(unset.outcome.ended);
}

TEST(ParameterFile, WithoutAFeatureItEndsTheProcess)
{
    Parameters file("inputfilename @/f.par\noutputfilename out\n");
    EXPECT_TRUE(file.outcome.ended);
    EXPECT_EQ(file.outcome.status, -1);
    EXPECT_EQ(file.outcome.err,
              "error: no features specified in parameter file\n"
              "add the following to the parameter file:\n"
              "feature Ch<zel channel index>|<variable>:<optional label string>\n");
}

TEST(ParameterFile, TheChecksAtTheEndComeInThisOrder)
{
    EXPECT_EQ(Parameters("").outcome.err.substr(0, 27), "error: no input files speci");
    EXPECT_EQ(Parameters("inputfilename @/f.par\n").outcome.err.substr(0, 22),
              "error: no output file ");
}

}  // namespace
