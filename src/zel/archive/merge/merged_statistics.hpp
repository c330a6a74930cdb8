// Statistics of scenes as one document.
#pragma once

#include <map>
#include <string>

#include "archive/merge/merge_input.hpp"

namespace zel_tool {

// The statistics of each scene are kept, a line for each, and the totals are computed from the
// sorted lines whenever they are written: a sum of floats depends on its order, a set of lines does
// not. A scene that is there twice counts once.
class MergedStatistics {
public:
    // What "zel info --json --stats" prints, or merged statistics. Throws Failure.
    void add(MergeInput& input);

    std::size_t scenes() const { return rows_.size(); }

    // A line of totals, then one for each scene by the order of file names. Throws Failure.
    template <class Write>
    void write(const Write& write) const
    {
        write(totalsLine());
        for (const auto& [file, row] : rows_) write(row.line + "\n");
    }

private:
    struct Row {
        std::string line, from;
    };
    void addDocument(const MergeInput& input, const Json& value);
    void addRow(const MergeInput& input, const Json& value);
    std::string totalsLine() const;

    std::map<std::string, Row> rows_;
};

}  // namespace zel_tool
