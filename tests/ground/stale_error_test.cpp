// An error of the system from long before has no part in what is said about the content of a file.
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <memory>

#include "support/feature_bytes.hpp"
#include "support/mask_bytes.hpp"
#include "support/parameters.hpp"

namespace {

using zel_test::Outcome;
using zel_test::Stream;

// What a function prints with such an error about; it ends the process.
std::string saidBy(const std::function<void()>& function)
{
    const Outcome outcome = zel_test::run([&] {
        errno = ENOENT;
        function();
    });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    return outcome.err;
}

// What the reading of a parameter file of either kind prints.
template <class Record>
std::string saidOf(const std::string& lines, void (*parse)(const char*, Record*),
                   void (*release)(Record*))
{
    const zel_test::TempDir dir;
    const std::string path = dir.path("f.par");
    zel_test::writeFile(path, lines);
    const auto record = std::make_unique<Record>();
    const std::string said = saidBy([&] { parse(path.c_str(), record.get()); });
    release(record.get());
    return said;
}

TEST(StaleError, IsNotReportedForAFileWithoutAHeader)
{
    const auto record = std::make_unique<ZELParameterStruct>();
    for (const char* content : {"short", "a file that holds something else than a header"}) {
        const zel_test::Bytes bytes(content, content + std::string(content).size());
        EXPECT_EQ(saidBy([&] { ZELFeatureReadHeader(Stream(bytes), record.get()); }),
                  "Error: file does not contain ZEL Feature header\n");
        ZELFeatureFreeParameters(record.get());
    }
}

TEST(StaleError, IsNotReportedForAFileWithoutAMask)
{
    zel_test::MaskRecord record = zel_test::fullMask();
    record.identifier = "ZEL_MUSK";
    const zel_test::Bytes bytes = build(record).bytes;
    EXPECT_EQ(saidBy([&] { ZELFeatureReadMask(Stream(bytes)); }),
              "Error:  file does not contain a ZEL mask\n");
}

TEST(StaleError, IsNotReportedForAnExpressionInAFile)
{
    zel_test::FeatureHeader header = zel_test::fullHeader();
    header.conditions[0].condition = "Ch1 +* 2";
    const zel_test::Bytes bytes = build(header).bytes;
    const auto record = std::make_unique<ZELParameterStruct>();
    EXPECT_EQ(saidBy([&] { ZELFeatureReadHeader(Stream(bytes), record.get()); }),
              "expression: Ch1 +* 2\nparse error: syntax error\n");
    ZELFeatureFreeParameters(record.get());
}

TEST(StaleError, IsNotReportedForAnExpressionInAParameterFile)
{
    EXPECT_EQ(saidOf("feature Ch1 +* 2\n", ZELParseParameterFile, ZELFeatureFreeParameters),
              "line 1: feature Ch1 +* 2\nparse error: syntax error\n");
}

TEST(StaleError, IsNotReportedForAProgram)
{
    std::string said;
    ProgramLines line = {};
    char text[] = "Ch1 +* 2";
    line.text = text;
    line.lineNumber = 1;
    const Outcome outcome = zel_test::run([&] {
        errno = ENOENT;
        EXPECT_EQ(compileProgramText(&line, 0, nullptr), nullptr);
    });
    EXPECT_EQ(outcome.err.find("system error"), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find("parse error: syntax error\n"), std::string::npos) << outcome.err;
}

}  // namespace
