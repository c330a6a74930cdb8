// zel scenes: a manifest of the scenes in an archive.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <utility>

#include "archive/scenes/header_sum.hpp"
#include "archive/scenes/scene_doubts.hpp"
#include "archive/scenes/scene_files.hpp"
#include "archive/scenes/scene_groups.hpp"
#include "archive/scenes/selection.hpp"
#include "base/clock.hpp"
#include "base/failure.hpp"
#include "base/json.hpp"
#include "base/output_file.hpp"
#include "base/progress.hpp"
#include "base/report.hpp"
#include "base/text.hpp"
#include "command/verbs.hpp"
#include "scene/library.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

struct Options {
    std::vector<std::string> files;
    std::vector<std::string> where;
    std::string output;
    bool overwrite = false;
    bool nul = false;
};

struct BadFile {
    std::string path;
    std::string error;
};

struct Archive {
    std::vector<FileFacts> files;
    std::vector<BadFile> bad;
};

// What has no bytes to look at may be a scene; that it cannot be read is said.
bool cannotBeRead(const std::string& path)
{
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) return errno != ENOENT;
    char byte = 0;
    const bool failed = read(file, &byte, 1) < 0;
    close(file);
    return failed;
}

bool mayBeScene(const NamedFile& file)
{
    return file.isNamed || hasNameOfScene(file.path) || beginsLikeScene(file.path) ||
           cannotBeRead(file.path);
}

// Files wait for the next one: the checksums of two are taken at once.
class ArchiveReader {
public:
    void read(const NamedFile& file)
    {
        attempt(file.path, [&] {
            if (!file.error.empty()) throw Failure(file.error);
            if (!mayBeScene(file)) return;
            if (utf8(file.path) != file.path)
                throw Failure("the name is not UTF-8, and a manifest cannot hold it");
            auto now = std::make_unique<OpenFile>(headers_.open(file.path));
            if (const std::unique_ptr<OpenFile> before = std::move(waiting_))
                takeBoth(*before, *now);
            else
                waiting_ = std::move(now);
        });
    }

    Archive finish()
    {
        if (waiting_) take(*waiting_);
        return std::move(archive_);
    }

private:
    template <class Work>
    void attempt(const std::string& path, Work work)
    {
        try {
            work();
        } catch (const Failure& failure) {
            archive_.bad.push_back({path, failure.what()});
        } catch (const std::bad_alloc&) {
            archive_.bad.push_back({path, "cannot allocate memory"});
        }
    }

    void take(OpenFile& file)
    {
        attempt(file.facts.path, [&] {
            if (file.facts.checksum.empty()) takeChecksum(file);
            archive_.files.push_back(std::move(file.facts));
        });
    }

    // Where that fails, each by itself says why, or has its checksum.
    void takeBoth(OpenFile& one, OpenFile& other)
    {
        try {
            takeChecksums(one, other);
        } catch (const std::exception&) {
            one.facts.checksum.clear();
            other.facts.checksum.clear();
        }
        take(one);
        take(other);
    }

    HeaderReader headers_;
    std::unique_ptr<OpenFile> waiting_;
    Archive archive_;
};

Archive readArchive(const std::vector<NamedFile>& names)
{
    const QuietLibrary quiet;
    ArchiveReader reader;
    Progress progress("", static_cast<long long>(names.size()));
    long long done = 0;
    for (const NamedFile& name : names) {
        reader.read(name);
        progress.update(++done);
    }
    return reader.finish();
}

Json timeJson(const GridFacts& grid)
{
    const auto time = isoTime(grid.year, grid.julian, grid.time);
    return time ? Json(*time) : Json(nullptr);
}

Json boxJson(const std::optional<Box>& box)
{
    if (!box) return nullptr;
    Json list = Json::array();
    for (const double edge : {box->west, box->south, box->east, box->north})
        list.push_back(widened(static_cast<float>(edge)));
    return list;
}

Json gridJson(const GridFacts& grid)
{
    return {{"resolution_m", jsonNumber(grid.resolution)},
            {"pixels", grid.pixels},
            {"lines", grid.lines},
            {"channels", grid.channels}};
}

Json fileJson(const FileFacts& file)
{
    Json grids = Json::array();
    for (const GridFacts& grid : file.grids) grids.push_back(gridJson(grid));
    return {{"path", utf8(file.path)},
            {"bytes", file.bytes},
            {"checksum", file.checksum},
            {"kind", file.isContainer ? "container" : "file"},
            {"start", timeJson(file.baseGrid())},
            {"grids", grids}};
}

template <class Numbers>
Json numbersJson(const Numbers& numbers)
{
    Json list = Json::array();
    for (const float number : numbers) list.push_back(jsonNumber(number));
    return list;
}

std::optional<Box> boxOf(const SceneGroup& scene)
{
    std::vector<Box> boxes;
    for (const FileFacts& file : scene.files)
        for (const GridFacts& grid : file.grids)
            if (grid.box) boxes.push_back(*grid.box);
    return around(boxes);
}

