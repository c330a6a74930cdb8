// A channel that is counted line by line.
#pragma once

#include <numeric>
#include <vector>

#include "support/writer.hpp"

namespace zel_test {

// A file of one channel whose next line is set and counted at will.
class Counter {
public:
    explicit Counter(int pixels, int units = 0, int navPoints = 0, int storageCode = 4,
                     float max = 0, float min = 0)
        : writer_(pixels, navPoints, 4)
    {
        ZELAddSensorChannel(writer_.get(), 0, max, min, storageCode, 8, "v", "", 1.0f, units);
        for (int i = 1; i < 4; ++i) writer_.add(i, 4, 0, 0);
        writer_.open();
    }

    // The solar zenith angle of every pixel, held in a channel.
    void setSolarZenith(const std::vector<float>& angles)
    {
        ZELSetSolarChannels(writer_.get(), 1, 2, 3);
        writer_.load(1, angles);
    }

    void count(const std::vector<float>& values)
    {
        writer_.load(0, values);
        ZELIncrementHistogram(writer_.get(), 0);
    }

    ZELHistogramType& histogram() { return *writer_.slot(0).ChannelHistogram; }
    float counted() { return histogram().NumPixels; }
    int bin(int i) { return histogram().Histogram[i]; }
    int total() { return std::accumulate(histogram().Histogram, histogram().Histogram + 256, 0); }
    Writer& writer() { return writer_; }

private:
    Writer writer_;
};

}  // namespace zel_test
