#include "combine/recipe.hpp"

#include <algorithm>

#include "base/failure.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

// Writes what is not at its default. Text is UTF-8 there.
class RecipeWriter {
public:
    explicit RecipeWriter(Json& json) : json_(json) {}

    void operator()(const char* key, const std::string& value)
    {
        if (!value.empty()) json_[key] = utf8(value);
    }
    void operator()(const char* key, const std::vector<std::string>& values)
    {
        for (const std::string& value : values) json_[key].push_back(utf8(value));
    }
    void operator()(const char* key, int number, int usual)
    {
        if (number != usual) json_[key] = number;
    }
    void operator()(const char* key, bool flag)
    {
        if (flag) json_[key] = true;
    }
    void operator()(const char* key, const RasterRecipe& raster);

private:
    Json& json_;
};

// What is not in the document stays as it is.
class RecipeReader {
public:
    explicit RecipeReader(const Json& json) : json_(json) {}

    template <class Value>
    void operator()(const char* key, Value& value, int /*usual*/ = 0)
    {
        if (const auto member = json_.find(key); member != json_.end())
            value = member->template get<Value>();
    }
    void operator()(const char* key, RasterRecipe& raster);

private:
    const Json& json_;
};

// Every field, for both.
template <class Raster, class Walker>
void walkRaster(Raster& raster, Walker& walk)
{
    walk("file", raster.file);
    walk("header", raster.header);
    walk("label", raster.label);
    walk("prefix", raster.prefix);
    walk("lut", raster.lut);
    walk("classes", raster.classes);
    walk("cube", raster.cube);
}

constexpr int noBase = -1;  // the base is always written

template <class AnyRecipe, class Walker>
void walkRecipe(AnyRecipe& recipe, Walker& walk)
{
    walk("files", recipe.files);
    walk("base", recipe.base, noBase);
    walk("base_part", recipe.basePart, -1);
    walk("method", recipe.methods);
    walk("missing", recipe.missing);
    walk("min_valid", recipe.minValid);
    walk("allow", recipe.allow);
    walk("raster", recipe.raster);
}

void RecipeWriter::operator()(const char* key, const RasterRecipe& raster)
{
    if (raster.file.empty()) return;
    RecipeWriter writer(json_[key]);
    walkRaster(raster, writer);
}

void RecipeReader::operator()(const char* key, RasterRecipe& raster)
{
    const auto member = json_.find(key);
    if (member == json_.end()) return;
    RecipeReader reader(*member);
    walkRaster(raster, reader);
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
    RecipeWriter writer(json);
    walkRecipe(recipe, writer);
    return json;
}

Recipe recipeOf(const Json& json)
{
    Recipe recipe;
    try {
        RecipeReader reader(json);
        walkRecipe(recipe, reader);
    } catch (const Json::exception&) {
        throw Failure(damagedPlan);
    }
    const auto count = static_cast<int>(recipe.files.size());
    const bool raster = !json.contains("raster") || recipe.hasRaster();
    if (recipe.base < 0 || recipe.base >= count || !raster) throw Failure(damagedPlan);
    return recipe;
}

}  // namespace zel_tool
