// The scenes of a shard, each in a process of its own, a few at a time.
#pragma once

#include <chrono>
#include <functional>
#include <vector>

#include "archive/run/scene_run.hpp"
#include "base/child_process.hpp"

namespace zel_tool {

class SceneWorkers {
public:
    // take gets the line of each scene as it ends.
    SceneWorkers(const RunRecipe& recipe, const RunPlace& place, std::size_t jobs,
                 std::function<void(const Json& line)> take);

    // Runs all scenes. One whose process is killed is run again alone after the others. Returns the
    // signal that has stopped the run, after the scenes that ran are dropped; 0 for none.
    int run(const std::vector<ManifestScene>& scenes);

private:
    using Clock = std::chrono::steady_clock;

    struct Worker {
        const ManifestScene* scene;
        int attempt;
        std::string start;
        Clock::time_point began;
        ChildProcess child;
    };

    void runAll(const std::vector<const ManifestScene*>& scenes, int attempt, std::size_t jobs);
    void start(const ManifestScene& scene, int attempt);
    void finish(std::size_t index);
    void report(const Worker& worker, const Ended& ended, const Json& result);
    void stop();

    const RunRecipe& recipe_;
    const RunPlace& place_;
    std::size_t jobs_;
    std::function<void(const Json& line)> take_;
    std::vector<Worker> workers_;
    std::vector<const ManifestScene*> killed_;
};

// The line of a file that the manifest lists as unreadable.
Json unreadLine(const UnreadFile& file, const RunRecipe& recipe);

}  // namespace zel_tool
