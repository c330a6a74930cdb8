#include "formula/sample_file.hpp"

#include <numeric>

#include "base/failure.hpp"
#include "base/text.hpp"
#include "scene/library.hpp"

namespace zel_tool {
namespace {

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

Json featuresJson(SampleFile& file)
{
    Json list = Json::array();
    const std::vector<std::string> labels = file.labels();
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

}  // namespace

SampleFile::SampleFile(const std::string& name) : file_(new ZELFeatureFileStruct())
{
    requireFile(name);
    guarded([&] { ZELFeatureOpenFile(name.c_str(), file_.get()); });
}

void SampleFile::Close::operator()(ZELFeatureFileStruct* file) const
{
    const auto close = [](void* data) {
        ZELFeatureCloseFile(static_cast<ZELFeatureFileStruct*>(data));
    };
    ZELGuardedCall(close, file, nullptr);
    ZELFeatureFreeParameters(&file->Parameters);
    delete file;
}

bool SampleFile::next()
{
    int whole = 0;
    guarded([&] { whole = ZELFeatureReadSampleFromFile(get()); });
    return whole != 0;
}

std::vector<std::string> SampleFile::labels()
{
    std::vector<std::string> labels;
    char** texts = ZELFeatureFetchLabels(get());
    labels.reserve(static_cast<std::size_t>(features()));
    for (int i = 0; i < features(); ++i) labels.push_back(textOf(texts ? texts[i] : nullptr));
    return labels;
}

// The number of samples follows from the length of the file; its classes count those that were
// written.
void requireWhole(SampleFile& file)
{
    const int* counts = file.parameters().ClassInfo.Count;
    const long long counted = std::accumulate(counts, counts + ZEL_FEATURE_NUM_CLASSES, 0LL);
    if (counted > file.samples())
        throw Failure(format("cut short: holds %d of %lld samples", file.samples(), counted));
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

std::string classesText(const Json& header)
{
    std::vector<std::vector<std::string>> rows = {{"class", "samples", "colour", "name"}};
    for (const Json& c : header["classes"])
        rows.push_back({shown(c["class"]), shown(c["samples"]),
                        shown(c["rgb"][0]) + " " + shown(c["rgb"][1]) + " " + shown(c["rgb"][2]),
                        shown(c["name"])});
    return "\nClasses\n" + table(rows, "rrll", "  ");
}

std::string featuresText(const Json& header)
{
    std::vector<std::vector<std::string>> rows = {{"feature", "min", "max", "expression"}};
    for (const Json& f : header["features"])
        rows.push_back(
            {shown(f["label"]), shown(f["min"]), shown(f["max"]), shown(f["expression"])});
    return "\nFeatures\n" + table(rows, "lrrl", "  ");
}

}  // namespace zel_tool