Json sceneJson(const SceneGroup& scene, const std::optional<Box>& box,
               const std::vector<float>& missing, const std::vector<Doubt>& doubts)
{
    const GridFacts& first = scene.first();
    const auto date = isoDate(first.year, first.julian);
    Json files = Json::array();
    std::int64_t bytes = 0;
    for (const FileFacts& file : scene.files) {
        files.push_back(fileJson(file));
        bytes += file.bytes;
    }
    Json list = Json::array();
    for (const Doubt& doubt : doubts) list.push_back({{"kind", doubt.kind}, {"text", doubt.text}});
    return {{"id", scene.id},
            {"sensor", sensorName(first.sensor)},
            {"sensor_code", first.sensor},
            {"satellite", first.satellite},
            {"date", date ? Json(*date) : Json(nullptr)},
            {"year", first.year},
            {"day_of_year", first.julian},
            {"start", timeJson(first)},
            {"bytes", bytes},
            {"resolutions_m", numbersJson(resolutionsOf(scene))},
            {"missing_m", numbersJson(missing)},
            {"bbox", boxJson(box)},
            {"files", files},
            {"doubts", list}};
}

std::vector<Doubt> doubtsAt(const std::vector<SceneGroup>& scenes, std::size_t i)
{
    std::vector<Doubt> doubts = doubtsAbout(scenes[i]);
    if (i > 0 && isNear(scenes[i - 1], scenes[i]))
        doubts.push_back({"near", "begins soon after " + scenes[i - 1].id});
    if (i + 1 < scenes.size() && isNear(scenes[i], scenes[i + 1]))
        doubts.push_back({"near", scenes[i + 1].id + " begins soon after"});
    return doubts;
}

std::string line(const Json& json)
{
    return json.dump() + "\n";
}

template <class Take>
void writeManifest(const Archive& archive, const std::vector<SceneGroup>& scenes,
                   const Selection& wanted, Take take)
{
    const Resolutions resolutions(scenes);
    for (std::size_t i = 0; i < scenes.size(); ++i) {
        const std::optional<Box> box = boxOf(scenes[i]);
        if (!wanted.takes(scenes[i], box)) continue;
        take(
            line(sceneJson(scenes[i], box, resolutions.missingIn(scenes[i]), doubtsAt(scenes, i))));
    }
    for (const BadFile& bad : archive.bad)
        take(line({{"file", utf8(bad.path)}, {"error", utf8(bad.error)}}));
}

int run(const Options& o)
{
    const Selection wanted(o.where);
    std::optional<OutputFile> output;
    if (!o.output.empty()) output.emplace(o.output, o.overwrite ? Overwrite::yes : Overwrite::no);
    Archive archive = readArchive(filesNamed(o.files, o.nul ? '\0' : '\n'));
    const std::vector<SceneGroup> scenes = groupScenes(std::move(archive.files));
    writeManifest(archive, scenes, wanted,
                  [&](const std::string& text) { output ? output->write(text) : put(text); });
    if (output) output->commit();
    return archive.bad.empty() ? statusDone : statusProblem;
}

}  // namespace

Command scenesCommand()
{
    auto o = std::make_shared<Options>();
    return {
        "scenes",
        "lists the scenes of an archive",
        {"Groups files into scenes by what their headers say and prints a line of JSON for each "
         "scene: its files with size and checksum, its resolutions, its place, and what is missing "
         "or doubtful. Of each file only the headers and the time and navigation of a few lines "
         "are read.",
         "Files are of one scene when sensor and satellite are equal and their first lines fall "
         "into the same tenth of an hour, or begin at most 36 seconds apart across a limit between "
         "tenths.",
         "Directories are gone through, without names that begin with a dot; what is no ZEL file "
         "is left out there. A damaged file becomes a line with its reason, and the others go on."},
        {{"FILE", "A ZEL file or container, a directory, or - for names on standard input.",
          &o->files}},
        {{"--where", "RULE",
          "List only scenes of this kind: date=DAY or date=DAY..DAY, sensor=NAME, satellite=N, "
          "bbox=WEST,SOUTH,EAST,NORTH. Several rules all have to hold.",
          &o->where},
         {"-0,--null", "", "Names on standard input end with a NUL, not a line end.", &o->nul},
         {"-o,--output", "FILE", "Write the lines to this file.", &o->output, Takes::file},
         {"--overwrite", "", "Replace an existing output.", &o->overwrite}},
        {{"scenes . > scenes.jsonl", "All scenes here and below."},
         {"scenes . --where date=2024-05-01..2024-05-31 -o may.jsonl", "Those of May."},
         {"scenes *.zel --where bbox=170,-20,-170,0 > pacific.jsonl",
          "Those that meet a box across the date line."}},
        "a file could not be read; the manifest says which and why",
        [o] { return run(*o); }};
}

}  // namespace zel_tool
