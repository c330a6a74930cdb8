#include "picture/terminal.hpp"

#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "base/text.hpp"
#include "picture/paint.hpp"

namespace zel_tool {
namespace {

char characterOf(Color c)
{
    static constexpr char levels[] = " .:-=+*#%@";
    constexpr int last = static_cast<int>(sizeof levels) - 2;
    return levels[(299 * c.r + 587 * c.g + 114 * c.b) / 1000 * last / 255];
}

}  // namespace

bool terminalHasColors()
{
    const char* terminal = std::getenv("TERM");
    const char* refused = std::getenv("NO_COLOR");
    return isatty(STDOUT_FILENO) != 0 && terminal && std::strcmp(terminal, "dumb") != 0 &&
           !(refused && *refused);
}

std::string coloredText(const Image& image)
{
    std::string out;
    for (int y = 0; y < image.height(); y += 2) {
        for (int x = 0; x < image.width(); ++x) {
            const Color top = image.at(x, y);
            const Color bottom = y + 1 < image.height() ? image.at(x, y + 1) : Color{0, 0, 0};
            out += format("\x1b[38;2;%d;%d;%dm\x1b[48;2;%d;%d;%dm\u2580", top.r, top.g, top.b,
                          bottom.r, bottom.g, bottom.b);
        }
        out += "\x1b[0m\n";
    }
    return out;
}

std::string greyText(const Image& image)
{
    std::string out;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) out += characterOf(image.at(x, y));
        out += '\n';
    }
    return out;
}

std::string classText(const Plane& plane, const ZELDisplayLUTType& lut, bool colors)
{
    std::string out;
    for (const ClassCount& c : classesOf(plane, lut)) {
        const ZELLUTType& entry = lut.DisplayLUT[c.value];
        const std::string mark =
            colors ? format("\x1b[48;2;%d;%d;%dm  \x1b[0m", entry.R, entry.G, entry.B)
                   : std::string(1, characterOf({entry.R, entry.G, entry.B}));
        const auto pixels = static_cast<long long>(plane.values.size());
        out += "  " + mark + " " + paddedLeft(share(c.count, pixels), 7) + "  " +
               printable(entry.LUTEntryLabel) + "\n";
    }
    return out;
}

}  // namespace zel_tool
