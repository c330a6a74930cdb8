#include "archive/run/scene_workers.hpp"

#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <csignal>
#include <ctime>
#include <utility>

#include "base/failure.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

constexpr int mostAttempts = 2;

// "2026-11-22T19:35:59.120Z".
std::string timeNow()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm parts{};
    gmtime_r(&now.tv_sec, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
    return text + format(".%03ldZ", now.tv_nsec / 1000000);
}

double thousandths(double seconds)
{
    return std::round(seconds * 1000.0) / 1000.0;
}

bool sendText(int descriptor, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t sent = write(descriptor, text.data(), text.size());
        if (sent < 0 && errno == EINTR) continue;
        if (sent <= 0) return false;
        text.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

// What the process of a scene has said; where a signal has ended it or its step, that.
Json resultOf(const Ended& ended)
{
    Json result = Json::parse(ended.text, nullptr, false);
    if (ended.signal != 0 || !result.is_object())
        result = {{"status", ended.signal != 0 ? "killed" : "failed"},
                  {"signal", ended.signal},
                  {"reason", "the process has ended without a result"}};
    if (result["status"] == "dropped") result["status"] = "killed";
    if (result["status"] == "killed")
        result["reason"] = "killed by " + signalName(result["signal"].get<int>());
    return result;
}

Json lineOf(const std::string& id, const RunRecipe& recipe)
{
    return {{"id", id},
            {"status", "failed"},
            {"reason", nullptr},
            {"start", nullptr},
            {"seconds", 0.0},
            {"cpu_seconds", 0.0},
            {"peak_memory_bytes", 0},
            {"bytes_read", nullptr},
            {"bytes_written", nullptr},
            {"attempts", 0},
            {"warnings", Json::array()},
            {"outputs", Json::array()},
            {"recipe", recipe.hash}};
}

}  // namespace

SceneWorkers::SceneWorkers(const RunRecipe& recipe, const RunPlace& place, std::size_t jobs,
                           std::function<void(const Json& line)> take)
    : recipe_(recipe), place_(place), jobs_(jobs), take_(std::move(take))
{
}

void SceneWorkers::start(const ManifestScene& scene, int attempt)
{
    const std::string now = timeNow();
    const Clock::time_point began = Clock::now();
    ChildProcess child(Orphan::asked, [&](int descriptor) {
        const Json result = runScene(recipe_, place_, scene, descriptor);
        return sendText(descriptor, result.dump()) ? statusDone : statusProblem;
    });
    workers_.push_back({&scene, attempt, now, began, std::move(child)});
}

void SceneWorkers::finish(std::size_t index)
{
    Worker worker = std::move(workers_[index]);
    workers_.erase(workers_.begin() + static_cast<std::ptrdiff_t>(index));
    const Ended ended = worker.child.finish();
    const Json result = resultOf(ended);
    if (result["status"] == "killed" && worker.attempt < mostAttempts)
        killed_.push_back(worker.scene);
    else
        report(worker, ended, result);
}

void SceneWorkers::report(const Worker& worker, const Ended& ended, const Json& result)
{
    Json line = lineOf(worker.scene->id, recipe_);
    for (const char* key : {"reason", "bytes_read", "bytes_written", "warnings", "outputs"})
        if (result.contains(key)) line[key] = result[key];
    line["status"] = result["status"] == "killed" ? Json("failed") : result["status"];
    line["start"] = worker.start;
    line["seconds"] =
        thousandths(std::chrono::duration<double>(Clock::now() - worker.began).count());
    line["cpu_seconds"] = thousandths(ended.cpuSeconds);
    line["peak_memory_bytes"] = ended.peakBytes;
    line["attempts"] = worker.attempt;
    take_(line);
}

// What has ended all the same is reported: its outputs are there.
void SceneWorkers::stop()
{
    for (const Worker& worker : workers_) worker.child.send(SIGTERM);
    while (!workers_.empty()) {
        Worker worker = std::move(workers_.back());
        workers_.pop_back();
        const Ended ended = worker.child.finish();
        const Json result = resultOf(ended);
        if (result["status"] != "killed") report(worker, ended, result);
    }
}

void SceneWorkers::runAll(const std::vector<const ManifestScene*>& scenes, int attempt,
                          std::size_t jobs)
{
    std::size_t next = 0;
    while ((next < scenes.size() || !workers_.empty()) && StopSignals::check() == 0) {
        if (next < scenes.size() && workers_.size() < jobs) {
            start(*scenes[next++], attempt);
            continue;
        }
        std::vector<const ChildProcess*> children;
        children.reserve(workers_.size());
        for (const Worker& worker : workers_) children.push_back(&worker.child);
        const int ended = ChildProcess::waitForAny(children);
        if (ended >= 0) finish(static_cast<std::size_t>(ended));
    }
}

int SceneWorkers::run(const std::vector<ManifestScene>& scenes)
{
    const StopSignals signals;
    std::vector<const ManifestScene*> all;
    all.reserve(scenes.size());
    for (const ManifestScene& scene : scenes) all.push_back(&scene);
    try {
        runAll(all, 1, jobs_);
        const std::vector<const ManifestScene*> again = std::exchange(killed_, {});
        runAll(again, mostAttempts, 1);
        stop();
    } catch (...) {
        take_ = [](const Json&) {};
        stop();
        throw;
    }
    return StopSignals::received();
}

Json unreadLine(const UnreadFile& file, const RunRecipe& recipe)
{
    Json line = lineOf("", recipe);
    line["id"] = nullptr;
    line["file"] = file.path;
    line["reason"] = file.error;
    return line;
}

}  // namespace zel_tool
