#include "terminal.hpp"

#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "text.hpp"

namespace zel_tool {

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
    static constexpr char levels[] = " .:-=+*#%@";
    constexpr int last = static_cast<int>(sizeof levels) - 2;
    std::string out;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const Color c = image.at(x, y);
            const int light = (299 * c.r + 587 * c.g + 114 * c.b) / 1000;
            out += levels[light * last / 255];
        }
        out += '\n';
    }
    return out;
}

}  // namespace zel_tool
