// A manifest of scenes, as zel scenes writes it.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "archive/scenes/manifest_line.hpp"
#include "base/json.hpp"

namespace zel_tool {

struct ManifestScene {
    std::string id;
    std::string line;  // JSON
    long long number;  // of the line
    bool isParsed;

    Json json() const { return Json::parse(line); }
};

// A file that could not be read when the manifest was made.
struct UnreadFile {
    std::string path;
    std::string error;
};

struct Manifest {
    std::string name;                   // to show
    std::vector<ManifestScene> scenes;  // by id
    std::vector<ManifestScene> others;  // of other shares
    std::vector<UnreadFile> unread;     // by path
};

// Whether all lines are parsed, or only those of which no outline can be seen.
enum class Reading { whole, outlines };

// "-" is standard input; look gets each scene that is parsed, in the order of the file. Throws
// Misuse, with the line.
using LookAtScene = std::function<void(const SceneOutline& scene)>;
Manifest readManifest(const std::string& file, Reading how, const LookAtScene& look);

// The scenes that were not parsed: those of the share are now, of the others the outline is enough.
// Throws Misuse, with the line.
void lookAtOutlined(const Manifest& manifest, const LookAtScene& own, const LookAtScene& other);

// The part of a manifest for shard number of count, from 1: every count-th scene. The first has
// the files that could not be read. The rest are the others.
void keepShard(Manifest& manifest, long long number, long long count);

// The number of groups of that many scenes, at least one; and one of them, from 1.
long long groupCount(const Manifest& manifest, long long size);
void keepGroup(Manifest& manifest, long long number, long long size);

}  // namespace zel_tool
