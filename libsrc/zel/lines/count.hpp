// Counting the current line into the histograms of its channels.
#ifndef ZEL_LINES_COUNT_HPP
#define ZEL_LINES_COUNT_HPP

#include "zel_types.h"

namespace zel {

// Counts channels of one line; what they share, the line's sun angles above all, is computed once.
class LineCounter {
public:
    explicit LineCounter(ZELType& file) : file_(file) {}

    // Counts the channel's line, when the file and the channel keep a histogram.
    void count(int channel);

private:
    struct Rules;

    const float* solarZenith();
    Rules rulesFor(const ZELChannelType& channel);
    int collect(const ZELChannelType& channel, float* values);

    ZELType& file_;
    const float* solarZenith_ = nullptr;
};

}  // namespace zel

#endif
