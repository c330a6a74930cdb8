// The parameter files on the page about damaged files: each is read and says what the page says.
#include <gtest/gtest.h>

#include <fstream>
#include <vector>

#include "support/format_document.hpp"
#include "support/mask_parameters.hpp"
#include "support/parameters.hpp"
#include "support/places.hpp"

namespace {

using zel_test::MaskParameters;
using zel_test::Outcome;
using zel_test::Parameters;

struct Example {
    std::string file;
    std::string said;
};

// The blocks of the page with this word after their opening fence.
std::vector<Example> examples(const std::string& kind)
{
    std::ifstream page(zel_test::sourceFile("docs/damaged-files.md"));
    std::vector<Example> found;
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("```")) {
            inside = line == "```" + kind;
            if (inside) found.emplace_back();
        } else if (inside) {
            const bool message = line.starts_with("=> ");
            (message ? found.back().said : found.back().file) +=
                line.substr(message ? 3 : 0) + "\n";
        }
    }
    return found;
}

void expectSaid(const Example& example, const Outcome& outcome)
{
    EXPECT_TRUE(outcome.ended) << example.file;
    EXPECT_EQ(outcome.status, -1) << example.file;
    EXPECT_EQ(outcome.err, example.said) << example.file;
    EXPECT_EQ(outcome.out, "") << example.file;
}

TEST(DamagedFilesPage, ParameterFilesSayWhatThePageSays)
{
    const std::vector<Example> found = examples("parameters");
    EXPECT_EQ(found.size(), 2u);
    for (const Example& example : found) expectSaid(example, Parameters(example.file).outcome);
}

TEST(DamagedFilesPage, MaskParameterFilesSayWhatThePageSays)
{
    const std::vector<Example> found = examples("mask-parameters");
    EXPECT_EQ(found.size(), 2u);
    for (const Example& example : found) expectSaid(example, MaskParameters(example.file).outcome);
}

}  // namespace
