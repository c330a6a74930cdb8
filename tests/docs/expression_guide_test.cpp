// The guide to expressions: every example in it is run.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <map>
#include <sstream>
#include <vector>

#include "support/expression.hpp"
#include "support/places.hpp"
#include "support/program.hpp"

namespace {

using zel_test::Compiled;
using zel_test::Outcome;

// An example of the document: the pixel, the lines of the example, and what comes out of them.
struct Example {
    std::string kind;  // the word after the opening fence
    int line = 0;      // of the document
    std::string pixel;
    std::vector<std::string> lines;
    std::vector<std::string> results;  // those of expressions stand in their lines
};

std::string trimmed(const std::string& text)
{
    const std::size_t begin = text.find_first_not_of(' ');
    if (begin == std::string::npos) return "";
    return text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

// The text before and after the mark.
std::pair<std::string, std::string> splitAt(const std::string& text, const std::string& mark)
{
    const std::size_t at = text.find(mark);
    if (at == std::string::npos) return {trimmed(text), ""};
    return {trimmed(text.substr(0, at)), trimmed(text.substr(at + mark.size()))};
}

std::vector<Example> readGuide()
{
    std::istringstream guide(zel_test::readText(zel_test::sourceFile("docs/expressions.md")));
    std::vector<Example> examples;
    bool inside = false;
    int number = 0;
    for (std::string line; std::getline(guide, line);) {
        ++number;
        if (line.starts_with("```")) {
            inside = !inside;
            if (inside) examples.push_back({line.substr(3), number, "", {}, {}});
        } else if (inside && !trimmed(line).empty()) {
            Example& example = examples.back();
            if (example.pixel.empty())
                example.pixel = line;
            else if (line.starts_with("=>"))
                example.results.push_back(trimmed(line.substr(2)));
            else
                example.lines.push_back(line);
        }
    }
    EXPECT_FALSE(inside) << "a fence is not closed";
    return examples;
}

// A pixel made from "Ch1 = 2, sz = 30".
class Pixel {
public:
    explicit Pixel(const std::string& description)
    {
        pixel.Channels = channels;
        std::istringstream parts(description);
        for (std::string part; std::getline(parts, part, ',');) {
            const auto [name, value] = splitAt(part, "=");
            if (name.starts_with("Ch"))
                pixel.numChannels = std::max(pixel.numChannels, std::stoi(name.substr(2)));
            field(name) = std::stof(value);
        }
        ZELBindPixel(&pixel);
    }
    ~Pixel() { ZELBindPixel(nullptr); }
    Pixel(const Pixel&) = delete;
    Pixel& operator=(const Pixel&) = delete;

    float& field(const std::string& name)
    {
        const std::map<std::string, float*> variables = {
            {"class", &pixel.Class}, {"sz", &pixel.sz}, {"lat", &pixel.lat}};
        if (name.starts_with("Ch")) return channels[std::stoi(name.substr(2)) - 1];
        if (name.starts_with("register")) return pixel.Registers[std::stoi(name.substr(8)) - 1];
        return *variables.at(name);
    }

    float channels[20] = {};
    ZELPixelStruct pixel{};
};

void expectNumber(const std::string& stated, float value, const std::string& where)
{
    if (stated == "infinity") {
        EXPECT_EQ(value, std::numeric_limits<float>::infinity()) << where;
        return;
    }
    std::size_t length = 0;
    const double number = std::stod(stated, &length);
    EXPECT_EQ(length, stated.size()) << where;
    EXPECT_NEAR(value, number, 1e-6 * std::max(1.0, std::abs(number))) << where;
}

// "class is 3". False when the result is something else.
bool expectField(const std::string& stated, Pixel& pixel, const std::string& where)
{
    const auto [name, number] = splitAt(stated, " is ");
    if (number.empty()) return false;
    expectNumber(number, pixel.field(name), where);
    return true;
}

void runExpression(const Example& example, const std::string& line, const std::string& where)
{
    const auto [text, result] = splitAt(line, "=>");
    ASSERT_NE(result, "") << where;
    Pixel pixel(example.pixel);
    const Compiled compiled(text);
    float value = 0;
    const Outcome outcome = zel_test::runFeature([&] {
        if (compiled.status == 0) value = ZELEvaluateStack(&compiled.stack, &pixel.pixel);
    });
    const std::string error =
        compiled.status != 0 ? "error: " + std::string(ParseErrorMsgs[compiled.status])
                             : "error: " + trimmed(outcome.err.substr(0, outcome.err.find('\n')));
    if (result.starts_with("error: ")) {
        EXPECT_EQ(error, result) << where;
        return;
    }
    EXPECT_EQ(error, "error: ") << where;
    const auto [stated, field] = splitAt(result, ";");
    EXPECT_EQ(pixel.pixel.skipPixelFlag != 0, stated == "skipped") << where;
    if (stated != "skipped") expectNumber(stated, value, where);
    if (!field.empty()) {
        EXPECT_TRUE(expectField(field, pixel, where)) << where;
    }
}

void runExpressions(const Example& example)
{
    ASSERT_TRUE(example.results.empty());
    for (const std::string& line : example.lines) runExpression(example, line, line);
}

// What the file decides and computes, by the words of the results.
void runParameters(const Example& example)
{
    std::string text;
    for (const std::string& line : example.lines) text += line + "\n";
    zel_test::CompleteParameters file(text);
    ASSERT_FALSE(file.outcome.ended) << file.outcome.err;
    ASSERT_EQ(file.outcome.err + file.outcome.out, "");
    Pixel pixel(example.pixel);
    std::map<std::string, bool> facts;
    const bool required = ZELFeatureCheckRequirements(file.get(), &pixel.pixel) != 0;
    const bool optional = ZELFeatureCheckOptions(file.get(), &pixel.pixel) != 0;
    ZELFeatureApplyFilters(file.get(), &pixel.pixel);
    facts = {{"requirements hold", required},
             {"requirements fail", !required},
             {"options hold", optional},
             {"options fail", !optional},
             {"skipped", pixel.pixel.skipPixelFlag != 0}};
    ASSERT_FALSE(example.results.empty());
    for (const std::string& result : example.results) {
        if (facts.count(result)) {
            EXPECT_TRUE(facts[result]) << result;
        } else if (result.starts_with("feature ")) {
            const auto [number, value] = splitAt(result.substr(8), " is ");
            const CommandListStruct feature =
                zel_test::entry(file->Features, std::stoi(number) - 1);
            ASSERT_NE(feature.Condition, nullptr) << result;
            expectNumber(value, ZELEvaluateStack(feature.Condition, &pixel.pixel), result);
        } else {
            EXPECT_TRUE(expectField(result, pixel, result)) << result;
        }
    }
}

void runProgram(const Example& example)
{
    std::string text;
    for (const std::string& line : example.lines) text += line + "\n";
    const zel_test::Program program(text);
    ASSERT_NE(program.first, nullptr) << program.outcome.err;
    Pixel pixel(example.pixel);
    EXPECT_EQ(executeProgram(program.first, &pixel.pixel), 0);
    ASSERT_FALSE(example.results.empty());
    std::string warnings;
    for (const std::string& result : example.results) {
        if (result.starts_with("warning: "))
            warnings += result + "\n";
        else
            EXPECT_TRUE(expectField(result, pixel, result)) << result;
    }
    EXPECT_EQ(program.outcome.err + program.outcome.out, warnings);
}

// A C program is compiled and run by a script.
void leaveToTheScript(const Example&) {}

TEST(ExpressionGuide, EveryExampleGivesWhatItSays)
{
    const std::map<std::string, void (*)(const Example&)> runs = {{"expression", runExpressions},
                                                                  {"parameters", runParameters},
                                                                  {"program", runProgram},
                                                                  {"c", leaveToTheScript}};
    std::map<std::string, int> lines;
    for (const Example& example : readGuide()) {
        SCOPED_TRACE("docs/expressions.md:" + std::to_string(example.line));
        ASSERT_TRUE(runs.count(example.kind)) << "an example that no test runs: " << example.kind;
        ASSERT_FALSE(example.lines.empty());
        runs.at(example.kind)(example);
        lines[example.kind] += static_cast<int>(example.lines.size());
    }
    EXPECT_GE(lines["expression"], 50);
    EXPECT_GE(lines["parameters"], 15);
    EXPECT_GE(lines["program"], 22);
}

// Names and messages that the guide lists in its tables.
TEST(ExpressionGuide, ItNamesEveryOperatorVariableAndMessage)
{
    const std::string guide = zel_test::readText(zel_test::sourceFile("docs/expressions.md"));
    for (int i = 0; i < numOperators; ++i)
        EXPECT_NE(guide.find("`" + std::string(Operators[i].name)), std::string::npos)
            << Operators[i].name;
    for (const char* name : {"class", "sz", "solar_zenith", "vz", "viewing_zenith", "az", "azimuth",
                             "sg", "sunglint", "lat", "latitude", "lon", "longitude", "olson_eco",
                             "igbp_eco", "percent_water", "terrain", "julian_day", "year"}) {
        EXPECT_NE(guide.find("`" + std::string(name) + "`"), std::string::npos) << name;
        EXPECT_EQ(Compiled(name).status, 0) << name;
    }
    for (int i = 1; i < ZEL_NUM_PARSE_STATUSES; ++i)
        EXPECT_NE(guide.find("`" + std::string(ParseErrorMsgs[i]) + "`"), std::string::npos);
}

}  // namespace
