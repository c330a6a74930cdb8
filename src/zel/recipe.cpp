#include "recipe.hpp"

#include <algorithm>
#include <initializer_list>

#include "failure.hpp"
#include "text.hpp"

namespace zel_tool {
namespace {

void set(Json& json, const char* key, const std::string& value)
{
    if (!value.empty()) json[key] = utf8(value);
}

void set(Json& json, const char* key, const std::vector<std::string>& values)
{
    for (const std::string& value : values) json[key].push_back(utf8(value));
}

template <class Value>
void get(const Json& json, const char* key, Value& value)
{
    if (const auto member = json.find(key); member != json.end()) value = member->get<Value>();
}

Json rasterJson(const RasterRecipe& raster)
{
    Json json;
    set(json, "file", raster.file);
    set(json, "header", raster.header);
    set(json, "label", raster.label);
    set(json, "prefix", raster.prefix);
    set(json, "lut", raster.lut);
    set(json, "classes", raster.classes);
    if (raster.cube) json["cube"] = true;
    return json;
}

RasterRecipe rasterOf(const Json& json)
{
    RasterRecipe raster;
    get(json, "file", raster.file);
    get(json, "header", raster.header);
    get(json, "label", raster.label);
    get(json, "prefix", raster.prefix);
    get(json, "lut", raster.lut);
    get(json, "classes", raster.classes);
    get(json, "cube", raster.cube);
    return raster;
}

}  // namespace

const std::string& Recipe::pathOf(const std::string& name) const
{
    const auto place = found.find(name);
    return place == found.end() ? name : place->second;
}

std::vector<std::string> Recipe::paths() const
{
    std::vector<std::string> list;
    for (const std::string& file : files) list.push_back(pathOf(file));
    return list;
}

bool Recipe::allows(const std::string& problem) const
{
    return std::find(allow.begin(), allow.end(), problem) != allow.end();
}

std::vector<std::string> Recipe::inputs() const
{
    std::vector<std::string> list = files;
    for (const std::string& file : {raster.file, raster.header, raster.lut, raster.classes})
        if (!file.empty()) list.push_back(file);
    return list;
}

Json recipeJson(const Recipe& recipe)
{
    Json json;
    set(json, "files", recipe.files);
    json["base"] = recipe.base;
    if (recipe.basePart >= 0) json["base_part"] = recipe.basePart;
    set(json, "method", recipe.methods);
    set(json, "missing", recipe.missing);
    set(json, "min_valid", recipe.minValid);
    set(json, "allow", recipe.allow);
    if (recipe.hasRaster()) json["raster"] = rasterJson(recipe.raster);
    return json;
}

Recipe recipeOf(const Json& json)
{
    Recipe recipe;
    try {
        get(json, "files", recipe.files);
        get(json, "base", recipe.base);
        get(json, "base_part", recipe.basePart);
        get(json, "method", recipe.methods);
        get(json, "missing", recipe.missing);
        get(json, "min_valid", recipe.minValid);
        get(json, "allow", recipe.allow);
        if (json.contains("raster")) recipe.raster = rasterOf(json["raster"]);
    } catch (const Json::exception&) {
        throw Failure(damagedPlan);
    }
    const auto count = static_cast<int>(recipe.files.size());
    const bool raster = !json.contains("raster") || recipe.hasRaster();
    if (recipe.base < 0 || recipe.base >= count || !raster) throw Failure(damagedPlan);
    return recipe;
}

}  // namespace zel_tool
