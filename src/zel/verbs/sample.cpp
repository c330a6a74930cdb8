// zel sample: runs a feature parameter file.
#include <memory>

#include "base/failure.hpp"
#include "base/report.hpp"
#include "base/text.hpp"
#include "command/verbs.hpp"
#include "formula/sample_file.hpp"
#include "formula/sampler.hpp"

namespace zel_tool {
namespace {

struct Options {
    std::string file;
    std::string output;
    bool overwrite = false;
    bool json = false;
};

Json talliesJson(const std::vector<SceneTally>& tallies)
{
    Json list = Json::array();
    for (const SceneTally& t : tallies)
        list.push_back({{"file", utf8(t.file)},
                        {"pixels", t.pixels},
                        {"required", t.required},
                        {"samples", t.samples}});
    return list;
}

std::string summary(const Json& h, const std::vector<SceneTally>& tallies)
{
    std::string out = shown(h["file"]) + ": " + shown(h["sample_count"]) + " samples\n";
    for (const SceneTally& t : tallies)
        out += format("  %s: %lld pixels, %lld meet the requirements, %lld samples\n",
                      printable(t.file).c_str(), t.pixels, t.required, t.samples);
    return out + classesText(h) + featuresText(h);
}

int sample(const Options& o)
{
    SampleWriter writer(o.file, o.output, o.overwrite ? Overwrite::yes : Overwrite::no);
    const std::vector<SceneTally> tallies = writer.run();
    writer.commit();
    SampleFile made(writer.output());
    Json document = headerJson(made, writer.output());
    document["scenes"] = talliesJson(tallies);
    put(o.json ? jsonText(document) : summary(document, tallies));
    return statusDone;
}

int run(const Options& o)
{
    return forEachFile({o.file}, [&](const std::string&) { return sample(o); });
}

}  // namespace

Command sampleCommand()
{
    auto o = std::make_shared<Options>();
    return {
        "sample",
        "samples scenes by a feature parameter file",
        {"Runs a feature parameter file: of each pixel of its inputs that meets the requirements "
         "and options and that no filter skips, the class, the position and the features become a "
         "sample. Names of files in it are relative to the directory of the run.",
         "subsample 4 looks at every 4th pixel of every 4th line. subsample sqrt, log or log10 "
         "keeps that many of the samples of each class, rounded up and at least one, chosen at "
         "random by the seed (randomseed); the inputs are then read twice.",
         "zel samples shows what is in the file that is made."},
        {{"FILE", "A feature parameter file.", &o->file}},
        {{"-o,--output", "FILE", "Write this file instead of the one that FILE names.", &o->output,
          Takes::file},
         {"--json", "", "Print header and counts as a JSON object.", &o->json},
         {"--overwrite", "", "Replace an existing output.", &o->overwrite}},
        {{"sample gulf.par", "Make the sample file that gulf.par names."},
         {"sample gulf.par -o test.feat", "Make another one."}},
        "the parameter file or an input has a problem, or the samples could not be written",
        [o] { return run(*o); }};
}

}  // namespace zel_tool
