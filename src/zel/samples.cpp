// zel samples: what is in a feature sample file.
#include <algorithm>
#include <memory>

#include "failure.hpp"
#include "json.hpp"
#include "library.hpp"
#include "report.hpp"
#include "text.hpp"
#include "verbs.hpp"
#include "zel_features/zel_features.h"

namespace zel_tool {
namespace {

struct Options {
    std::vector<std::string> files;
    int count = -1;
    bool csv = false;
    bool json = false;
};

// A sample file that is open for reading.
class SampleFile {
public:
    explicit SampleFile(const std::string& name) : file_(new ZELFeatureFileStruct())
    {
        requireFile(name);
        guarded([&] { ZELFeatureOpenFile(name.c_str(), file_.get()); });
    }

    ZELFeatureFileStruct* get() { return file_.get(); }
    ZELParameterStruct& parameters() { return file_->Parameters; }
    int features() { return ZELFeatureFetchNumberOfFeatures(get()); }
    int samples() { return ZELFeatureFetchNumberOfSamples(get()); }

    bool next()
    {
        int whole = 0;
        guarded([&] { whole = ZELFeatureReadSampleFromFile(get()); });
        return whole != 0;
    }

private:
    struct Close {
        void operator()(ZELFeatureFileStruct* file) const
        {
            ZELGuardedCall(
                [](void* data) { ZELFeatureCloseFile(static_cast<ZELFeatureFileStruct*>(data)); },
                file, nullptr);
            ZELFeatureFreeParameters(&file->Parameters);
            delete file;
        }
    };
    std::unique_ptr<ZELFeatureFileStruct, Close> file_;
};

std::string textOf(const char* text)
{
    return text ? utf8(text) : std::string();
}

template <std::size_t N>
std::string named(const char* const (&names)[N], int index)
{
    return index >= 0 && index < static_cast<int>(N) ? names[index] : std::to_string(index);
}

std::string methodName(int method)
{
    return method < 0 ? "every " + std::to_string(-static_cast<long long>(method))
                      : named(subSamplingMethodLabel, method);
}

Json listJson(const CommandStruct& list)
{
    Json entries = Json::array();
    for (const CommandListStruct* e = list.ListHead; e; e = e->next) {
        const auto text = [](const ZELStackStruct* stack) {
            return stack && stack->expression ? Json(utf8(stack->expression)) : Json(nullptr);
        };
        entries.push_back({{"label", e->Label ? Json(utf8(e->Label)) : Json(nullptr)},
                           {"condition", text(e->Condition)},
                           {"action", text(e->Action)}});
    }
    return entries;
}

Json textsJson(const CommandStruct& list)
{
    Json texts = Json::array();
    for (const CommandListStruct* e = list.ListHead; e; e = e->next)
        texts.push_back(textOf(e->Label));
    return texts;
}

Json inputsJson(const IOStruct& io)
{
    Json names = Json::array();
    for (const InputStruct* input = io.inputListHead; input; input = input->next)
        names.push_back(textOf(input->Filename));
    return names;
}

// The classes that have samples or a name.
Json classesJson(const ZELClassStruct& classes)
{
    Json list = Json::array();
    for (int i = 0; i < ZEL_FEATURE_NUM_CLASSES; ++i) {
        const std::string name = textOf(classes.name[i]);
        if (classes.Count[i] == 0 && name.empty()) continue;
        list.push_back({{"class", i},
                        {"name", name},
                        {"samples", classes.Count[i]},
                        {"rgb", {classes.Red[i], classes.Green[i], classes.Blue[i]}}});
    }
    return list;
}

std::vector<std::string> labelsOf(SampleFile& file)
{
    std::vector<std::string> labels;
    char** texts = ZELFeatureFetchLabels(file.get());
    for (int i = 0; i < file.features(); ++i) labels.push_back(textOf(texts ? texts[i] : nullptr));
    return labels;
}

Json featuresJson(SampleFile& file)
{
    Json list = Json::array();
    const std::vector<std::string> labels = labelsOf(file);
    const CommandListStruct* entry = file.parameters().Features.ListHead;
    for (int i = 0; i < file.features() && entry; ++i, entry = entry->next) {
        const ZELStackStruct* stack = entry->Condition;
        list.push_back({{"label", labels[static_cast<std::size_t>(i)]},
                        {"expression", stack ? textOf(stack->expression) : ""},
                        {"min", jsonNumber(ZELFeatureFetchFeatureMin(file.get())[i])},
                        {"max", jsonNumber(ZELFeatureFetchFeatureMax(file.get())[i])}});
    }
    return list;
}

Json headerJson(SampleFile& file, const std::string& name)
{
    const ZELParameterStruct& p = file.parameters();
    return {{"file", utf8(name)},
            {"version", textOf(p.Header.VersionNumber)},
            {"written", textOf(p.Header.DateTimeString)},
            {"title", textsJson(p.Title)},
            {"comments", textsJson(p.Comments)},
            {"inputs", inputsJson(p.IO)},
            {"random_seed", p.RandomSeed},
            {"subsampling", methodName(p.SubSamplingMethod)},
            {"class_type", named(classTypeLabel, p.ClassType)},
            {"data_type", named(dataTypeLabel, p.DataType)},
            {"definitions", listJson(p.Conditions)},
            {"requirements", listJson(p.Requirements)},
            {"filters", listJson(p.Filters)},
            {"options", listJson(p.Options)},
            {"classes", classesJson(p.ClassInfo)},
            {"features", featuresJson(file)},
            {"sample_count", file.samples()}};
}

Json sampleJson(SampleFile& file)
{
    const ZELPixelStruct& p = *ZELFeatureFetchPixel(file.get());
    Json values = Json::array();
    for (int i = 0; i < file.features(); ++i)
        values.push_back(jsonNumber(ZELFeatureFetchFeatures(file.get())[i]));
    return {{"class", ZELFeatureFetchClass(file.get())},
            {"elementary_class", p.ElementaryClass},
            {"lat", jsonNumber(p.lat)},
            {"lon", jsonNumber(p.lon)},
            {"solar_zenith", jsonNumber(p.sz)},
            {"view_zenith", jsonNumber(p.vz)},
            {"azimuth", jsonNumber(p.az)},
            {"box", p.BoxIndex},
            {"priority", p.Priority},
            {"day_of_year", jsonNumber(p.jday)},
            {"year", jsonNumber(p.year)},
            {"values", values}};
}

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
    for (const std::string& label : labelsOf(file)) head += "," + field(label);
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

std::string shown(const Json& value)
{
    if (value.is_null()) return "-";
    if (value.is_string()) return printable(value.get<std::string>());
    return value.is_number_float() ? shortest(value.get<double>()) : value.dump();
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
    std::vector<std::vector<std::string>> classes = {{"class", "samples", "colour", "name"}};
    for (const Json& c : h["classes"])
        classes.push_back({shown(c["class"]), shown(c["samples"]),
                           shown(c["rgb"][0]) + " " + shown(c["rgb"][1]) + " " + shown(c["rgb"][2]),
                           shown(c["name"])});
    out += "\nClasses\n" + table(classes, "rrll", "  ");
    std::vector<std::vector<std::string>> features = {{"feature", "min", "max", "expression"}};
    for (const Json& f : h["features"])
        features.push_back(
            {shown(f["label"]), shown(f["min"]), shown(f["max"]), shown(f["expression"])});
    return out + "\nFeatures\n" + table(features, "lrrl", "  ");
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
    return statusDone;
}

int run(const Options& o)
{
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
