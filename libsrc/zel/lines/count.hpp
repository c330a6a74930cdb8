// Counting the current line into the histograms of its channels.
#ifndef ZEL_LINES_COUNT_HPP
#define ZEL_LINES_COUNT_HPP

#include <cstdint>

#include "ground/memory.hpp"
#include "zel_types.h"

namespace zel {

// Counts channels of one line. Which pixels lie on the earth, and which in daylight, is the same
// for all channels and found once.
class LineCounter {
public:
    explicit LineCounter(ZELType& file) : file_(file) {}

    // Counts the channel's line, when the file and the channel keep a histogram.
    void count(int channel);

private:
    void prepare();
    void findPositions();
    void findDaylight();
    int collect(const ZELChannelType& channel);

    ZELType& file_;
    int pixels_ = 0;  // of a line; 0 until the first channel is counted
    bool daylightIsKnown_ = false;
    Owned<float> values_;
    Owned<std::uint8_t> onEarth_;     // 1 where a pixel counts, as far as its position goes
    Owned<std::uint8_t> inDaylight_;  // the same where it must lie in daylight too
};

}  // namespace zel

#endif
