// Histograms of scenes as one document.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "archive/merge/merge_input.hpp"
#include "zel.h"

namespace zel_tool {

// Counts are added up where label, units, range and bins are equal; other histograms of a channel
// stay apart. The names of the scenes are kept, so that none is counted twice.
class MergedHistograms {
public:
    // The histograms that the channels of a ZEL file or container hold, or merged ones. Throws
    // Failure.
    void add(MergeInput& input);

    std::size_t scenes() const { return scenes_.size(); }
    std::size_t scenesWithout() const { return without_; }
    std::size_t histograms() const { return sums_.size(); }

    // A line of JSON for the whole, one for each histogram, and one for each scene, in the order of
    // what they begin with.
    template <class Write>
    void write(const Write& write) const
    {
        write(firstLine());
        for (const auto& [key, sum] : sums_) write(lineOf(key, sum));
        for (const auto& [file, from] : scenes_) write(Json{{"file", file}}.dump() + "\n");
    }

private:
    struct Key {
        std::string label, units;
        float min, max;
        std::int64_t bins;
        auto operator<=>(const Key&) const = default;
    };
    struct Sum {
        std::int64_t scenes = 0;
        std::vector<std::int64_t> counts;
    };
    void addScene(const MergeInput& input);
    bool addChannels(const MergeInput& input, const ZELType& record);
    void addLine(const MergeInput& input, const Json& value);
    void addName(const MergeInput& input, const std::string& file);
    void addCounts(const MergeInput& input, const Key& key, const Sum& sum);
    std::string firstLine() const;
    static std::string lineOf(const Key& key, const Sum& sum);

    std::map<Key, Sum> sums_;
    std::map<std::string, std::string> scenes_;  // and the input that has each
    std::size_t without_ = 0;
};

}  // namespace zel_tool
