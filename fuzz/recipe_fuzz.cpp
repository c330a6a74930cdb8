// Recipes: one that is valid is the same when it is read again, and the names of its outputs are below
// the root; any other is refused with its place.
#include "verbs_support.hpp"
#include "zel/archive/recipe/run_recipe.hpp"

namespace {

using zel_fuzz::require;

const zel_tool::Json scene = {{"id", "generic-0-2020001-12.0h"},
                              {"sensor", "GENERIC"},
                              {"satellite", 0},
                              {"date", "2020-01-01"},
                              {"year", 2020},
                              {"day_of_year", 1},
                              {"start", "2020-01-01T12:00:00.000Z"}};

void requireNames(const zel_tool::RunRecipe& recipe)
{
    for (const zel_tool::RecipeOutput& output : recipe.outputs) {
        const std::string name = "/" + output.path.of(scene) + "/";
        require(name.find("//") == std::string::npos && name.find("/./") == std::string::npos &&
                    name.find("/../") == std::string::npos,
                "an output is below the root");
        require(recipe.findMade(output.name) != nullptr, "an output is made");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const zel_fuzz::File file("recipe", data, size);
    const std::string path = file.path();
    try {
        const zel_tool::RunRecipe recipe = zel_tool::readRecipe(path);
        require(recipe.hash.size() == 64 && recipe.hash == zel_tool::readRecipe(path).hash,
                "a recipe has one checksum");
        requireNames(recipe);
    } catch (const zel_tool::Misuse& misuse) {
        require(std::string(misuse.what()).starts_with(path), "a refusal has its place");
    } catch (const zel_tool::Failure& failure) {
        require(*failure.what() != '\0', "a refusal has a message");
    }
    return 0;
}
