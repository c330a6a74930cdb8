// Draws a channel of a file, plain or composite, with characters: a picture for the terminal.
//
//   quicklook FILE CHANNEL [COLUMNS]
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <zel/zel.h>

namespace {

constexpr const char shades[] = " .:-=+*#%@";
constexpr int darkest = 0;
constexpr int brightest = static_cast<int>(sizeof shades) - 2;

// Every so many pixels and lines a sample; characters are twice as high as wide.
std::vector<std::vector<float>> sample(ZELType* file, int channel, int step)
{
    std::vector<std::vector<float>> rows;
    const int pixels = ZELFetchNumberOfPixels(file);
    for (int line = 0; line < ZELFetchNumberOfLines(file); line += 2 * step) {
        ZELSetCurrentLine(file, line);
        if (!ZELReadLine(file)) break;
        const float* values = ZELFetchChannel(file, channel);
        std::vector<float>& row = rows.emplace_back();
        for (int x = 0; x < pixels; x += step) row.push_back(values[x]);
    }
    return rows;
}

void draw(const std::vector<std::vector<float>>& rows)
{
    float low = rows[0][0];
    float high = rows[0][0];
    for (const auto& row : rows) {
        low = std::min(low, *std::min_element(row.begin(), row.end()));
        high = std::max(high, *std::max_element(row.begin(), row.end()));
    }
    const float range = high > low ? high - low : 1.0F;
    for (const auto& row : rows) {
        for (const float value : row) {
            const auto shade =
                static_cast<int>((value - low) / range * static_cast<float>(brightest));
            std::putchar(shades[std::clamp(shade, darkest, brightest)]);
        }
        std::putchar('\n');
    }
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s FILE CHANNEL [COLUMNS]\n", argv[0]);
        return 2;
    }
    // Where the ancillary grids are is nothing to a picture.
    ZELSetMessageSink([](void*, FILE*, const char*) {}, nullptr);
    const auto file = std::make_unique<ZELType>();
    if (ZELOpenReadOnlyFile(file.get(), argv[1]) != 0) {
        std::fprintf(stderr, "%s: cannot open %s\n", argv[0], argv[1]);
        return 1;
    }
    const int channel = std::atoi(argv[2]);
    const int columns = argc > 3 ? std::max(std::atoi(argv[3]), 1) : 72;
    if (!ZELFetchChannelLabel(file.get(), channel)) {
        std::fprintf(stderr, "%s: %s has no channel %d\n", argv[0], argv[1], channel);
        ZELFinishReadingFile(file.get());
        return 1;
    }
    const std::string label = ZELFetchChannelLabel(file.get(), channel);
    const int pixels = ZELFetchNumberOfPixels(file.get());
    const auto rows = sample(file.get(), channel, std::max((pixels + columns - 1) / columns, 1));
    std::printf("channel %d, %s, %s\n", channel, label.c_str(), argv[1]);
    if (!rows.empty()) draw(rows);
    ZELFinishReadingFile(file.get());
    return 0;
}
