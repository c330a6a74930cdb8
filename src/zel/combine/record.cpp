#include "combine/record.hpp"

#include <string_view>

#include "base/failure.hpp"
#include "base/progress.hpp"
#include "base/provenance.hpp"
#include "base/sha256.hpp"
#include "base/text.hpp"
#include "scene/library.hpp"
#include "scene/metadata_text.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

constexpr std::string_view mark = "zel combine: ";

Json channelsJson(const Plan& plan)
{
    Json list = Json::array();
    for (const ChannelPlan& c : plan.channels)
        list.push_back({utf8(c.label), c.part, c.sourceSlot, c.factor, c.methodText(),
                        storageName(c.storage)});
    return list;
}

std::string lineOf(const Json& document)
{
    return std::string(mark) + document.dump();
}

// With the names that outputs have for files.
Recipe recorded(Recipe recipe)
{
    for (std::string& file : recipe.files) file = recordedName(file);
    RasterRecipe& raster = recipe.raster;
    for (std::string* file : {&raster.file, &raster.header, &raster.lut, &raster.classes})
        *file = recordedName(*file);
    return recipe;
}

}  // namespace

std::vector<Recorded> sumsOf(const Recipe& recipe)
{
    std::vector<Recorded> sums;
    const std::vector<std::string> names = recipe.inputs();
    Progress progress("checksums", static_cast<long long>(names.size()));
    for (const std::string& name : names) {
        const std::string& path = recipe.pathOf(name);
        try {
            const long long bytes = requireFile(path);
            const std::string sum = sha256Of(path);
            sums.push_back({name, bytes, sum});
        } catch (const Failure& failure) {
            throw Failure(printable(path) + ": " + failure.what());
        }
        progress.update(static_cast<long long>(sums.size()));
    }
    return sums;
}

bool recordPlan(ZELHeaderType& header, const Plan& plan, const Recipe& recipe)
{
    Json document = {{"version", ZEL_LIBRARY_VERSION_TEXT},
                     {"recipe", recipeJson(recorded(recipe))}};
    for (const Recorded& input : sumsOf(recipe))
        document["inputs"].push_back({{"file", utf8(recordedName(input.name))},
                                      {"bytes", input.bytes},
                                      {"sha256", input.sum}});
    const std::string text = lineOf(document);
    document["channels"] = channelsJson(plan);
    return addMetadataLine(header, lineOf(document)) || addMetadataLine(header, text);
}

std::optional<Record> recordIn(const ZELHeaderType& header)
{
    const std::optional<std::string> text = lastMetadataLine(header, mark);
    if (!text) return std::nullopt;
    Record record;
    try {
        const Json document = Json::parse(*text);
        record.version = document.at("version").get<std::string>();
        record.recipe = recipeOf(document.at("recipe"));
        for (const Json& input : document.at("inputs"))
            record.inputs.push_back({input.at("file").get<std::string>(),
                                     input.at("bytes").get<long long>(),
                                     input.at("sha256").get<std::string>()});
    } catch (const Json::exception&) {
        throw Failure(damagedPlan);
    }
    return record;
}

}  // namespace zel_tool
