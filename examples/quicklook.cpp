// Draws a channel of a file, plain or composite, with characters: a picture for the terminal.
//
//   quicklook FILE CHANNEL [COLUMNS]
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <zel/zel.h>

namespace {

constexpr const char shades[] = " .:-=+*#%@";
constexpr int darkest = 0;
constexpr int brightest = static_cast<int>(sizeof shades) - 2;
constexpr long maxColumns = 1000;

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

// A NaN is a blank.
char shade(double value, double low, double range)
{
    if (std::isnan(value)) return shades[darkest];
    const double place = (value - low) / range * brightest;
    return shades[static_cast<int>(std::clamp<double>(place, darkest, brightest))];
}

void draw(const std::vector<std::vector<float>>& rows)
{
    double low = std::numeric_limits<double>::max();
    double high = std::numeric_limits<double>::lowest();
    for (const auto& row : rows) {
        for (const double value : row) {
            if (!std::isfinite(value)) continue;
            low = std::min(low, value);
            high = std::max(high, value);
        }
    }
    const double range = high > low ? high - low : 1.0;
    for (const auto& row : rows) {
        for (const double value : row) std::putchar(shade(value, low, range));
        std::putchar('\n');
    }
}

// Warnings are shown. Of the other messages only the reason of a failure is of use: the last one,
// and of a composite the one before it.
struct LastMessages {
    std::string before, last;
};

void keepMessage(void* data, FILE* stream, const char* text)
{
    auto& messages = *static_cast<LastMessages*>(data);
    if (stream == stderr)
        std::fputs(text, stderr);
    else
        messages.before = std::exchange(messages.last, text);
}

void printLast(void* data, int)
{
    const auto& messages = *static_cast<const LastMessages*>(data);
    std::fprintf(stderr, "%s%s", messages.before.c_str(), messages.last.c_str());
}

bool readNumber(const char* text, long& number)
{
    char* end = nullptr;
    number = std::strtol(text, &end, 10);
    return end != text && *end == '\0' && number >= INT_MIN && number <= INT_MAX;
}

}  // namespace

int main(int argc, char** argv)
{
    long number = 0;
    long columns = 72;
    if (argc < 3 || !readNumber(argv[2], number) || (argc > 3 && !readNumber(argv[3], columns))) {
        std::fprintf(stderr, "usage: %s FILE CHANNEL [COLUMNS]\n", argv[0]);
        return 2;
    }
    LastMessages messages;
    ZELSetMessageSink(keepMessage, &messages);
    ZELSetExitHandler(printLast, &messages);
    const auto file = std::make_unique<ZELType>();
    if (ZELOpenReadOnlyFile(file.get(), argv[1]) != 0) {
        printLast(&messages, 1);
        std::fprintf(stderr, "%s: cannot open %s\n", argv[0], argv[1]);
        return 1;
    }
    messages = {};
    const int channel = static_cast<int>(number);
    if (!ZELFetchChannelLabel(file.get(), channel)) {
        std::fprintf(stderr, "%s: %s has no channel %d\n", argv[0], argv[1], channel);
        ZELFinishReadingFile(file.get());
        return 1;
    }
    const std::string label = ZELFetchChannelLabel(file.get(), channel);
    const int width = static_cast<int>(std::clamp(columns, 1L, maxColumns));
    const int step = (ZELFetchNumberOfPixels(file.get()) + width - 1) / width;
    const auto rows = sample(file.get(), channel, std::max(step, 1));
    std::printf("channel %d, %s, %s\n", channel, label.c_str(), argv[1]);
    if (!rows.empty()) draw(rows);
    ZELFinishReadingFile(file.get());
    return 0;
}
