// The filters and programs of a mask for a line: the same as pixel after pixel, to the bit.
#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include "support/expression.hpp"
#include "support/line.hpp"
#include "support/program.hpp"

namespace {

using zel_test::Compiled;
using zel_test::difference;
using zel_test::Outcome;
using zel_test::PixelLine;
using zel_test::Program;
using zel_test::Random;
using zel_test::randomLine;
using zel_test::Row;

using Flags = std::vector<int>;

// A list of filters; an empty text is an entry without that expression.
class FilterList {
public:
    struct Text {
        std::string condition, action;
    };

    explicit FilterList(const std::vector<Text>& texts) : entries_(texts.size())
    {
        for (std::size_t i = 0; i < texts.size(); ++i) {
            entries_[i].Condition = compiled(texts[i].condition);
            entries_[i].Action = compiled(texts[i].action);
            if (i > 0) entries_[i - 1].next = &entries_[i];
        }
    }
    FilterList(const FilterList&) = delete;
    FilterList& operator=(const FilterList&) = delete;

    CommandStruct list()
    {
        if (entries_.empty()) return {};
        return {&entries_.back(), &entries_.front(), static_cast<int>(entries_.size())};
    }

private:
    ZELStackStruct* compiled(const std::string& text)
    {
        if (text.empty()) return nullptr;
        stacks_.push_back(std::make_unique<Compiled>(text, false));
        EXPECT_EQ(stacks_.back()->status, 0) << text;
        return &stacks_.back()->stack;
    }

