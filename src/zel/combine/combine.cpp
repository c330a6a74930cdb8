// zel combine: files of one scene to one grid or one container.
#include "combine/combine.hpp"

#include <algorithm>
#include <memory>

#include "base/failure.hpp"
#include "base/output_file.hpp"
#include "base/report.hpp"
#include "base/text.hpp"
#include "combine/choices.hpp"
#include "combine/plan.hpp"
#include "combine/sources.hpp"
#include "command/command.hpp"
#include "command/verbs.hpp"

namespace zel_tool {
namespace {

struct Options {
    Recipe recipe;
    CombineRun run;
    std::string base;
    bool noRecord = false;
};

// What makes sense for one grid only.
void refuseWithContainer(const Recipe& recipe)
{
    const auto refuse = [](bool given, const char* option) {
        if (given) throw Misuse(std::string(option) + " is for one grid, not with --container");
    };
    refuse(!recipe.methods.empty(), "--method");
    refuse(!recipe.missing.empty(), "--missing");
    refuse(!recipe.minValid.empty(), "--min-valid");
    refuse(recipe.hasRaster(), "--raster");
}

void checkRaster(const RasterRecipe& raster)
{
    const bool described = !raster.header.empty() || !raster.label.empty() ||
                           !raster.prefix.empty() || !raster.lut.empty() ||
                           !raster.classes.empty() || raster.cube;
    if (raster.file.empty() && described) throw Misuse("the --raster options need --raster");
    if (raster.cube && !raster.lut.empty())
        throw Misuse("--raster-cube and --raster-lut exclude each other");
    if (!raster.header.empty() && !raster.label.empty())
        throw Misuse("--raster-header and --raster-label exclude each other");
    if (!raster.classes.empty() && raster.lut.empty() && !raster.cube)
        throw Misuse("--raster-classes needs --raster-lut or --raster-cube");
}

void check(Options& o)
{
    if (o.run.output.empty() && !o.run.dryRun) throw Misuse("-o is required");
    o.recipe.base = o.base.empty() ? 0 : findFile(o.recipe.files, o.base);
    o.run.record = !o.noRecord;
    checkRaster(o.recipe.raster);
    checkChoices(o.recipe.methods, o.recipe.missing, o.recipe.minValid);
    if (o.run.container) refuseWithContainer(o.recipe);
}

int run(Options& o)
{
    check(o);
    return combine(o.recipe, o.run);
}

std::vector<Option> rasterOptions(RasterRecipe& raster)
{
    return {
        {"--raster", "FILE",
         "Add the channels of this Vorn raster, which has the size of the grid.", &raster.file,
         Takes::file},
        {"--raster-header", "FILE", "Text header of the raster, with its labels.", &raster.header,
         Takes::file},
        {"--raster-label", "TEXT", "Label of its channels; the file's name is the default.",
         &raster.label},
        {"--raster-prefix", "TEXT", "Text before every one of its labels.", &raster.prefix},
        {"--raster-lut", "FILE",
         "Its channels hold classes: their colours and names are in this LUT definition file.",
         &raster.lut, Takes::file},
        {"--raster-cube", "", "Its channels hold classes, with the colours of a colour cube.",
         &raster.cube},
        {"--raster-classes", "FILE", "Translate its classes by the table in this feature header.",
         &raster.classes, Takes::file}};
}

std::vector<Option> optionsOf(Options& o)
{
    std::vector<Option> list = {
        {"-o,--output", "FILE", "Write this file.", &o.run.output, Takes::file},
        {"--base", "FILE", "The file that gives the grid; the first one is the default.", &o.base,
         Takes::file},
        {"--base-part", "N",
         "The part of a base that is a container, from 0; the one that it names is the default.",
         &o.recipe.basePart},
        {"--container", "", "Write a container that holds every file as it is.", &o.run.container},
        {"--method", "CHANNEL=METHOD",
         "How blocks of a finer grid become a pixel: " + join(methodNames(), ", ") +
             ". CHANNEL is a label, Ch6, #5 or a pattern such as 'B*'; the last that fits counts.",
         &o.recipe.methods},
        {"--missing", "CHANNEL=VALUE",
         "Pixels of this value have none: a value in the channel's units, nan, or raw:N for a "
         "stored number.",
         &o.recipe.missing},
        {"--min-valid", "N",
         "A block with fewer pixels that are not missing is missing; 50% for a part of it. 1 is "
         "the default.",
         &o.recipe.minValid},
        {"--allow", "PROBLEM", "Go on in spite of: " + join(problemNames(), ", ") + ".",
         &o.recipe.allow, Takes::choice, problemNames()}};
    const std::vector<Option> raster = rasterOptions(o.recipe.raster);
    list.insert(list.end(), raster.begin(), raster.end());
    const std::vector<Option> rest = {
        {"--dry-run", "", "Show the plan and write nothing.", &o.run.dryRun},
        {"--no-record", "", "Do not store the plan in the output's metadata.", &o.noRecord},
        {"--json", "", "Print the plan as JSON.", &o.run.json},
        {"--overwrite", "", "Replace an existing output.", &o.run.overwrite}};
    list.insert(list.end(), rest.begin(), rest.end());
    return list;
}

}  // namespace

int combine(const Recipe& recipe, const CombineRun& run)
{
    return run.container ? combineToContainer(recipe, run) : combineToGrid(recipe, run);
}

void spareInputs(const Recipe& recipe, const std::string& output)
{
    for (const std::string& name : recipe.inputs())
        if (isSameFile(recipe.pathOf(name), output))
            throw Failure(printable(output) + " is one of the files that are read");
}

Command combineCommand()
{
    auto o = std::make_shared<Options>();
    return {
        "combine",
        "brings files of one scene to one grid or into one container",
        {"Writes one file with all channels of the files, in their order, on the grid of the base. "
         "Pixels of a coarser file are repeated, blocks of a finer one become one pixel by the "
         "method of the channel: the mean, and for classes the nearest. With --container the files "
         "are stored as they are, as parts of one file.",
         "Files of different scenes, truncated files, ratios of resolutions that are not whole, "
         "and "
         "files that are narrower or wider than the base are errors; --allow turns each into a "
         "warning.",
         "The plan and the checksums of the files go to the metadata of the output, where these "
         "are "
         "free; zel replay makes the file again from it."},
        {{"FILE", "ZEL files or containers of one scene.", &o->recipe.files}},
        optionsOf(*o),
        {{"combine b10.zel b30.zel b90.zel --base b90.zel --dry-run", "What would be done?"},
         {"combine b10.zel b30.zel b90.zel --base b90.zel -o grid.zel", "One grid of 90 m."},
         {"combine a.zel b.zel --method 'Q*=max' --missing 'B*=raw:0' -o g.zel",
          "Methods, and a fill value that is left out of means."},
         {"combine b10.zel b30.zel --container -o scene.zel", "One container."}},
        "a file could not be read or written, or the files do not fit together",
        [o] { return run(*o); },
        [o] { check(*o); }};
}

}  // namespace zel_tool
