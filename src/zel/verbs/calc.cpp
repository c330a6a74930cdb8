// zel calc: new channels from expressions.
#include <algorithm>
#include <memory>

#include "base/failure.hpp"
#include "base/json.hpp"
#include "base/progress.hpp"
#include "base/report.hpp"
#include "base/text.hpp"
#include "command/verbs.hpp"
#include "formula/evaluator.hpp"
#include "formula/formulas.hpp"
#include "formula/reading.hpp"
#include "scene/library.hpp"
#include "scene/made_channel.hpp"
#include "scene/names.hpp"
#include "scene/scene_writer.hpp"

namespace zel_tool {
namespace {

struct Options {
    Sources sources;
    std::string file;
    std::string output;
    ChannelOptions channels;
    int part = -1;
    bool keep = false;
    bool explain = false;
    bool overwrite = false;
    bool json = false;
};

Json textOrNull(const std::string& text)
{
    return text.empty() ? Json(nullptr) : Json(utf8(text));
}

Json statementJson(const Statement& s, const Vocabulary& vocabulary)
{
    const bool differs = s.plain && !isSame(*s.stack, *s.plain);
    return {{"label", textOrNull(s.label)},
            {"expression", utf8(s.text)},
            {"reading", utf8(readingOf(*s.stack, vocabulary))},
            {"ordinary", differs ? Json(utf8(readingOf(*s.plain, vocabulary))) : Json(nullptr)}};
}

Json programJson(const Formulas& formulas)
{
    Json lines = Json::array();
    for (const ProgramStruct* p = formulas.program.program.get(); p; p = p->next)
        if (p->Statement)
            lines.push_back({{"line", p->lineNum},
                             {"condition", p->statementType == IF_STATEMENT},
                             {"reading", utf8(readingOf(*p->Statement, formulas.vocabulary))}});
    return lines;
}

Json explanation(const Formulas& formulas)
{
    Json statements = Json::array();
    for (const Statement& s : formulas.statements)
        statements.push_back(statementJson(s, formulas.vocabulary));
    return {{"program", programJson(formulas)}, {"statements", statements}};
}

std::string explanationText(const Json& document)
{
    std::string out;
    for (const Json& line : document["program"]) {
        const std::string reading = shown(line["reading"]);
        out += "line " + shown(line["line"]) + ": ";
        out += (line["condition"].get<bool>() ? "if (" + reading + ")" : reading) + "\n";
    }
    for (const Json& s : document["statements"])
        out += (s["label"].is_null() ? "" : quotedIfNeeded(shown(s["label"])) + " = ") +
               shown(s["reading"]) + "\n";
    return out;
}

std::vector<MadeChannel> channelsOf(const Formulas& formulas, const Options& o)
{
    std::vector<MadeChannel> channels;
    for (const std::string& label : formulas.vocabulary.newChannels()) {
        MadeChannel& made = channels.emplace_back();
        made.label = label;
        made.comment = formulas.originOf(label);
    }
    applyOptions(o.channels, channels);
    return channels;
}

// Two channels of one label could not be told apart in the output.
void requireNewLabels(const ZELType& record, const std::vector<MadeChannel>& channels)
{
    for (const int slot : presentSlots(record))
        for (const MadeChannel& made : channels)
            if (equalIgnoringCase(labelOf(record.Channels[slot]), made.label))
                throw Failure("has a channel '" + printable(made.label) +
                              "' already; with --keep the new one needs another label");
}

void computeLines(ZELType& record, const Formulas& formulas, std::vector<MadeChannel>& channels,
                  SceneWriter& writer, const std::string& file)
{
    Evaluator evaluator(record, formulas);
    std::vector<float> encoded(static_cast<std::size_t>(record.ZELHeader.NPixelPerLine));
    Progress progress(file, record.NumLines);
    for (int line = 0; line < record.NumLines; ++line) {
        readLine(record, line, Decode::yes);
        evaluator.run(line);
        for (int i = 0; i < static_cast<int>(channels.size()); ++i) {
            prepare(channels[static_cast<std::size_t>(i)], evaluator.made(i),
                    record.ZELHeader.NPixelPerLine, encoded.data());
            writer.load(i, encoded.data());
        }
        writer.writeLine();
        progress.update(line + 1);
    }
}

Json channelJson(const MadeChannel& c)
{
    const bool any = c.finiteCount > 0;
    return {{"label", utf8(c.label)},
            {"comment", utf8(c.comment)},
            {"storage", c.storage.text()},
            {"units", unitsName(c.units)},
            {"min", any ? jsonNumber(c.lowest) : Json(nullptr)},
            {"max", any ? jsonNumber(c.highest) : Json(nullptr)},
            {"missing", c.missingCount},
            {"infinite", c.infiniteCount},
            {"outside", c.outsideCount}};
}

Json resultJson(const Options& o, const ZELType& record, const Formulas& formulas,
                const std::vector<MadeChannel>& channels)
{
    Json document = {{"file", utf8(o.file)},
                     {"output", utf8(o.output)},
                     {"pixels", record.ZELHeader.NPixelPerLine},
                     {"lines", record.NumLines}};
    document.update(explanation(formulas));
    document["channels"] = Json::array();
    for (const MadeChannel& c : channels) document["channels"].push_back(channelJson(c));
    return document;
}

void remarkOn(const Options& o, const MadeChannel& c)
{
    std::string text = printable(o.output) + ": " + printable(c.label) + ", " + c.storage.text();
    if (c.finiteCount > 0) text += ", " + shortest(c.lowest) + " .. " + shortest(c.highest);
    if (c.missingCount > 0) text += format(", %lld missing", c.missingCount);
    if (c.infiniteCount > 0) text += format(", %lld infinite", c.infiniteCount);
    remark(text);
    if (c.outsideCount > 0)
        warn("", format("%s: %lld values outside of %s became the nearest in it",
                        printable(c.label).c_str(), c.outsideCount, c.storage.text().c_str()));
}

int compute(const Options& o, ZELType& record, Formulas& formulas)
{
    std::vector<MadeChannel> channels = channelsOf(formulas, o);
    if (channels.empty()) throw Misuse("no channel is made: write NAME = EXPRESSION");
    if (o.keep) requireNewLabels(record, channels);
    for (const std::string& input : {o.file, o.sources.program})
        if (isSameFile(o.output, input))
            throw Failure("the output is the input " + printable(input));
    SceneWriter writer(o.output, o.overwrite ? Overwrite::yes : Overwrite::no, record, o.keep);
    writer.open(channels);
    computeLines(record, formulas, channels, writer, o.file);
    writer.commit();
    for (const MadeChannel& c : channels) remarkOn(o, c);
    if (o.json) put(jsonText(resultJson(o, record, formulas, channels)));
    return statusDone;
}

// A file that lost the end of a line was cut; what is left of it would be a smaller scene.
void requireWholeLines(Scene& scene)
{
    if (scene.isContainer()) return;
    const ZELType& record = scene.view();
    if (record.LineOffset > 0 && (scene.bytes() - record.HeaderOffset) % record.LineOffset != 0)
        throw Failure(format("ends inside of line %d", record.NumLines));
}

int calculate(const Options& o)
{
    Scene scene(o.file);
    requireWholeLines(scene);
    ZELType& record = scene.part(o.part);
    Formulas formulas(record);
    compileAll(o.sources, formulas);
    for (const std::string& text : surprises(formulas)) warn("", text);
    if (!o.explain) return compute(o, record, formulas);
    Json document = {{"file", utf8(o.file)}};
    document.update(explanation(formulas));
    put(o.json ? jsonText(document) : explanationText(document));
    return statusDone;
}

void checkGiven(const Options& o)
{
    if (o.output.empty() && !o.explain) throw Misuse("-o is required");
    if (o.sources.statements.empty() && o.sources.program.empty())
        throw Misuse("EXPRESSION or --program is required");
}

// Every name that is not of the language is taken for a channel.
void checkWithoutScene(const Options& o)
{
    checkGiven(o);
    const auto record = std::make_unique<ZELType>();
    Formulas formulas(*record, Names::any);
    compileAll(o.sources, formulas);
    if (channelsOf(formulas, o).empty())
        throw Misuse("no channel is made: write NAME = EXPRESSION");
}

int run(const Options& o)
{
    checkGiven(o);
    return forEachFile({o.file}, [&](const std::string&) { return calculate(o); });
}

}  // namespace

Command calcCommand()
{
    auto o = std::make_shared<Options>();
    return {
        "calc",
        "computes new channels from expressions",
        {"Evaluates NAME = EXPRESSION for every pixel and writes the results as channels of a new "
         "file, with scan times, navigation, colour tables and metadata of the input. Several "
         "statements stand between semicolons or in words of their own; a later one can use the "
         "channels that earlier ones make. NAME may also be class, a register or a variable: then "
         "no channel is made of it.",
         "Expressions are those of feature files: + - * / saferatio, comparisons, && || !, "
         "functions, channels by label (B5, \"11 um\"), number (Ch5) or slot (#4), class, "
         "registers, "
         "position, angles, date, and the ancillary grids, which are read only when they are "
         "named. Every pixel begins with class and registers 0.",
         "Arithmetic is that of 32-bit floats. What is no number, and pixels that a program skips, "
         "are missing: NaN in a float channel, else the lowest number, unless --missing says "
         "another. Values outside of a range become its nearest, and are reported."},
        {{"EXPRESSION", "NAME = EXPRESSION, quoted for the shell.", &o->sources.statements,
          Takes::text, false},
         {"FILE", "A ZEL file or container.", &o->file}},
        {{"-o,--output", "FILE", "Write this file.", &o->output, Takes::file},
         {"--program", "FILE",
          "A pixel program, run on each pixel before the expressions. It makes a channel of each "
          "name that it writes to and that nothing else has. Lines that begin with # are comments.",
          &o->sources.program, Takes::file},
         {"-d,--define", "TEXT",
          "NAME = EXPRESSION: a name for an expression, without a channel. May be repeated.",
          &o->sources.definitions},
         {"--as", "STORAGE",
          "How results are stored: float (the default), float:-1:1, u8, u16, u8:-1:1, u16:-1:1; "
          "NAME=STORAGE for one channel. May be repeated, as the next three.",
          &o->channels.storage},
         {"--unit", "UNIT",
          "none, kelvin, albedo, reflectance, celsius, lut, daytime or radiance; or NAME=UNIT.",
          &o->channels.units},
         {"--comment", "TEXT",
          "The comment of the channel; the expression is the default; or NAME=TEXT. With the unit "
          "lut, the label of a colour table of the input.",
          &o->channels.comments},
         {"--missing", "VALUE", "What stands for missing values; or NAME=VALUE.",
          &o->channels.missing},
         {"--keep", "", "Copy the channels of the input too, with their bytes.", &o->keep},
         {"--part", "N", "This part of a container, from 0, on its own grid.", &o->part},
         {"--explain", "",
          "Print the expressions with all parentheses, as the language reads them, and write "
          "nothing.",
          &o->explain},
         {"--json", "", "Print JSON.", &o->json},
         {"--overwrite", "", "Replace an existing output.", &o->overwrite}},
        {{"calc 'NDVI = (B5-B4)/(B5+B4)' scene.zel -o ndvi.zel", "A vegetation index, as floats."},
         {"calc 'NDVI = (B5-B4)/(B5+B4)' in.zel -o out.zel --keep --as u16:-1:1",
          "Stored small, beside the channels of the scene."},
         {"calc --explain 'X = B5*2 - 1' scene.zel", "What does the language make of it?"}},
        "the file could not be read, an expression names what it does not have, or the output "
        "could "
        "not be written",
        [o] { return run(*o); },
        [o] { checkWithoutScene(*o); }};
}

}  // namespace zel_tool
