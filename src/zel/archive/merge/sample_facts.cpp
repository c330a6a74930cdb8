#include "archive/merge/sample_facts.hpp"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "base/text.hpp"

namespace zel_tool {
namespace {

using Text = std::optional<std::string>;

Text textOf(const char* text)
{
    return text ? Text(text) : std::nullopt;
}

Text textOf(const ZELStackStruct* stack)
{
    return stack ? textOf(stack->expression) : std::nullopt;
}

// The number of entries comes first, so that two lists differ in it before a name does.
void addList(std::vector<SampleFact>& facts, const std::string& name, const CommandStruct& list)
{
    const std::size_t place = facts.size();
    facts.emplace_back();
    int number = 0;
    for (const CommandListStruct* e = list.ListHead; e; e = e->next) {
        if (isRunRecord(*e)) continue;
        const std::string entry = format(" of %s %d", name.c_str(), ++number);
        facts.push_back({"label" + entry, textOf(e->Label)});
        facts.push_back({"condition" + entry, textOf(e->Condition)});
        facts.push_back({"action" + entry, textOf(e->Action)});
    }
    facts[place] = {"number of " + name + "s", std::to_string(number)};
}

void addClasses(std::vector<SampleFact>& facts, const ZELClassStruct& classes)
{
    for (int i = 0; i < ZEL_FEATURE_NUM_CLASSES; ++i) {
        const std::string number = format(" of class %d", i);
        facts.push_back({"name" + number, textOf(classes.name[i])});
        facts.push_back({"colour" + number,
                         format("%d %d %d", classes.Red[i], classes.Green[i], classes.Blue[i])});
    }
}

// 1 to 12 of a name that begins with the first three letters of a month; else 0.
int monthOf(const std::string& name)
{
    static constexpr const char* months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                             "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const auto* const found = std::find_if(std::begin(months), std::end(months),
                                           [&](const char* m) { return name.starts_with(m); });
    return found == std::end(months) ? 0 : static_cast<int>(found - std::begin(months)) + 1;
}

}  // namespace

bool isRunRecord(const CommandListStruct& entry)
{
    return entry.Label && std::string_view(entry.Label).starts_with("zel run: ");
}

std::vector<SampleFact> factsOf(const ZELParameterStruct& p)
{
    std::vector<SampleFact> facts;
    addList(facts, "feature", p.Features);
    addList(facts, "definition", p.Conditions);
    addList(facts, "requirement", p.Requirements);
    addList(facts, "filter", p.Filters);
    addList(facts, "option", p.Options);
    addClasses(facts, p.ClassInfo);
    facts.push_back({"random seed", std::to_string(p.RandomSeed)});
    facts.push_back({"subsampling", std::to_string(p.SubSamplingMethod)});
    facts.push_back({"class type", std::to_string(p.ClassType)});
    facts.push_back({"data type", std::to_string(p.DataType)});
    addList(facts, "title line", p.Title);
    addList(facts, "comment", p.Comments);
    return facts;
}

long long dateRank(const std::string& date)
{
    std::vector<std::string> words = split(date, ' ');
    words.erase(std::remove(words.begin(), words.end(), ""), words.end());
    if (words.size() != 5) return 0;
    const std::vector<std::string> clock = split(words[0], ':');
    const int month = monthOf(words[2]);
    if (clock.size() != 3 || month == 0) return 0;
    long long rank = 0;
    for (const std::string& part :
         {words[4], std::to_string(month), words[3], clock[0], clock[1], clock[2]}) {
        long long number = 0;
        if (!parseInteger(part, number) || number < 0 || number > 9999) return 0;
        rank = rank * 100 + number;
    }
    return rank;
}

}  // namespace zel_tool
