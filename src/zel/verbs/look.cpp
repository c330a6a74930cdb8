// zel look: a picture of a scene.
#include <memory>

#include "base/failure.hpp"
#include "base/output_file.hpp"
#include "base/report.hpp"
#include "base/text.hpp"
#include "command/verbs.hpp"
#include "picture/page.hpp"
#include "picture/paint.hpp"
#include "picture/terminal.hpp"
#include "picture/view.hpp"
#include "scene/library.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

constexpr int widestImage = 1200;
constexpr int widestText = 78;
constexpr Size pageImage{900, 1200};

struct Options {
    std::string file;
    std::string output;
    std::string page;
    std::string rgb;
    std::vector<double> percent;
    std::string legend = "auto";
    std::string colors = "auto";
    Look look;
    int width = 0;
    int part = -1;
    bool overwrite = false;
};

void checkRange(const Look& look)
{
    if (!look.range.empty() && !(look.range[0] < look.range[1]))
        throw Misuse("--range takes a smaller and a greater value");
    if (!(look.low >= 0.0) || !(look.high <= 1.0) || !(look.low < look.high))
        throw Misuse("--stretch takes two percentages, 0 to 100, the smaller first");
}

Look lookOf(const Options& o)
{
    Look look = o.look;
    if (!o.rgb.empty()) look.rgb = {o.rgb};
    if (!look.rgb.empty() && (!look.channel.empty() || !look.map.empty()))
        throw Misuse("--rgb goes without --channel and --map");
    if (!o.percent.empty()) {
        look.low = o.percent[0] / 100.0;
        look.high = o.percent[1] / 100.0;
    }
    checkRange(look);
    if (o.width < 0) throw Misuse("--width takes a number of pixels");
    return look;
}

std::string channelTitle(const ZELChannelType& channel)
{
    const std::string symbol = unitsSymbol(channel.Units);
    return printable(channel.ChannelLabel) + (symbol.empty() ? "" : " " + symbol);
}

Image withLegend(const Picture& p, const ZELType& record, const Look& look,
                 const std::string& legend)
{
    const bool grey = look.map.empty() || look.map == "grey";
    const bool wanted =
        legend == "yes" || (legend == "auto" && (p.choice.style == Style::classes ||
                                                 (p.choice.style == Style::mapped && !grey)));
    if (!wanted || p.choice.style == Style::rgb) return p.image;
    if (p.choice.style == Style::classes) return withClassLegend(p.image, p.planes[0], *p.lut);
    return withColorBar(p.image, p.ranges[0], look.map.empty() ? "grey" : look.map,
                        channelTitle(record.Channels[p.choice.slots[0]]));
}

// Characters are twice as high as they are wide.
Size textSize(const ZELType& record, int width, bool colors)
{
    Size size = imageSize(record, width, widestText);
    if (!colors) size.height = std::max(1, size.height / 2);
    return size;
}

void showText(const Subject& subject, const Options& o, const Look& look)
{
    const bool colors = o.colors == "always" || (o.colors == "auto" && terminalHasColors());
    const Size size = textSize(*subject.record, o.width, colors);
    const Picture p = picture(subject, look, size, o.file);
    const bool hasLegend = p.choice.style == Style::classes && p.lut && o.legend != "no";
    put((colors ? coloredText(p.image) : greyText(p.image)) + captionOf(p, *subject.record) + "\n" +
        (hasLegend ? classText(p.planes[0], *p.lut, colors) : ""));
}

void showImage(const Subject& subject, const Options& o, const Look& look)
{
    requireOther(o.file, o.output);
    OutputFile output(o.output, o.overwrite ? Overwrite::yes : Overwrite::no);
    const Size size = imageSize(*subject.record, o.width, widestImage);
    const Picture p = picture(subject, look, size, o.file);
    output.write(pngFileOf(withLegend(p, *subject.record, look, o.legend)));
    output.commit();
    remark(printable(o.output) + ": " + captionOf(p, *subject.record));
}

