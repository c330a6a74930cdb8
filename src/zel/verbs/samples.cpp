// zel samples: what is in a feature sample file.
#include <algorithm>
#include <memory>

#include "base/failure.hpp"
#include "base/report.hpp"
#include "base/text.hpp"
#include "command/verbs.hpp"
#include "formula/sample_file.hpp"

namespace zel_tool {
namespace {

struct Options {
    std::vector<std::string> files;
    int count = -1;
    bool csv = false;
    bool json = false;
};

int wantedSamples(SampleFile& file, const Options& o)
{
    return o.count < 0 ? file.samples() : std::min(o.count, file.samples());
}

// A field of CSV: in quotes where it holds one, a comma or a line end.
std::string field(const std::string& text)
{
    if (text.find_first_of("\",\r\n") == std::string::npos) return text;
    std::string out = "\"";
    for (const char c : text) out += c == '"' ? std::string("\"\"") : std::string(1, c);
    return out + "\"";
}

std::string csvLine(const Json& sample)
{
    std::vector<std::string> fields;
    for (const auto& [key, value] : sample.items()) {
        if (key == "values") continue;
        fields.push_back(value.is_null() ? "" : value.dump());
    }
    for (const Json& value : sample["values"])
        fields.push_back(value.is_null() ? "" : value.dump());
    return join(fields, ",") + "\n";
}

void putCsv(SampleFile& file, const Options& o)
{
    std::string head = "class,elementary_class,lat,lon,solar_zenith,view_zenith,azimuth,box,"
                       "priority,day_of_year,year";
    for (const std::string& label : file.labels()) head += "," + field(label);
    put(head + "\n");
    for (int i = 0; i < wantedSamples(file, o) && file.next(); ++i) put(csvLine(sampleJson(file)));
}

Json documentOf(SampleFile& file, const std::string& name, const Options& o)
{
    Json document = headerJson(file, name);
    document["samples"] = Json::array();
    for (int i = 0; i < wantedSamples(file, o) && file.next(); ++i)
        document["samples"].push_back(sampleJson(file));
    return document;
}

// Texts of parameter files often begin with a blank.
std::string ruleText(const Json& value)
{
    std::string text = value.is_null() ? "" : shown(value);
    return text.erase(0, text.find_first_not_of(' '));
}

std::string joined(const Json& texts)
{
    std::vector<std::string> list;
    for (const Json& text : texts) list.push_back(shown(text));
    return join(list, " ");
}

std::string rulesText(const char* title, const Json& rules)
{
    if (rules.empty()) return {};
    std::vector<std::vector<std::string>> rows;
    for (const Json& rule : rules)
        rows.push_back({ruleText(rule["label"]), ruleText(rule["condition"]),
                        rule["action"].is_null() ? "" : "-> " + ruleText(rule["action"])});
    return std::string("\n") + title + "\n" + table(rows, "lll", "  ");
}

std::string summaryText(const Json& h)
{
    std::string out = shown(h["file"]) + ": " + shown(h["sample_count"]) + " samples\n";
    if (!h["title"].empty()) out += "  Title        " + wrapped(joined(h["title"]), 80, 15) + "\n";
    if (!h["comments"].empty())
        out += "  Comment      " + wrapped(joined(h["comments"]), 80, 15) + "\n";
    out += "  Inputs       " + wrapped(joined(h["inputs"]), 80, 15) + "\n";
    out += "  Written      " + shown(h["written"]) + ", version " + shown(h["version"]) + "\n";
    out += "  Subsampling  " + shown(h["subsampling"]) + ", random seed " +
           shown(h["random_seed"]) + "\n";
    out +=
        "  Types        class " + shown(h["class_type"]) + ", data " + shown(h["data_type"]) + "\n";
    out += rulesText("Definitions", h["definitions"]) +
           rulesText("Requirements", h["requirements"]) + rulesText("Filters", h["filters"]) +
           rulesText("Options", h["options"]);
    return out + classesText(h) + featuresText(h);
}

int showFile(const Options& o, const std::string& name)
{
    SampleFile file(name);
    if (o.csv)
        putCsv(file, o);
    else if (o.json)
        put(jsonText(documentOf(file, name, o)));
    else
        put(summaryText(headerJson(file, name)));
    requireWhole(file);
    return statusDone;
}

int run(const Options& o)
{
    if (o.count < -1) throw Misuse("--count takes a number of samples");
    if (o.csv && o.json) throw Misuse("--csv and --json exclude each other");
    if (o.files.size() > 1 && (o.csv || o.json)) throw Misuse("--csv and --json take one file");
    return forEachFile(o.files, [&](const std::string& file) { return showFile(o, file); });
}

}  // namespace

Command samplesCommand()
{
    auto o = std::make_shared<Options>();
    return {
        "samples",
        "shows what is in feature sample files",
        {"Shows the header of a sample file: inputs, definitions, requirements and filters; the "
         "classes with their counts; the features with their expressions and ranges. With --csv or "
         "--json also every sample."},
        {{"FILE", "A feature sample file.", &o->files}},
        {{"--csv", "", "Print the samples as CSV, with a line of titles.", &o->csv},
         {"--json", "", "Print header and samples as a JSON object.", &o->json},
         {"-n,--count", "N", "Print at most N samples.", &o->count}},
        {{"samples gulf.feat", "What was sampled, and how much of it?"},
         {"samples gulf.feat --csv > gulf.csv", "All samples, for a spreadsheet."}},
        "the file could not be read",
        [o] { return run(*o); }};
}

}  // namespace zel_tool
