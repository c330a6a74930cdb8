#include "archive/manifest.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>

#include "base/failure.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

bool isText(const Json& object, const char* key)
{
    const auto member = object.find(key);
    return member != object.end() && member->is_string();
}

bool isTextOrNull(const Json& object, const char* key)
{
    return isText(object, key) || (object.contains(key) && object[key].is_null());
}

bool isWhole(const Json& object, const char* key)
{
    const auto member = object.find(key);
    return member != object.end() && member->is_number_integer();
}

bool isGrid(const Json& grid)
{
    return grid.is_object() && grid.contains("resolution_m") &&
           (grid["resolution_m"].is_number() || grid["resolution_m"].is_null());
}

bool isFile(const Json& file)
{
    return file.is_object() && isText(file, "path") && isWhole(file, "bytes") &&
           isText(file, "checksum") && isText(file, "kind") && file.contains("grids") &&
           file["grids"].is_array() &&
           std::all_of(file["grids"].begin(), file["grids"].end(), isGrid);
}

// Its id becomes part of a file name.
bool isId(const std::string& id)
{
    return !id.empty() && id.size() < 200 && id[0] != '.' &&
           std::none_of(id.begin(), id.end(),
                        [](char c) { return c == '/' || static_cast<unsigned char>(c) < 0x20; });
}

bool isScene(const Json& scene)
{
    return isText(scene, "id") && isId(scene["id"].get<std::string>()) && isText(scene, "sensor") &&
           isWhole(scene, "satellite") && isWhole(scene, "year") && isWhole(scene, "day_of_year") &&
           isTextOrNull(scene, "date") && isTextOrNull(scene, "start") && scene.contains("files") &&
           scene["files"].is_array() &&
           std::all_of(scene["files"].begin(), scene["files"].end(), isFile);
}

// Returns whether it is a line of a manifest.
bool take(const std::string& line, Manifest& manifest, const LookAtScene& look)
{
    const Json json = Json::parse(line, nullptr, false);
    if (!json.is_object()) return false;
    if (isText(json, "file") && isText(json, "error")) {
        manifest.unread.push_back({json["file"], json["error"]});
        return true;
    }
    if (!isScene(json)) return false;
    manifest.scenes.push_back({json["id"], line});
    look(manifest.scenes.back().id, json);
    return true;
}

void readLines(std::istream& stream, const std::string& name, Manifest& manifest,
               const LookAtScene& look)
{
    long long number = 0;
    for (std::string line; std::getline(stream, line);) {
        ++number;
        if (!line.empty() && !take(line, manifest, look))
            throw Misuse(name + format(":%lld: is no line of zel scenes", number));
    }
    if (stream.bad()) throw Misuse(name + ": cannot be read");
}

void requireOneOfEach(const Manifest& manifest, const std::string& name)
{
    const auto& scenes = manifest.scenes;
    const auto twice = std::adjacent_find(
        scenes.begin(), scenes.end(), [](const auto& a, const auto& b) { return a.id == b.id; });
    if (twice != scenes.end())
        throw Misuse(name + ": the scene " + printable(twice->id) + " is there more than once");
}

template <class Takes>
void keepScenes(Manifest& manifest, bool isFirst, Takes takes)
{
    std::vector<ManifestScene> kept;
    for (std::size_t i = 0; i < manifest.scenes.size(); ++i)
        if (takes(static_cast<long long>(i))) kept.push_back(std::move(manifest.scenes[i]));
    manifest.scenes = std::move(kept);
    if (!isFirst) manifest.unread.clear();
}

}  // namespace

Manifest readManifest(const std::string& file, const LookAtScene& look)
{
    Manifest manifest;
    const std::string name = file == "-" ? "standard input" : printable(file);
    if (file == "-") {
        readLines(std::cin, name, manifest, look);
    } else {
        std::ifstream stream(file, std::ios::binary);
        if (!stream) throw Misuse(name + ": " + std::strerror(errno));
        readLines(stream, name, manifest, look);
    }
    std::sort(manifest.scenes.begin(), manifest.scenes.end(),
              [](const auto& a, const auto& b) { return a.id < b.id; });
    std::sort(manifest.unread.begin(), manifest.unread.end(),
              [](const auto& a, const auto& b) { return a.path < b.path; });
    requireOneOfEach(manifest, name);
    return manifest;
}

void keepShard(Manifest& manifest, long long number, long long count)
{
    keepScenes(manifest, number == 1, [&](long long i) { return i % count + 1 == number; });
}

long long groupCount(const Manifest& manifest, long long size)
{
    const auto scenes = static_cast<long long>(manifest.scenes.size());
    return std::max(1LL, (scenes + size - 1) / size);
}

void keepGroup(Manifest& manifest, long long number, long long size)
{
    keepScenes(manifest, number == 1, [&](long long i) { return i / size + 1 == number; });
}

}  // namespace zel_tool
