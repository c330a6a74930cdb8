#include "combine/blocks.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

namespace zel_tool {
namespace {

template <class T>
std::uint32_t load(const unsigned char* pixels, std::size_t x)
{
    T number;
    std::memcpy(&number, pixels + x * sizeof number, sizeof number);
    return number;
}

std::uint32_t load(const ZELChannelType& channel, const unsigned char* pixels, std::size_t x)
{
    if (channel.DataByteSize == 1) return pixels[x];
    if (channel.DataByteSize == 2) return load<std::uint16_t>(pixels, x);
    return load<std::uint32_t>(pixels, x);
}

void store(const ZELChannelType& channel, unsigned char* pixels, std::size_t x,
           std::uint32_t number)
{
    const auto half = static_cast<std::uint16_t>(number);
    if (channel.DataByteSize == 1)
        pixels[x] = static_cast<unsigned char>(number);
    else if (channel.DataByteSize == 2)
        std::memcpy(pixels + x * sizeof half, &half, sizeof half);
    else
        std::memcpy(pixels + x * sizeof number, &number, sizeof number);
}

std::uint32_t bitsOf(float value)
{
    return std::bit_cast<std::uint32_t>(value);
}

std::uint32_t largestStored(const ZELChannelType& channel)
{
    return channel.DataByteSize == 1 ? 255 : 65535;
}

// The stored number of a value, cut towards zero as the library does it.
std::uint32_t encoded(const ZELChannelType& channel, float value)
{
    if (channel.Type == ZEL_STORED_FLOAT) return bitsOf(value);
    const std::uint32_t largest = largestStored(channel);
    auto number = static_cast<double>(value);
    if (channel.Type == ZEL_STORED_BYTE_SCALED || channel.Type == ZEL_STORED_UINT16_SCALED) {
        const float part = (value - channel.MinValue) / (channel.MaxValue - channel.MinValue);
        number = static_cast<double>(part) * largest;
    }
    return number > 0.0 ? static_cast<std::uint32_t>(std::min<double>(number, largest)) : 0;
}

// Bits of floats in the order of the values.
std::uint32_t ordered(std::uint32_t bits)
{
    constexpr std::uint32_t sign = 0x80000000;
    return (bits & sign) != 0 ? ~bits : bits | sign;
}

}  // namespace

Blocks::Blocks(const ChannelPlan& plan) : plan_(plan), lines_(static_cast<std::size_t>(plan.factor))
{
}

float Blocks::valueOf(std::uint32_t stored) const
{
    if (sourceType_ == ZEL_STORED_FLOAT) return std::bit_cast<float>(stored);
    return scale_ ? scale_[stored] : static_cast<float>(stored);
}

bool Blocks::isMissing(const Pixel& pixel) const
{
    const Missing& missing = plan_.missing;
    if (sourceType_ != ZEL_STORED_FLOAT)
        return std::find(missing.stored.begin(), missing.stored.end(), pixel.stored) !=
               missing.stored.end();
    if (missing.notANumber && std::isnan(pixel.value)) return true;
    return std::any_of(missing.stored.begin(), missing.stored.end(), [&](std::uint32_t bits) {
        return std::bit_cast<float>(bits) == pixel.value;
    });
}

void Blocks::take(const ZELType& part, int line)
{
    const ZELChannelType& channel = part.Channels[plan_.sourceSlot];
    const unsigned char* stored = part.PixBuf[plan_.sourceSlot];
    sourceType_ = channel.Type;
    scale_ = channel.ChannelLUT;
    std::vector<Pixel>& pixels = lines_[static_cast<std::size_t>(line)];
    pixels.resize(static_cast<std::size_t>(part.ZELHeader.NPixelPerLine));
    for (std::size_t x = 0; x < pixels.size(); ++x)
        pixels[x] = {load(channel, stored, x), channel.ChannelData[x]};
}

std::size_t Blocks::blockSize() const
{
    return lines_.size() * lines_.size();
}

// The last block of a line may have fewer pixels, or none.
void Blocks::gather(int x)
{
    block_.clear();
    const std::size_t first = static_cast<std::size_t>(x) * lines_.size();
    for (const std::vector<Pixel>& line : lines_)
        for (std::size_t i = first; i < std::min(first + lines_.size(), line.size()); ++i)
            if (!isMissing(line[i])) block_.push_back(line[i]);
}

Blocks::Pixel Blocks::withoutValue() const
{
    constexpr float none = std::numeric_limits<float>::quiet_NaN();
    if (plan_.storage != sourceType_) return {bitsOf(none), none};
    const std::uint32_t fill = plan_.missing.fill();
    return {fill, valueOf(fill)};
}

Blocks::Pixel Blocks::middle(int x) const
{
    const std::size_t offset = (lines_.size() - 1) / 2;
    const std::vector<Pixel>& line = lines_[offset];
    const std::size_t column = static_cast<std::size_t>(x) * lines_.size() + offset;
    return line[std::min(column, line.size() - 1)];
}

// A value that is not a number is the result, as it is of a mean.
Blocks::Pixel Blocks::extreme(bool largest) const
{
    Pixel best = block_.front();
    for (const Pixel& pixel : block_) {
        if (std::isnan(pixel.value)) return pixel;
        const bool better = largest ? pixel.value > best.value : pixel.value < best.value;
        if (better || (pixel.value == best.value && pixel.stored < best.stored)) best = pixel;
    }
    return best;
}

// Of numbers that are equally frequent the smallest, so that the order of pixels does not count.
Blocks::Pixel Blocks::mode()
{
    const bool isFloat = sourceType_ == ZEL_STORED_FLOAT;
    std::sort(block_.begin(), block_.end(), [&](const Pixel& a, const Pixel& b) {
        return isFloat ? ordered(a.stored) < ordered(b.stored) : a.stored < b.stored;
    });
    Pixel best = block_.front();
    std::size_t most = 0;
    for (std::size_t first = 0, last = 0; first < block_.size(); first = last) {
        while (last < block_.size() && block_[last].stored == block_[first].stored) ++last;
        if (last - first <= most) continue;
        most = last - first;
        best = block_[first];
    }
    return best;
}

Blocks::Pixel Blocks::sum() const
{
    double sum = 0.0;
    for (const Pixel& pixel : block_) sum += static_cast<double>(pixel.value);
    return {bitsOf(static_cast<float>(sum)), static_cast<float>(sum)};
}

Blocks::Pixel Blocks::mean(const ZELChannelType& channel) const
{
    double sum = 0.0;
    for (const Pixel& pixel : block_) sum += static_cast<double>(pixel.value);
    const auto mean = static_cast<float>(sum / static_cast<double>(block_.size()));
    return {encoded(channel, mean), mean};
}

// A value must not be stored as a number that means "missing": it takes the next one.
Blocks::Pixel Blocks::apart(const ZELChannelType& channel, Pixel pixel) const
{
    if (sourceType_ == ZEL_STORED_FLOAT) {
        while (!std::isnan(pixel.value) && isMissing(pixel)) {
            pixel.value = std::nextafter(pixel.value, std::numeric_limits<float>::infinity());
            pixel.stored = bitsOf(pixel.value);
        }
        return pixel;
    }
    if (plan_.storage != sourceType_) return pixel;
    const std::uint32_t own = pixel.stored;
    while (isMissing(pixel) && pixel.stored < largestStored(channel)) ++pixel.stored;
    if (!isMissing(pixel)) return pixel;
    for (pixel.stored = own; isMissing(pixel) && pixel.stored > 0;) --pixel.stored;
    return pixel;
}

Blocks::Pixel Blocks::result(const ZELChannelType& channel, int x)
{
    if (block_.empty() || static_cast<long long>(block_.size()) < plan_.minValid)
        return withoutValue();
    switch (plan_.method) {
    case Method::nearest:
        return middle(x);
    case Method::mode:
        return mode();
    case Method::min:
    case Method::max:
        return extreme(plan_.method == Method::max);
    case Method::sum:
        return apart(channel, sum());
    case Method::mean:
        break;
    }
    return apart(channel, mean(channel));
}

void Blocks::finish(ZELChannelType& channel, unsigned char* pixels, int width)
{
    for (int x = 0; x < width; ++x) {
        const auto place = static_cast<std::size_t>(x);
        gather(x);
        Pixel pixel{};
        if (plan_.method == Method::mean && block_.size() == blockSize())
            pixel = apart(channel, {load(channel, pixels, place), channel.ChannelData[x]});
        else
            pixel = result(channel, x);
        store(channel, pixels, place, pixel.stored);
        channel.ChannelData[x] = pixel.value;
    }
}

}  // namespace zel_tool
