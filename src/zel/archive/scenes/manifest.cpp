#include "archive/scenes/manifest.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>

#include "base/failure.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

[[noreturn]] void refuseLine(const std::string& name, long long number)
{
    throw Misuse(name + format(":%lld: is no line of zel scenes", number));
}

struct Reader {
    const Reading how;
    const LookAtScene& look;
    Manifest manifest;

    // Returns whether it is a line of a manifest.
    bool take(const std::string& line, long long number)
    {
        if (how == Reading::outlines)
            if (const auto id = idSeenIn(line)) {
                manifest.scenes.push_back({*id, line, number, false});
                return true;
            }
        Json json = Json::parse(line, nullptr, false);
        if (isUnread(json)) {
            manifest.unread.push_back({json["file"], json["error"]});
            return true;
        }
        if (!isScene(json)) return false;
        manifest.scenes.push_back({json["id"], line, number, true});
        look(outlineOf(std::move(json)));
        return true;
    }

    void readLines(std::istream& stream)
    {
        long long number = 0;
        for (std::string line; std::getline(stream, line);) {
            ++number;
            if (!line.empty() && !take(line, number)) refuseLine(manifest.name, number);
        }
        if (stream.bad()) throw Misuse(manifest.name + ": cannot be read");
    }
};

void requireOneOfEach(const Manifest& manifest)
{
    const auto& scenes = manifest.scenes;
    const auto twice = std::adjacent_find(
        scenes.begin(), scenes.end(), [](const auto& a, const auto& b) { return a.id == b.id; });
    if (twice != scenes.end())
        throw Misuse(manifest.name + ": the scene " + printable(twice->id) +
                     " is there more than once");
}

template <class Takes>
void keepScenes(Manifest& manifest, bool isFirst, Takes takes)
{
    std::vector<ManifestScene> kept;
    for (std::size_t i = 0; i < manifest.scenes.size(); ++i)
        (takes(static_cast<long long>(i)) ? kept : manifest.others)
            .push_back(std::move(manifest.scenes[i]));
    manifest.scenes = std::move(kept);
    if (!isFirst) manifest.unread.clear();
}

}  // namespace

Manifest readManifest(const std::string& file, Reading how, const LookAtScene& look)
{
    Reader reader{how, look, {}};
    reader.manifest.name = file == "-" ? "standard input" : printable(file);
    if (file == "-") {
        reader.readLines(std::cin);
    } else {
        std::ifstream stream(file, std::ios::binary);
        if (!stream) throw Misuse(reader.manifest.name + ": " + std::strerror(errno));
        reader.readLines(stream);
    }
    Manifest manifest = std::move(reader.manifest);
    std::sort(manifest.scenes.begin(), manifest.scenes.end(),
              [](const auto& a, const auto& b) { return a.id < b.id; });
    std::sort(manifest.unread.begin(), manifest.unread.end(),
              [](const auto& a, const auto& b) { return a.path < b.path; });
    requireOneOfEach(manifest);
    return manifest;
}

void lookAtOutlined(const Manifest& manifest, const LookAtScene& own, const LookAtScene& other)
{
    for (const ManifestScene& scene : manifest.scenes) {
        if (scene.isParsed) continue;
        Json json = Json::parse(scene.line, nullptr, false);
        if (!isScene(json) || json["id"] != scene.id) refuseLine(manifest.name, scene.number);
        own(outlineOf(std::move(json)));
    }
    for (const ManifestScene& scene : manifest.others)
        if (!scene.isParsed) other(*outlineSeenIn(scene.line));
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
