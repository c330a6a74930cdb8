// Mask files byte by byte, from the tables of the format alone: nothing here is shared with the
// library.
#pragma once

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "support/feature_bytes.hpp"

namespace zel_test {

struct ClassifierRecord {
    FeatureHeader header;
    int type = 0, level = 0;
    Bytes data;
    bool hasLevel = true;  // as in headers above version 1.1
};

struct MaskRecord {
    std::string identifier = "ZEL_MASK";
    int channel = 0;
    std::string version = "1.2";
    std::string date = "01:02:03  Monday Jan 01 2024";
    std::string label, comment;
    List conditions, preFilters, postFilters;
    std::vector<std::string> preProgram, postProgram;
    bool hasPrograms = true;  // as in versions above 1.0
    int type = 0;
    bool hasType = true;  // as in versions above 1.1
    List title, comments;
    std::vector<ClassifierRecord> classifiers = {{}};
};

// The bytes, and where the items begin: "identifier", "channel", "conditions", "classifier 0",
// "classifier 0 size" and so on, and "end".
struct BuiltMask {
    Bytes bytes;
    std::vector<std::pair<std::string, std::size_t>> items;  // in file order

    std::size_t place(const std::string& item) const
    {
        for (const auto& [name, offset] : items)
            if (name == item) return offset;
        throw std::out_of_range(item);
    }
    Bytes upTo(std::size_t size) const
    {
        return {bytes.begin(), bytes.begin() + static_cast<long>(size)};
    }
    // Overwrites a number, or the length of a string.
    void put(const std::string& item, std::int32_t value)
    {
        const Bytes number = FeatureBytes().number(value).bytes;
        std::copy(number.begin(), number.end(), bytes.begin() + static_cast<long>(place(item)));
    }
};

inline void appendProgram(FeatureBytes& b, const std::vector<std::string>& lines)
{
    b.number(static_cast<int>(lines.size()));
    for (const std::string& line : lines) b.string(line);
}

inline BuiltMask build(const MaskRecord& m)
{
    FeatureBytes b;
    BuiltMask built;
    const auto begin = [&](const std::string& item) {
        built.items.emplace_back(item, b.bytes.size());
    };
    begin("count");
    b.number(static_cast<int>(m.classifiers.size()));
    begin("identifier");
    b.string(m.identifier);
    begin("channel");
    b.number(m.channel);
    begin("version");
    b.string(m.version);
    begin("date");
    b.string(m.date);
    begin("label");
    b.string(m.label);
    begin("comment");
    b.string(m.comment);
    begin("conditions");
    appendList(b, m.conditions);
    begin("pre-class filters");
    appendList(b, m.preFilters);
    begin("post-class filters");
    appendList(b, m.postFilters);
    begin("preprocess");
    if (m.hasPrograms) appendProgram(b, m.preProgram);
    begin("postprocess");
    if (m.hasPrograms) appendProgram(b, m.postProgram);
    begin("type");
    if (m.hasType) b.number(m.type);
    begin("title");
    appendList(b, m.title);
    begin("comments");
    appendList(b, m.comments);
    for (std::size_t i = 0; i < m.classifiers.size(); ++i) {
        const ClassifierRecord& c = m.classifiers[i];
        const std::string name = "classifier " + std::to_string(i);
        const BuiltHeader header = build(c.header);
        begin(name);
        for (const auto& [item, offset] : header.places)
            built.items.emplace_back(name + " " + item, b.bytes.size() + offset);
        b.bytes.insert(b.bytes.end(), header.bytes.begin(), header.bytes.end());
        begin(name + " size");
        b.number(static_cast<int>(c.data.size()));
        begin(name + " type");
        b.number(c.type);
        begin(name + " level");
        if (c.hasLevel) b.number(c.level);
        begin(name + " data");
        b.bytes.insert(b.bytes.end(), c.data.begin(), c.data.end());
    }
    begin("end");
    built.bytes = b.bytes;
    return built;
}

// A mask with a distinct value in every item: definitions that filters and programs use, and two
// classifiers.
inline MaskRecord fullMask()
{
    MaskRecord m;
    m.channel = 2;
    m.label = "cloud mask";
    m.comment = "of two classifiers";
    m.conditions = {{"bright", "Ch1 > 100", {}}, {"cold", "bright && Ch2 < 250", {}}};
    m.preFilters = {{{}, "bright", "3,4"}, {"night", "sz > 90", "7"}};
    m.postFilters = {{{}, "cold", "class=5"}, {{}, "Ch3==0", "skip_pixel"}};
    m.preProgram = {"if (bright) then", "  weightclasses 8,9:0.5", "endif", "register1=Ch2"};
    m.postProgram = {"if (class==5) class=6", "register2=1"};
    m.type = 1;
    m.title = {{"the title", {}, {}}};
    m.comments = {{"a comment", {}, {}}, {"", {}, {}}};
    ClassifierRecord first{fullHeader(), 3, 0, {}};
    for (int i = 0; i < 700; ++i) first.data.push_back(static_cast<unsigned char>(i * 7));
    ClassifierRecord second;
    second.header.output = "second.feat";
    second.header.features = {{"only", "Ch2", {}}};
    second.type = 1;
    second.level = 42;
    second.data = {0, 255, 'Z', 'E', 'L', 0};
    m.classifiers = {first, second};
    return m;
}

}  // namespace zel_test
