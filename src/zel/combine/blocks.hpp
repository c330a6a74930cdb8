// Blocks of pixels of a finer grid, brought to a pixel each by the methods that a view of the
// library does not have.
#pragma once

#include <cstdint>
#include <vector>

#include "combine/plan.hpp"

namespace zel_tool {

// The blocks of one channel, a line of the base at a time.
class Blocks {
public:
    explicit Blocks(const ChannelPlan& plan);

    const ChannelPlan& plan() const { return plan_; }

    // Takes line 0, 1, ... of the blocks from a component that holds it decoded.
    void take(const ZELType& part, int line);

    // Makes the line of a channel of the output, which holds the means that the library has made of
    // it: of whole blocks that miss nothing these stay.
    void finish(ZELChannelType& channel, unsigned char* pixels, int width);

private:
    struct Pixel {
        std::uint32_t stored;  // of a float, its bits
        float value;
    };

    bool isMissing(const Pixel& pixel) const;
    float valueOf(std::uint32_t stored) const;
    std::size_t blockSize() const;
    void gather(int x);
    Pixel result(const ZELChannelType& channel, int x);
    Pixel withoutValue() const;
    Pixel middle(int x) const;
    Pixel extreme(bool largest) const;
    Pixel mode();
    Pixel mean(const ZELChannelType& channel) const;
    Pixel sum() const;
    Pixel apart(const ZELChannelType& channel, Pixel pixel) const;

    ChannelPlan plan_;
    int sourceType_ = 0;
    const float* scale_ = nullptr;  // the value of every stored number
    std::vector<std::vector<Pixel>> lines_;
    std::vector<Pixel> block_;  // its pixels that are not missing
};

}  // namespace zel_tool
