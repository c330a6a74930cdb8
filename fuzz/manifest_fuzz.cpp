// Manifests: what is seen of a line without parsing it is what parsing gives, and a share is refused or
// has the scenes that it has of the parsed manifest.
#include <algorithm>
#include <optional>

#include "verbs_support.hpp"
#include "zel/archive/run/scene_inputs.hpp"
#include "zel/archive/scenes/manifest.hpp"

namespace {

using zel_fuzz::require;
using zel_tool::Json;
using zel_tool::Manifest;
using zel_tool::Reading;
using zel_tool::SceneOutline;

void look(const SceneOutline& /*unused*/) {}

std::optional<Manifest> manifestIn(const std::string& file, Reading how)
{
    try {
        return zel_tool::readManifest(file, how, look);
    } catch (const zel_tool::Misuse& misuse) {
        require(std::string(misuse.what()).starts_with(file), "a refusal names the file");
        return std::nullopt;
    }
}

std::vector<std::string> idsOf(const Manifest& manifest)
{
    std::vector<std::string> ids;
    for (const auto& scene : manifest.scenes) ids.push_back(scene.id);
    return ids;
}

// Members that come twice, and numbers in other words, do not come from zel scenes.
bool isInOneForm(const zel_tool::ManifestScene& scene)
{
    return scene.json().dump() == scene.line;
}

void requireSeen(const zel_tool::ManifestScene& scene)
{
    const std::optional<SceneOutline> seen = zel_tool::outlineSeenIn(scene.line);
    if (!seen || !isInOneForm(scene)) return;
    const SceneOutline outline = zel_tool::outlineOf(scene.json());
    for (const auto& [key, value] : seen->fields.items())
        require(outline.fields[key] == value, "a field that is seen is that of the scene");
    for (const std::string& path : outline.paths)
        require(scene.line.find("{\"path\":" + Json(path).dump()) == std::string::npos ||
                    std::count(seen->paths.begin(), seen->paths.end(), path) > 0,
                "a path is seen");
}

void requireInputs(const zel_tool::ManifestScene& scene)
{
    zel_tool::RunRecipe recipe;
    using Pick = zel_tool::Role::Pick;
    for (const Pick pick : {Pick::any, Pick::finest, Pick::coarsest})
        recipe.roles.push_back(
            {"r" + std::to_string(static_cast<int>(pick)), pick, {}, "", "*", "", true, true});
    const zel_tool::SceneInputs inputs = zel_tool::inputsOf(recipe, scene.json());
    require(inputs.at("r0").size() == scene.json()["files"].size(), "every file is an input");
}

// The task of a share; false when it refuses.
bool takesShare(const std::string& file, long long number, std::vector<std::string>& ids)
{
    try {
        Manifest manifest = zel_tool::readManifest(file, Reading::outlines, look);
        zel_tool::keepShard(manifest, number, 2);
        zel_tool::lookAtOutlined(manifest, look, look);
        for (const std::string& id : idsOf(manifest)) ids.push_back(id);
        return true;
    } catch (const zel_tool::Misuse&) {
        return false;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const zel_fuzz::File file("manifest", data, size);
    const std::string path = file.path();
    const std::optional<Manifest> whole = manifestIn(path, Reading::whole);
    std::vector<std::string> ids;
    const bool isTaken = takesShare(path, 1, ids) && takesShare(path, 2, ids);
    if (!whole) return 0;
    for (const auto& scene : whole->scenes) {
        requireSeen(scene);
        requireInputs(scene);
    }
    if (!std::all_of(whole->scenes.begin(), whole->scenes.end(), isInOneForm)) return 0;
    std::sort(ids.begin(), ids.end());
    require(isTaken && ids == idsOf(*whole), "the shares are the manifest");
    return 0;
}
