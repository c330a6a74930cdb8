#include "combine/extents.hpp"

#include <algorithm>
#include <cmath>

#include "base/failure.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

const Source& sourceOf(const Sources& sources, int part)
{
    return sources.files()[static_cast<std::size_t>(sources.fileOf(part))];
}

// "file.zel", or "file.zel part 2".
std::string nameOf(const Sources& sources, int part)
{
    const Source& source = sourceOf(sources, part);
    const std::string place = source.parts > 1 ? format(" part %d", sources.indexInFile(part)) : "";
    return printable(source.file) + place;
}

long long covered(const ZELType& part, long long own)
{
    if (gridOf(part) == Grid::finer) return own / factorOf(part);
    return own * factorOf(part);
}

// The library cuts the ratio of two resolutions to a whole number.
void compareRatio(Sources& sources, int index, std::vector<Problem>& problems)
{
    constexpr float negligible = 1.0e-5F;  // of the ratio
    ZELType& part = sources.part(index);
    const float own = part.ZELHeader.SpatialResolution;
    const float base = sources.view().ZELHeader.SpatialResolution;
    if (gridOf(part) == Grid::same) return;
    const float ratio = std::max(own, base) / std::min(own, base);
    const auto whole = static_cast<float>(factorOf(part));
    if (ratio - whole <= negligible * whole) return;
    problems.push_back(
        {"ratio",
         nameOf(sources, index) + format(": resolution %g m, that of the base is %g m: the ratio "
                                         "%.4f is taken for %d, and pixels drift apart",
                                         static_cast<double>(own), static_cast<double>(base),
                                         static_cast<double>(ratio), factorOf(part))});
}

// Grids of one scene may differ by a pixel of the base, and a coarser one by one of its own.
long long tolerance(const ZELType& part)
{
    return gridOf(part) == Grid::coarser ? factorOf(part) : 1;
}

void compareWidth(Sources& sources, int index, std::vector<Problem>& problems)
{
    ZELType& part = sources.part(index);
    const long long base = sources.view().ZELHeader.NPixelPerLine;
    const long long own = columnsCovered(part);
    if (own >= base && own - base <= tolerance(part)) return;
    problems.push_back(
        {"extent", nameOf(sources, index) +
                       format(": covers %lld columns of the base, which has %lld", own, base)});
}

void compareLength(Sources& sources, int index, std::vector<Problem>& problems)
{
    const long long base = sources.view().NumLines;
    const long long own = linesCovered(sources.part(index));
    if (own >= base) return;
    problems.push_back(
        {"truncated", nameOf(sources, index) +
                          format(": covers %lld of the %lld lines of the base: ", own, base) +
                          linesText(own, base - 1) + " will be missing"});
}

// A base that is shorter than the others, or has no lines at all.
void compareBase(Sources& sources, std::vector<Problem>& problems)
{
    const long long base = sources.view().NumLines;
    if (base < 1) {
        problems.push_back({"truncated", nameOf(sources, sources.basePart()) + ": has no lines"});
        return;
    }
    for (int i = 0; i < sources.partCount(); ++i) {
        const ZELType& part = sources.part(i);
        const long long excess = linesCovered(part) - base;
        if (excess <= tolerance(part)) continue;
        problems.push_back({"truncated", nameOf(sources, sources.basePart()) +
                                             format(": the base has %lld lines, but ", base) +
                                             nameOf(sources, i) +
                                             format(" covers %lld", base + excess)});
        return;
    }
}

// Of every component that has lines, the base first.
std::vector<SceneKey> keysOf(Sources& sources)
{
    std::vector<SceneKey> keys;
    const auto add = [&](int part) {
        ZELType& record = sources.part(part);
        if (record.NumLines > 0) keys.push_back(keyOf(sourceOf(sources, part).file, record));
    };
    add(sources.basePart());
    for (int i = 0; i < sources.partCount(); ++i)
        if (i != sources.basePart()) add(i);
    return keys;
}

}  // namespace

Grid gridOf(const ZELType& part)
{
    if (part.samplingFlag == ZEL_SAMPLING_AVERAGE) return Grid::finer;
    return part.samplingFlag == ZEL_SAMPLING_REPLICATE ? Grid::coarser : Grid::same;
}

int factorOf(const ZELType& part)
{
    return gridOf(part) == Grid::same ? 1 : part.samplingFactor;
}

long long linesCovered(const ZELType& part)
{
    return covered(part, part.NumLines);
}

long long columnsCovered(const ZELType& part)
{
    return covered(part, part.ZELHeader.NPixelPerLine);
}

std::vector<Problem> cutLine(const std::string& file, const ZELType& record, long long bytes)
{
    const long long whole =
        record.HeaderOffset + static_cast<long long>(record.NumLines) * record.LineOffset;
    if (bytes <= whole) return {};
    return {
        {"truncated", printable(file) + format(": ends inside of line %d: %lld bytes of %d",
                                               record.NumLines, bytes - whole, record.LineOffset)}};
}

std::vector<Problem> otherScenes(const std::vector<SceneKey>& keys)
{
    std::vector<Problem> problems;
    for (const SceneKey& key : keys) {
        const std::vector<std::string> list = differences(keys.front(), key);
        if (list.empty()) continue;
        problems.push_back({"different-scenes", printable(key.file) + ": not the scene of " +
                                                    printable(keys.front().file) + ": " +
                                                    join(list, "; ")});
    }
    return problems;
}

std::vector<Problem> problemsOf(Sources& sources)
{
    std::vector<Problem> problems = otherScenes(keysOf(sources));
    for (int i = 0; i < sources.partCount(); ++i) {
        const Source& source = sourceOf(sources, i);
        if (source.parts == 1)
            for (Problem& cut : cutLine(source.file, sources.part(i), source.bytes))
                problems.push_back(std::move(cut));
        compareRatio(sources, i, problems);
        compareWidth(sources, i, problems);
        compareLength(sources, i, problems);
    }
    compareBase(sources, problems);
    return problems;
}

}  // namespace zel_tool
