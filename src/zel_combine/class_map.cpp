#include "class_map.hpp"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <numeric>
#include <utility>

#include "messages.hpp"
#include "stream.hpp"
#include "zel.h"
#include "zel_features/zel_features.h"

namespace zel_combine {
namespace {

struct FreeParameters {
    void operator()(ZELParameterStruct* parameters) const
    {
        ZELFeatureFreeParameters(parameters);
        delete parameters;
    }
};

using Parameters = std::unique_ptr<ZELParameterStruct, FreeParameters>;

// A feature file while its header is read: the messages of the library do not name the file.
struct Header {
    const char* name;
    Stream stream;
    Parameters parameters;
};

void readHeader(void* data)
{
    const auto& header = *static_cast<Header*>(data);
    ZELFeatureReadHeader(header.stream.get(), header.parameters.get());
}

// Null, after a message, when the file does not open or cannot be read.
Parameters readHeader(const char* name)
{
    Header header{name, Stream(std::fopen(name, "rb")), nullptr};
    if (!header.stream) {
        say("cannot read zel_feature header file %s\n", name);
        return nullptr;
    }
    header.parameters.reset(new ZELParameterStruct{});
    if (ZELGuardedCall(readHeader, &header, nullptr) == 0) return std::move(header.parameters);
    sayError("Error: cannot read zel_feature header file %s\n", name);
    return nullptr;
}

const char* findTable(const ZELParameterStruct& parameters)
{
    for (const CommandListStruct* entry = parameters.Comments.ListHead; entry; entry = entry->next)
        if (entry->Label && std::strstr(entry->Label, "ARFF_TO_ZEL")) return entry->Label;
    return nullptr;
}

// The text after its first word; null when there is no further word.
const char* nextWord(const char* text)
{
    text += std::strspn(text, " ");
    text += std::strcspn(text, " ");
    text += std::strspn(text, " ");
    return *text ? text : nullptr;
}

// A word that does not begin with a number is 0.
int number(const char* word)
{
    return static_cast<int>(std::clamp<long>(std::strtol(word, nullptr, 10), INT_MIN, INT_MAX));
}

}  // namespace

ClassMap::ClassMap()
{
    std::iota(ARFFToZELClass.begin(), ARFFToZELClass.end(), 0);
}

bool ClassMap::read(const char* featureHeader, std::optional<int>& numClasses)
{
    const Parameters parameters = readHeader(featureHeader);
    if (!parameters) return false;
    numClasses.reset();
    const char* comment = findTable(*parameters);
    if (!comment) return true;
    if (readTable(comment, numClasses.emplace())) return true;
    say("zel_combine: Error: damaged class table in feature header file %s\n", featureHeader);
    return false;
}

// "keyword count class class ...", the classes of 0, 1, 2, ...
bool ClassMap::readTable(const char* comment, int& numClasses)
{
    const char* word = nextWord(comment);
    if (!word) return false;
    numClasses = number(word);
    if (numClasses < 0 || numClasses > static_cast<int>(ARFFToZELClass.size())) return false;
    std::vector<int> classes;
    while (static_cast<int>(classes.size()) < numClasses) {
        word = nextWord(word);
        if (!word) return false;
        classes.push_back(number(word));
    }
    std::copy(classes.begin(), classes.end(), ARFFToZELClass.begin());
    hasTable_ = true;
    say("%d classes:", numClasses);
    for (const int c : classes) say(" %d", c);
    say("\n");
    return true;
}

void ClassMap::translate(std::vector<float>& values) const
{
    const auto end = static_cast<float>(ARFFToZELClass.size());
    for (float& value : values)
        if (value > -1.0f && value < end)
            value = static_cast<float>(ARFFToZELClass[static_cast<std::size_t>(value)]);
}

}  // namespace zel_combine
