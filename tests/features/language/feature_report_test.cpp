// The three printers of the feature layer and their message buffer.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "support/outcome.hpp"
#include "zel_features/language/zel_feature_report.hpp"
#include "zel_features/zel_features.h"

namespace {

using zel_test::Outcome;

TEST(FeatureReport, ErrorsGoToStandardErrorAndReportsToStandardOutput)
{
    const Outcome outcome = zel_test::run([] {
        errno = 0;
        printError("an error\n");
        printInfo("a report\n");
        printCriticalInfo("100%s\n");
    });
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(outcome.err, "an error\n");
    EXPECT_EQ(outcome.out, "a report\n100%s\n");
}

TEST(FeatureReport, AnErrorNumberThatIsSetAddsTheSystemsText)
{
    const Outcome outcome = zel_test::run([] {
        errno = ENOENT;
        printError("an error\n");
        errno = ENOENT;
        printInfo("a report\n");
    });
    EXPECT_EQ(outcome.err,
              std::string("an error\nsystem error code:: ") + std::strerror(ENOENT) + "\n");
    EXPECT_EQ(outcome.out, "a report\n");
}

TEST(FeatureReport, MessagesAreFormattedIntoTheBufferAndCutAt240Characters)
{
    EXPECT_STREQ(zel::message("line %d: %s\n", 3, "text"), "line 3: text\n");
    EXPECT_STREQ(infoLine, "line 3: text\n");
    EXPECT_EQ(zel::message("%s", std::string(300, 'x').c_str()), std::string(240, 'x'));
}

TEST(FeatureReport, AFailureIsAnErrorAndAnEnding)
{
    errno = 0;
    const Outcome one = zel_test::run([] { zel::failWithError("number %d\n", 5); });
    EXPECT_TRUE(one.ended);
    EXPECT_EQ(one.status, -1);
    EXPECT_EQ(one.err, "number 5\n");
    const Outcome two = zel_test::run([] { zel::failWithError(-2, "mode %s\n", "wrong"); });
    EXPECT_TRUE(two.ended);
    EXPECT_EQ(two.status, -2);
    EXPECT_EQ(two.err, "mode wrong\n");
}

}  // namespace
