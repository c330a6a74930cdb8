// zel check: whether files keep the promises of the format, and which belong together.
#include <algorithm>
#include <memory>

#include "base/failure.hpp"
#include "base/report.hpp"
#include "base/text.hpp"
#include "command/verbs.hpp"
#include "scene/findings.hpp"
#include "scene/names.hpp"
#include "scene/scene_key.hpp"

namespace zel_tool {
namespace {

struct Options {
    std::vector<std::string> files;
    bool scene = false;
    bool json = false;
};

// The directory of a container against the parts themselves.
void checkDirectory(Scene& scene, const Places& places, Findings& findings)
{
    int base = 0;
    int count = 0;
    int offsets[ZEL_MAX_COMPONENTS];
    int sizes[ZEL_MAX_COMPONENTS];
    float resolutions[ZEL_MAX_COMPONENTS];
    guarded([&] {
        ZELReadCompositeInfo(scene.file().c_str(), &base, &count, offsets, resolutions, sizes);
    });
    long long end = 0;
    for (int i = 0; i < scene.componentCount(); ++i) {
        const float own = scene.component(i).ZELHeader.SpatialResolution;
        if (resolutions[i] != own)
            findings.problem(places.of(0, "prefix", "component resolutions"), i, "prefix",
                             format("the resolution is %g, that of the part %g",
                                    static_cast<double>(resolutions[i]), static_cast<double>(own)));
        end = std::max(end, static_cast<long long>(offsets[i]) + sizes[i]);
    }
    if (end < scene.bytes())
        findings.problem(end, 0, "file",
                         format("%lld bytes after the last part", scene.bytes() - end));
}

std::string counted(int count, const char* what)
{
    return format("%d %s%s", count, what, count == 1 ? "" : "s");
}

struct Checked {
    Findings findings;
    std::string summary;
    bool container = false;
};

Checked checkFile(const std::string& file)
{
    Checked checked;
    Findings& findings = checked.findings;
    requireFile(file);
    Places places;
    if (!places.read(file, findings)) return checked;
    try {
        Scene scene(file);
        checked.container = scene.isContainer();
        if (checked.container) checkDirectory(scene, places, findings);
        for (int i = 0; i < scene.componentCount(); ++i) {
            checkHeader(scene.component(i), i, places, findings);
            checkLines(scene.component(i), i, places, findings, file);
        }
        checked.summary = counted(scene.view().NumLines, "line") + ", " +
                          counted(scene.view().NumTotalChans, "channel");
        if (checked.container)
            checked.summary = format("%d parts, ", scene.componentCount()) + checked.summary;
    } catch (const Failure& failure) {
        findings.problem(-1, 0, "", failure.what());
    }
    return checked;
}

void putFindings(const std::string& file, const Checked& checked)
{
    for (const Finding& finding : checked.findings.list())
        put(printable(file) + ": " + findingText(finding, checked.container) + "\n");
    if (!checked.findings.hasProblems()) put(printable(file) + ": ok, " + checked.summary + "\n");
}

Json documentOf(const std::string& file, const Checked& checked)
{
    Json problems = Json::array();
    Json notes = Json::array();
    for (const Finding& finding : checked.findings.list())
        (finding.isNote ? notes : problems).push_back(findingJson(finding));
    return {{"file", utf8(file)},
            {"ok", !checked.findings.hasProblems()},
            {"problems", problems},
            {"notes", notes}};
}

// Each file joins the first scene that it agrees with.
using Group = std::vector<SceneKey>;

std::vector<Group> groupsOf(const std::vector<SceneKey>& keys)
{
    std::vector<Group> groups;
    for (const SceneKey& key : keys) {
        const auto home = std::find_if(groups.begin(), groups.end(), [&](const Group& group) {
            return differences(group.front(), key).empty();
        });
        if (home == groups.end())
            groups.push_back({key});
        else
            home->push_back(key);
    }
    return groups;
}

Json groupsJson(const std::vector<Group>& groups)
{
    Json list = Json::array();
    for (const Group& group : groups) {
        Json files = Json::array();
        for (const SceneKey& key : group) files.push_back(utf8(key.file));
        Json why = Json::array();
        for (const std::string& text : differences(groups.front().front(), group.front()))
            why.push_back(text);
        list.push_back({{"files", files}, {"differs", why}});
    }
    return {{"one_scene", groups.size() == 1}, {"scenes", list}};
}

std::string groupsText(const std::vector<Group>& groups)
{
    std::string out;
    for (std::size_t i = 0; i < groups.size(); ++i) {
        out += format("scene %zu", i + 1);
        if (i > 0)
            out += ", unlike scene 1: " + join(differences(groups[0][0], groups[i][0]), "; ");
        out += "\n";
        for (const SceneKey& key : groups[i]) out += "  " + printable(key.file) + "\n";
    }
    return out;
}

int compareScenes(const Options& o)
{
    std::vector<SceneKey> keys;
    const int status = forEachFile(o.files, [&](const std::string& file) {
        Scene scene(file);
        keys.push_back(keyOf(file, scene.view()));
        return statusDone;
    });
    const std::vector<Group> groups = groupsOf(keys);
    put(o.json ? jsonText(groupsJson(groups)) : groupsText(groups));
    return groups.size() > 1 ? statusProblem : status;
}

int run(const Options& o)
{
    if (o.scene) return compareScenes(o);
    Json documents = Json::array();
    const int status = forEachFile(o.files, [&](const std::string& file) {
        const Checked checked = checkFile(file);
        if (o.json)
            documents.push_back(documentOf(file, checked));
        else
            putFindings(file, checked);
        return checked.findings.hasProblems() ? statusProblem : statusDone;
    });
    if (o.json) put(jsonText(documents));
    return status;
}

}  // namespace

Command checkCommand()
{
    auto o = std::make_shared<Options>();
    return {
        "check",
        "finds what is wrong with files",
        {"Reads everything and holds it against the format: counts, lengths and offsets of every "
         "record; dates, scales, codes and positions; histograms against the pixels; the directory "
         "of "
         "a container against its parts; bytes that belong to nothing. Each problem comes with its "
         "offset in the file. What is odd without breaking a promise is a note.",
         "A file that lost whole lines at its end reads as a shorter one: the number of lines is "
         "not "
         "stored.",
         "With --scene it shows which of the files describe the same scene, as a container needs "
         "it: "
         "sensor, year, day, satellite, and the scan time of the first line to a tenth of an "
         "hour."},
        {{"FILE", "A ZEL file or container.", &o->files}},
        {{"--scene", "", "Show which files belong together instead.", &o->scene},
         {"--json", "", "Print JSON.", &o->json}},
        {{"check *.zel", "Are these files whole?"},
         {"check --scene *.zel", "Which of them can be combined?"}},
        "a file has a problem, or the files are not of one scene",
        [o] { return run(*o); }};
}

}  // namespace zel_tool
