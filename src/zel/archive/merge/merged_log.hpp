// Run logs of shards as one.
#pragma once

#include <map>
#include <string>
#include <tuple>

#include "archive/merge/merge_input.hpp"

namespace zel_tool {

// A line of JSON for each scene and recipe, and for each file that could not be read. Of several
// the one stays that says most: done before skipped before failed, then the later start, then the
// greater text. That is the greatest of a total order, so that neither the order of logs nor their
// grouping counts.
class MergedLog {
public:
    // A last line that is cut, as a worker that was killed leaves it, is left out with a warning.
    // Throws Failure with the line for any other that is not of a run log.
    void add(MergeInput& input);

    std::size_t scenes() const;
    std::size_t withStatus(const std::string& status) const;
    std::size_t unread() const { return best_.size() - scenes(); }

    // Scenes in the order of ids, then of recipes; then files.
    template <class Write>
    void write(const Write& write) const
    {
        for (const auto& [key, entry] : best_) write(entry.line + "\n");
    }

private:
    struct Entry {
        int rank = 0;
        std::string start, line, status;
    };
    // Whether it is a file, its name or the id of the scene, and the recipe.
    using Key = std::tuple<bool, std::string, std::string>;
    void addLine(const MergeInput& input, const std::string& line);

    std::map<Key, Entry> best_;
};

}  // namespace zel_tool
