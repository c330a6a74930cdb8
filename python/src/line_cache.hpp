// The lines of a view that were made last, with all channels: who asks for one channel asks for the
// others next.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "zel.h"

namespace zel_python {

class LineCache {
public:
    // What all lines together may take, if there is more than one.
    static constexpr std::size_t limit = std::size_t{64} << 20;

    // For the present channels of a record.
    explicit LineCache(ZELType& record);

    // Takes the line that the record holds.
    void keep(const ZELType& record, int line);

    bool has(int line) const { return lines_[indexOf(line)] == line; }

    // Values or stored numbers of a channel in a line that it has.
    const char* row(int line, int slot, bool isDecoded) const;

    // How many lines it can have at a time.
    std::size_t size() const { return lines_.size(); }

private:
    struct Row {
        std::size_t bytes = 0, place = 0;
    };
    struct Rows {
        int slot;
        Row stored, values;
    };
    std::size_t indexOf(int line) const { return static_cast<std::size_t>(line) % lines_.size(); }

    std::vector<Rows> rows_;  // of a line, by slot
    std::size_t lineBytes_ = 0;
    std::vector<int> lines_;         // the line at each index; -1 where there is not one yet
    std::unique_ptr<char[]> bytes_;  // the system gives what is written to
};

}  // namespace zel_python
