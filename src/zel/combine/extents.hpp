// What files must agree in before they are brought to one grid.
#pragma once

#include <vector>

#include "combine/plan.hpp"
#include "scene/scene_key.hpp"

namespace zel_tool {

// The relation of a component's grid to the base's, as the library has set it.
Grid gridOf(const ZELType& part);
int factorOf(const ZELType& part);

// How many lines, or columns, of the base grid a component covers with whole pixels.
long long linesCovered(const ZELType& part);
long long columnsCovered(const ZELType& part);

// Differences of scene, ratio, width and length.
std::vector<Problem> problemsOf(Sources& sources);

// Bytes after the last whole line of a file that is no container; empty without any.
std::vector<Problem> cutLine(const std::string& file, const ZELType& record, long long bytes);

// Files of other scenes than the first of the list.
std::vector<Problem> otherScenes(const std::vector<SceneKey>& keys);

}  // namespace zel_tool
