#include "archive/run/run_record.hpp"

#include <cstring>
#include <fstream>
#include <iterator>

#include "base/failure.hpp"
#include "base/provenance.hpp"
#include "base/sha256.hpp"
#include "base/text.hpp"
#include "formula/sample_file.hpp"
#include "picture/image.hpp"
#include "picture/page.hpp"
#include "scene/library.hpp"
#include "scene/metadata_text.hpp"

namespace zel_tool {
namespace {

std::string bytesOf(const std::string& path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

// A picture has its record before the pixels.
std::string beginOf(const std::string& path)
{
    std::ifstream stream(path, std::ios::binary);
    std::string bytes(1 << 16, '\0');
    stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(stream.gcount()));
    return bytes;
}

std::optional<std::string> recordInScene(const std::string& path)
{
    Scene scene(path);
    if (scene.isContainer()) return std::nullopt;
    return lastMetadataLine(scene.view().ZELHeader, provenanceMark);
}

std::optional<std::string> recordInSamples(const std::string& path)
{
    SampleFile file(path);
    std::optional<std::string> record;
    for (const CommandListStruct* e = file.parameters().Comments.ListHead; e; e = e->next)
        if (const std::string text = e->Label ? e->Label : ""; text.starts_with(provenanceMark))
            record = text.substr(provenanceMark.size());
    return record;
}

std::optional<std::string> recordInStatistics(const std::string& path)
{
    const Json document = Json::parse(bytesOf(path), nullptr, false);
    if (!document.is_object() || !document.contains("run")) return std::nullopt;
    return document["run"].dump();
}

std::optional<std::string> textInside(const std::string& output, Form form)
{
    switch (form) {
    case Form::scene:
        return recordInScene(output);
    case Form::picture:
        return provenanceOfPng(beginOf(output));
    case Form::page:
        return provenanceOfPage(bytesOf(output));
    case Form::samples:
        return recordInSamples(output);
    case Form::statistics:
        return recordInStatistics(output);
    case Form::raster:
        break;
    }
    return std::nullopt;
}

std::optional<Json> parsed(const std::string& text)
{
    const Json record = Json::parse(text, nullptr, false);
    if (!record.is_object() || !record.contains("key")) return std::nullopt;
    return record;
}

}  // namespace

Json runRecord(const RunRecipe& recipe, const std::string& id, const SceneInputs& inputs)
{
    Json files = Json::array();
    for (const auto& [name, list] : inputs)
        for (const InputFile& file : list)
            files.push_back({{"input", name},
                             {"file", file.path},
                             {"bytes", file.bytes},
                             {"checksum", file.checksum}});
    Json record = {{"version", ZEL_LIBRARY_VERSION_TEXT},
                   {"recipe", recipe.hash},
                   {"scene", id},
                   {"inputs", files}};
    Sha256 sum;
    sum.add(record.dump());
    record["key"] = sum.finish();
    return record;
}

std::string recordBeside(const std::string& output)
{
    return output + ".run.json";
}

std::optional<Json> recordInside(const std::string& output, Form form)
{
    try {
        const Hush hush;
        const std::optional<std::string> text = textInside(output, form);
        return text ? parsed(*text) : std::nullopt;
    } catch (const Failure& failure) {
        // Where memory runs out nothing is known of the record.
        if (std::strstr(failure.what(), "cannot allocate")) throw;
        return std::nullopt;
    }
}

std::optional<Json> recordFor(const std::string& output, Form form)
{
    std::optional<Json> record = recordInside(output, form);
    return record ? record : parsed(bytesOf(recordBeside(output)));
}

bool hasKey(const std::optional<Json>& record, const Json& wanted)
{
    return record && (*record)["key"] == wanted["key"];
}

}  // namespace zel_tool