    std::vector<std::unique_ptr<Compiled>> stacks_;
    std::vector<CommandListStruct> entries_;
};

using OnPixel = void (*)(const ZELMaskParameterType*, ZELPixelStruct*);
using OnLine = void (*)(const ZELMaskParameterType*, ZELPixelStruct*, const ZELLineStruct*,
                        const int*);

PixelLine filtered(const ZELMaskParameterType& parameters, OnLine filter, PixelLine line,
                   const int* passedOver = nullptr)
{
    const ZELLineStruct structure = line.structure();
    filter(&parameters, &line.record, &structure, passedOver);
    return line;
}

PixelLine filteredByPixels(const ZELMaskParameterType& parameters, OnPixel filter, PixelLine line,
                           const int* passedOver)
{
    line.byPixels([&](ZELPixelStruct& pixel, std::size_t i) {
        if (!passedOver || passedOver[i] == 0) filter(&parameters, &pixel);
    });
    return line;
}

PixelLine randomFilterLine(Random& random)
{
    PixelLine line = randomLine(random, random.oneIn(5) ? 1030 : 1 + random.below(60));
    for (Row& row : line.channelRows)
        if (row.empty()) row = line.newRow(1.0f);
    for (float& weight : line.record.class_weights) weight = 1.0f;
    if (random.oneIn(2)) line.weightRows[3] = line.newRow(1.0f);
    return line;
}

std::vector<FilterList::Text> randomFilters(Random& random, const std::vector<std::string>& actions)
{
    static const char* const conditions[] = {
        "Ch1>0",         "Ch2<Ch3&&class==0",   "0.5",     "sz",          "",
        "register1=Ch1", "(register2=Ch2)>Ch1", "class>3", "register1>0", "(class=Ch1)*2",
        "(skip_pixel)"};
    std::vector<FilterList::Text> texts;
    for (int n = random.below(5); n > 0; --n) {
        std::string condition = random.of(conditions);
        if (condition == "(skip_pixel)" && !random.oneIn(3)) condition = "Ch1<Ch2";
        texts.push_back(
            {condition,
             actions[static_cast<std::size_t>(random.below(static_cast<int>(actions.size())))]});
    }
    return texts;
}

void expectSameFilters(unsigned seed, CommandStruct ZELMaskParameterType::*filters, OnPixel onPixel,
                       OnLine onLine, const std::vector<std::string>& actions)
{
    Random random(seed);
    for (int i = 0; i < 600; ++i) {
        FilterList list(randomFilters(random, actions));
        ZELMaskParameterType parameters = {};
        parameters.*filters = list.list();
        const PixelLine line = randomFilterLine(random);
        Flags passedOver(line.values.size());
        for (int& flag : passedOver) flag = random.below(2);
        const int* passed = random.oneIn(2) ? passedOver.data() : nullptr;
        const PixelLine pixels = filteredByPixels(parameters, onPixel, line, passed);
        ASSERT_EQ(difference(filtered(parameters, onLine, line, passed), pixels), "") << i;
    }
}

TEST(MaskLine, FiltersBeforeClassificationAreThoseOfThePixels)
{
    expectSameFilters(5, &ZELMaskParameterType::PreClassFilters, ZELFeaturePreClassificationFilter,
                      ZELFeaturePreClassificationFilterLine, {"3,4", "7", "1000,3", "Ch5", ""});
}

TEST(MaskLine, FiltersAfterClassificationAreThoseOfThePixels)
{
    expectSameFilters(6, &ZELMaskParameterType::PostClassFilters,
                      ZELFeaturePostClassificationFilter, ZELFeaturePostClassificationFilterLine,
                      {"class=7", "skip_pixel", "class=class+1", "register1=Ch2", ""});
}

TEST(MaskLine, AFilterExcludesTheClassesOfItsListAndZeroByTheComma)
{
    FilterList list(std::vector<FilterList::Text>{{"Ch1>2", "3,4"}});
    ZELMaskParameterType parameters = {};
    parameters.PreClassFilters = list.list();
    PixelLine line(4, 1);
    line.channelRows[0] = {1, 9, 2, 3};
    for (const int index : {0, 3, 4, 5}) line.weightRows[index] = line.newRow(1.0f);
    const Flags passedOver = {0, 0, 0, 1};
    const PixelLine after =
        filtered(parameters, ZELFeaturePreClassificationFilterLine, line, passedOver.data());
    for (const int index : {0, 3, 4}) EXPECT_EQ(after.weightRows.at(index), Row({1, 0, 1, 1}));
    EXPECT_EQ(after.weightRows.at(5), Row(4, 1.0f));
}

TEST(MaskLine, AnActionThatSkipsThePixelIsTheLast)
{
    FilterList list(std::vector<FilterList::Text>{
        {"class==2", "class=3"}, {"Ch1>2", "skip_pixel"}, {"1", "class=class+10"}});
    ZELMaskParameterType parameters = {};
    parameters.PostClassFilters = list.list();
    PixelLine line(4, 1);
    line.channelRows[0] = {1, 9, 2, 3};
    line.giveRow(12);
    line.fieldRows[12] = {2, 2, 5, 5};
    const PixelLine after = filtered(parameters, ZELFeaturePostClassificationFilterLine, line);
    EXPECT_EQ(after.fieldRows[12], Row({13, 0, 15, 0}));
}

// ---- Programs ----

struct Processed {
    Flags results;
    std::string errors;
};

template <class Process>
Processed processed(const ZELMaskParameterType& parameters, Process process, PixelLine line,
                    const int* passedOver)
{
    Processed result = {Flags(line.values.size(), -7), ""};
    const ZELLineStruct structure = line.structure();
    errno = 0;
    result.errors =
        zel_test::run([&] {
            process(&parameters, &line.record, &structure, passedOver, result.results.data());
        }).err;
    return result;
}

PixelLine fourPixels()
{
    PixelLine line(4, 1);
    line.channelRows[0] = {1, 9, 2, 3};
    line.giveRow(12);
    return line;
}

constexpr char postError[] = "ZELPostProcessPixel: Error occurred during execution of program\n";
constexpr char preError[] = "ZELPreProcessPixel: Error occurred during execution of program\n";

TEST(MaskLine, EverySkippedPixelIsReportedAfterClassificationAndNoneBefore)
{
    const Program program("if (Ch1>2) skip_pixel\nclass=1\n", 1);
    ZELMaskParameterType parameters = {};
    parameters.PreProcessHead = parameters.PostProcessHead = program.first;
    const Flags passedOver = {0, 1, 0, 0};
    const Processed post =
        processed(parameters, ZELPostProcessLine, fourPixels(), passedOver.data());
    EXPECT_EQ(post.results, Flags({0, 1, 0, 1}));
    EXPECT_EQ(post.errors, postError);  // the last pixel's; the second was passed over
    const Processed pre = processed(parameters, ZELPreProcessLine, fourPixels(), nullptr);
    EXPECT_EQ(pre.results, Flags({0, 1, 0, 1}));
    EXPECT_EQ(pre.errors, "");
}

TEST(MaskLine, AProgramThatFailsIsReportedForEachPixel)
{
    const Program program("if (Ch1>2) weightclasses 3: skip_pixel\nclass=1\n");
    ZELMaskParameterType parameters = {};
    parameters.PreProcessHead = program.first;
    const Processed pre = processed(parameters, ZELPreProcessLine, fourPixels(), nullptr);
    EXPECT_EQ(pre.results, Flags({0, -1, 0, -1}));
    const std::string one =
        std::string("executeProgram: invalid statement error:\n"
                    "skip_pixel statement cannot be used in a weightclasses\n") +
        preError;
    EXPECT_EQ(pre.errors, one + one);
}

TEST(MaskLine, AMaskWithoutProgramsAndFiltersDoesNothing)
{
    const ZELMaskParameterType parameters = {};
    const Processed pre = processed(parameters, ZELPreProcessLine, fourPixels(), nullptr);
    EXPECT_EQ(pre.results, Flags(4, 0));
    const PixelLine line = fourPixels();
    EXPECT_EQ(difference(filtered(parameters, ZELFeaturePostClassificationFilterLine, line), line),
              "");
}

}  // namespace
