// A manifest of scenes, as zel scenes writes it.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "base/json.hpp"

namespace zel_tool {

struct ManifestScene {
    std::string id;
    std::string line;  // JSON

    Json json() const { return Json::parse(line); }
};

// A file that could not be read when the manifest was made.
struct UnreadFile {
    std::string path;
    std::string error;
};

struct Manifest {
    std::vector<ManifestScene> scenes;  // by id
    std::vector<UnreadFile> unread;     // by path
};

// "-" is standard input; look gets each scene, in the order of the file. Throws Misuse, with the
// line.
using LookAtScene = std::function<void(const std::string& id, const Json& scene)>;
Manifest readManifest(const std::string& file, const LookAtScene& look);

// The part of a manifest for shard number of count, from 1: every count-th scene. The first has
// the files that could not be read.
void keepShard(Manifest& manifest, long long number, long long count);

// The number of groups of that many scenes, at least one; and one of them, from 1.
long long groupCount(const Manifest& manifest, long long size);
void keepGroup(Manifest& manifest, long long number, long long size);

}  // namespace zel_tool
