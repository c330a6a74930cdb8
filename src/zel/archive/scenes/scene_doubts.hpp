// What is odd about the scenes of an archive.
#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "archive/scenes/scene_groups.hpp"

namespace zel_tool {

struct Doubt {
    std::string kind;
    std::string text;
};

// The resolutions of a scene, the finest first.
std::set<float> resolutionsOf(const SceneGroup& scene);

// What the scenes of each sensor and satellite have among them.
class Resolutions {
public:
    explicit Resolutions(const std::vector<SceneGroup>& scenes);
    std::vector<float> missingIn(const SceneGroup& scene) const;

private:
    std::map<std::pair<int, int>, std::set<float>> known_;
};

// Of a scene by itself.
std::vector<Doubt> doubtsAbout(const SceneGroup& scene);

// Whether the second scene begins less than a tenth of an hour after the last file of the first.
bool isNear(const SceneGroup& scene, const SceneGroup& next);

}  // namespace zel_tool
