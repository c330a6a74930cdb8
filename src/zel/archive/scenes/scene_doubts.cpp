#include "archive/scenes/scene_doubts.hpp"

#include <algorithm>
#include <cmath>

#include "base/text.hpp"

namespace zel_tool {
namespace {

std::string partName(const FileFacts& file, std::size_t part)
{
    return utf8(file.path) + (file.isContainer ? format(" part %zu", part) : "");
}

// Runs work for every grid of a scene.
template <class Work>
void forEachGrid(const SceneGroup& scene, Work work)
{
    for (const FileFacts& file : scene.files)
        for (std::size_t i = 0; i < file.grids.size(); ++i) work(file.grids[i], partName(file, i));
}

void addTimes(const SceneGroup& scene, std::vector<Doubt>& doubts)
{
    for (const FileFacts& file : scene.files) {
        const GridFacts& grid = file.baseGrid();
        if (!whenOf(grid).isKnown)
            doubts.push_back({"time", utf8(file.path) + ": no time of the first line"});
        else if (grid.time == 0.0)
            doubts.push_back({"time", utf8(file.path) + ": the time of the first line is 0"});
    }
    const GridFacts& first = scene.first();
    const GridFacts& last = scene.last();
    if (first.year != last.year || first.julian != last.julian)
        doubts.push_back({"days", format("the files are of the days %d/%03d and %d/%03d",
                                         first.year, first.julian, last.year, last.julian)});
    else if (whenOf(first).tenth != whenOf(last).tenth)
        doubts.push_back({"times", format("the first lines, of %.4f h to %.4f h, do not fall into "
                                          "one tenth of an hour",
                                          first.time, last.time)});
}

void addDuplicates(const SceneGroup& scene, std::vector<Doubt>& doubts)
{
    std::map<float, std::vector<std::string>> owners;
    forEachGrid(scene, [&](const GridFacts& grid, const std::string& name) {
        if (std::isfinite(grid.resolution)) owners[grid.resolution].push_back(name);
    });
    for (const auto& [resolution, names] : owners)
        if (names.size() > 1)
            doubts.push_back(
                {"duplicate", shortest(resolution) + " m more than once: " + join(names, ", ")});
}

void addLeftBytes(const SceneGroup& scene, std::vector<Doubt>& doubts)
{
    forEachGrid(scene, [&](const GridFacts& grid, const std::string& name) {
        if (grid.left > 0)
            doubts.push_back({"truncated", name + format(": %lld bytes after the last whole line",
                                                         static_cast<long long>(grid.left))});
    });
    for (const FileFacts& file : scene.files)
        if (file.isContainer && file.left > 0)
            doubts.push_back(
                {"truncated", utf8(file.path) + format(": %lld bytes after the last part",
                                                       static_cast<long long>(file.left))});
}

// Lines that are missing at the end of a file show only beside its neighbours.
void addLengths(const SceneGroup& scene, std::vector<Doubt>& doubts)
{
    double shortestLength = INFINITY;
    double longestLength = 0.0;
    double pixel = 0.0;
    std::string who;
    forEachGrid(scene, [&](const GridFacts& grid, const std::string& name) {
        const double size = static_cast<double>(grid.resolution);
        const double length = size * grid.lines;
        pixel = std::max(pixel, size);
        longestLength = std::max(longestLength, length);
        if (length < shortestLength) who = name;
        shortestLength = std::min(shortestLength, length);
    });
    if (longestLength - shortestLength > pixel)
        doubts.push_back({"length", who + format(": %g m of lines, where another has %g m",
                                                 shortestLength, longestLength)});
}

void addPlaces(const SceneGroup& scene, std::vector<Doubt>& doubts)
{
    forEachGrid(scene, [&](const GridFacts& grid, const std::string& name) {
        if (!grid.box) doubts.push_back({"place", name + ": no navigation, or invalid"});
    });
}

void addParts(const SceneGroup& scene, std::vector<Doubt>& doubts)
{
    for (const FileFacts& file : scene.files) {
        const GridFacts& base = file.baseGrid();
        for (std::size_t i = 0; i < file.grids.size(); ++i) {
            const GridFacts& part = file.grids[i];
            if (part.sensor != base.sensor || part.satellite != base.satellite ||
                whenOf(part).isKnown != whenOf(base).isKnown ||
                whenOf(part).tenth != whenOf(base).tenth)
                doubts.push_back({"parts", partName(file, i) + ": not of the scene of part " +
                                               std::to_string(file.base)});
        }
    }
}

}  // namespace

std::set<float> resolutionsOf(const SceneGroup& scene)
{
    std::set<float> all;
    forEachGrid(scene, [&](const GridFacts& grid, const std::string&) {
        if (std::isfinite(grid.resolution)) all.insert(grid.resolution);
    });
    return all;
}

Resolutions::Resolutions(const std::vector<SceneGroup>& scenes)
{
    for (const SceneGroup& scene : scenes)
        known_[{scene.first().sensor, scene.first().satellite}].merge(resolutionsOf(scene));
}

std::vector<float> Resolutions::missingIn(const SceneGroup& scene) const
{
    const std::set<float> own = resolutionsOf(scene);
    const std::set<float>& known = known_.at({scene.first().sensor, scene.first().satellite});
    std::vector<float> missing;
    std::set_difference(known.begin(), known.end(), own.begin(), own.end(),
                        std::back_inserter(missing));
    return missing;
}

std::vector<Doubt> doubtsAbout(const SceneGroup& scene)
{
    std::vector<Doubt> doubts;
    addTimes(scene, doubts);
    addDuplicates(scene, doubts);
    addLeftBytes(scene, doubts);
    addLengths(scene, doubts);
    addPlaces(scene, doubts);
    addParts(scene, doubts);
    return doubts;
}

bool isNear(const SceneGroup& scene, const SceneGroup& next)
{
    constexpr double limit = 360.0;  // seconds
    const GridFacts& a = scene.last();
    const GridFacts& b = next.first();
    if (a.sensor != b.sensor || a.satellite != b.satellite) return false;
    const When before = whenOf(a);
    const When after = whenOf(b);
    if (!before.isKnown || !after.isKnown) return false;
    return std::round((after.hours - before.hours) * 3.6e6) < limit * 1000.0;
}

}  // namespace zel_tool
