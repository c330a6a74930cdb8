// Files of the feature layer byte by byte, from the tables of the format alone: nothing here is
// shared with the library.
#pragma once

#include <bit>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/outcome.hpp"

namespace zel_test {

// Big-endian numbers, and texts after their length.
class FeatureBytes {
public:
    FeatureBytes& word(std::uint32_t value)
    {
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<unsigned char>(value >> shift));
        return *this;
    }
    FeatureBytes& number(std::int32_t value) { return word(static_cast<std::uint32_t>(value)); }
    FeatureBytes& real(float value) { return word(std::bit_cast<std::uint32_t>(value)); }
    FeatureBytes& raw(const std::string& text)
    {
        bytes.insert(bytes.end(), text.begin(), text.end());
        return *this;
    }
    FeatureBytes& string(const std::string& text)
    {
        number(static_cast<std::int32_t>(text.size()) + 1).raw(text);
        bytes.push_back(0);
        return *this;
    }

    Bytes bytes;
};

// An entry of a list; what is empty is absent.
struct ListEntry {
    std::optional<std::string> label, condition, action;
};

using List = std::vector<ListEntry>;

struct ClassRecord {
    std::string name;
    int red = 0, green = 0, blue = 0;
};

// A feature header; classes that are not given have an empty name and are black.
struct FeatureHeader {
    std::string identifier = std::string("ZEL_FEATURE_HEADER") + '\0';
    std::string version = "1.2";
    std::string date = "12:34:56  Tuesday Jun 11 2024";
    std::string output = "out.feat";
    std::vector<std::string> inputs = {"a.zel", "b.zel"};
    std::map<int, int> counts;
    std::map<int, ClassRecord> classes;
    List conditions, features = {{{}, "Ch1", {}}};
    std::vector<float> maxima = {0}, minima = {0};
    List requirements, filters, comments, title, options;
    bool hasOptions = true;
    int randomSeed = 82497, subSampling = 0, classType = 0, dataType = 0;
};

// The bytes, and where its items begin: "class counts", "classes", "conditions" and so on.
struct BuiltHeader {
    Bytes bytes;
    std::map<std::string, std::size_t> places;
};

inline void appendList(FeatureBytes& b, const List& list)
{
    const auto optional = [&b](const std::optional<std::string>& text) {
        b.number(text ? 1 : 0);
        if (text) b.string(*text);
    };
    b.number(static_cast<int>(list.size()));
    for (const ListEntry& e : list) {
        optional(e.label);
        optional(e.condition);
        optional(e.action);
    }
}

inline BuiltHeader build(const FeatureHeader& h)
{
    FeatureBytes b;
    BuiltHeader built;
    const auto begin = [&](const char* item) { built.places[item] = b.bytes.size(); };
    b.raw(h.identifier).string(h.version).string(h.date).string(h.output);
    begin("input files");
    b.number(static_cast<int>(h.inputs.size()));
    for (const std::string& name : h.inputs) b.string(name);
    begin("class counts");
    for (int i = 0; i < 1000; ++i) b.number(h.counts.count(i) ? h.counts.at(i) : 0);
    begin("classes");
    for (int i = 0; i < 1000; ++i) {
        const ClassRecord c = h.classes.count(i) ? h.classes.at(i) : ClassRecord{};
        b.string(c.name).number(c.red).number(c.green).number(c.blue);
    }
    begin("conditions");
    appendList(b, h.conditions);
    begin("features");
    appendList(b, h.features);
    begin("feature ranges");
    for (const float f : h.maxima) b.real(f);
    for (const float f : h.minima) b.real(f);
    begin("requirements");
    appendList(b, h.requirements);
    begin("filters");
    appendList(b, h.filters);
    begin("comments");
    appendList(b, h.comments);
    begin("title");
    appendList(b, h.title);
    begin("options");
    if (h.hasOptions) appendList(b, h.options);
    begin("random seed");
    b.number(h.randomSeed).number(h.subSampling).number(h.classType).number(h.dataType);
    begin("end");
    built.bytes = b.bytes;
    return built;
}

// A header with a distinct value in every item: two conditions, three features.
inline FeatureHeader fullHeader()
{
    FeatureHeader h;
    h.counts = {{0, 5}, {3, 258}, {999, 1}};
    h.classes = {{0, {"none", 1, 2, 3}}, {3, {"water", 0, 10, 255}}, {999, {"last", 7, 8, 9}}};
    h.conditions = {{"bright", "Ch1 > 50", {}}, {"both", "bright && Ch2", {}}};
    h.features = {{"sum", "Ch1+Ch2", {}}, {{}, "Ch3", {}}, {"", "both", {}}};
    h.maxima = {1.5f, 3.0f, 1.0f};
    h.minima = {-2.0f, 0.25f, 0.0f};
    h.requirements = {{{}, "bright", {}}};
    h.filters = {{"mark", "both", "class=3"}, {{}, "Ch1", "skip_pixel"}};
    h.comments = {{"a comment", {}, {}}, {"another", {}, {}}};
    h.title = {{"the title", {}, {}}};
    h.options = {{"may", "Ch2 < 9", {}}};
    h.randomSeed = 7;
    h.subSampling = -4;
    h.classType = 2;
    h.dataType = 5;
    return h;
}

// A temporary stream to write and read.
class Stream {
public:
    explicit Stream(const Bytes& content = {}) : file_(tmpfile(), std::fclose)
    {
        if (!content.empty()) std::fwrite(content.data(), 1, content.size(), file_.get());
        std::rewind(file_.get());
    }
    operator FILE*() const { return file_.get(); }
    Bytes bytes() const
    {
        const std::string content = contentOf(file_.get());
        return {content.begin(), content.end()};
    }

private:
    std::unique_ptr<FILE, int (*)(FILE*)> file_;
};

}  // namespace zel_test