void showPage(Scene& scene, const Subject& subject, const Options& o, const Look& look)
{
    requireOther(o.file, o.page);
    OutputFile output(o.page, o.overwrite ? Overwrite::yes : Overwrite::no);
    const Size size = o.width > 0 ? imageSize(*subject.record, o.width, widestImage)
                                  : sizeWithin(*subject.record, pageImage);
    output.write(pageOf(scene, subject, look, size));
    output.commit();
    remark(printable(o.page) + ": open it in a browser");
}

Look checkedLook(const Options& o)
{
    if (!o.output.empty() && !o.page.empty()) throw Misuse("give -o or --report, not both");
    return lookOf(o);
}

int run(const Options& o)
{
    const Look look = checkedLook(o);
    return forEachFile({o.file}, [&](const std::string& file) {
        Scene scene(file);
        const Subject subject = subjectOf(scene, o.part, look);
        if (!o.page.empty())
            showPage(scene, subject, o, look);
        else if (o.output.empty())
            showText(subject, o, look);
        else
            showImage(subject, o, look);
        return statusDone;
    });
}

}  // namespace

Command lookCommand()
{
    auto o = std::make_shared<Options>();
    return {
        "look",
        "makes a picture of a scene",
        {"Writes a PNG image with -o, or with --report a page about the whole file; without them, "
         "shows "
         "the scene as characters.",
         "Shown are the channels that --rgb or --channel names; else natural colours, where there "
         "are channels of 0.66, 0.56 and 0.48 microns; else the first channel. A class channel is "
         "painted with its LUT, the one whose label is the channel's comment, and gets a legend.",
         "Values are stretched from the 2nd to the 98th percentile of the channel's histogram, or, "
         "where the file holds none, of the pixels of the picture. An image smaller than the scene "
         "shows means, or of classes the middle pixel.",
         "The page is one HTML file that needs nothing else. It shows what zel info says, a map of "
         "the "
         "footprint, the parts of a container side by side, and the picture, values and histogram "
         "of "
         "every channel."},
        {{"FILE", "A ZEL file or container.", &o->file}},
        {{"-o,--output", "FILE", "Write this PNG file.", &o->output, Takes::file},
         {"--report", "FILE", "Write this page about the whole file.", &o->page, Takes::file},
         {"--rgb", "R,G,B", "Three channels, as in B4,B3,B2.", &o->rgb},
         {"-c,--channel", "NAME", "One channel: label, Ch6 (number in expressions) or #5 (slot).",
          &o->look.channel},
         {"--map", "NAME", "Colour map of the one channel: grey, viridis, heat or blue-red.",
          &o->look.map, Takes::choice, colorMaps()},
         {"--stretch", "LOW HIGH", "Percentages of the histogram to stretch between.", &o->percent},
         {"--range", "LOW HIGH", "Values to stretch between.", &o->look.range},
         {"--width", "PIXELS", "Width of the picture; the scene's own, up to 1200, is the default.",
          &o->width},
         {"--legend",
          "WHEN",
          "auto: for classes and colour maps; yes; no.",
          &o->legend,
          Takes::choice,
          {"auto", "yes", "no"}},
         {"--color",
          "WHEN",
          "Colours in the terminal: auto, always, never.",
          &o->colors,
          Takes::choice,
          {"auto", "always", "never"}},
         {"--part", "N", "This part of a container, from 0, on its own grid.", &o->part},
         {"--overwrite", "", "Replace an existing output.", &o->overwrite}},
        {{"look scene.zel", "A first look, in the terminal."},
         {"look scene.zel --rgb B4,B3,B2 -o scene.png", "Natural colours."},
         {"look scene.zel -c B10 --map heat -o thermal.png", "One channel in a colour map."},
         {"look scene.zel --report scene.html", "All of it, on a page for a browser."}},
        "the file could not be read, a channel is not in it, or the picture could not be written",
        [o] { return run(*o); },
        [o] { checkedLook(*o); }};
}

}  // namespace zel_tool
