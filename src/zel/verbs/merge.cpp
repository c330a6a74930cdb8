// zel merge: what the shards of a run have made, as one.
#include <algorithm>
#include <memory>

#include "archive/merge/merge_input.hpp"
#include "archive/merge/merged_histograms.hpp"
#include "archive/merge/merged_log.hpp"
#include "archive/merge/merged_samples.hpp"
#include "archive/merge/merged_statistics.hpp"
#include "base/failure.hpp"
#include "base/output_file.hpp"
#include "base/progress.hpp"
#include "base/report.hpp"
#include "base/text.hpp"
#include "command/verbs.hpp"

namespace zel_tool {
namespace {

struct Options {
    std::vector<std::string> files;
    std::string output;
    int memory = 256;
    bool overwrite = false;
};

std::string countText(long long count, const char* noun)
{
    return format("%lld %s%s", count, noun, count == 1 ? "" : "s");
}

std::string countText(std::size_t count, const char* noun)
{
    return countText(static_cast<long long>(count), noun);
}

// The kind of all files.
MergeKind kindOfAll(const std::vector<std::string>& files)
{
    const MergeKind first = kindOf(files[0]);
    for (const std::string& file : files) {
        const MergeKind kind = kindOf(file);
        if (kind == first) continue;
        throw Misuse(printable(files[0]) + " is " + kindName(first) + ", " + printable(file) +
                     " is " + kindName(kind) + ": only files of one kind can be merged");
    }
    return first;
}

template <class Merged>
void addAll(Merged& merged, const std::vector<std::string>& files)
{
    Progress progress("", static_cast<long long>(files.size()));
    long long done = 0;
    for (const std::string& file : files) {
        MergeInput input(file);
        merged.add(input);
        progress.update(++done);
    }
}

// Lines of text are gathered: a file has some hundred thousand of them.
template <class Merged>
void writeLines(const Merged& merged, OutputFile& output)
{
    std::string lines;
    merged.write([&](const std::string& line) {
        lines += line;
        if (lines.size() < (std::size_t{1} << 20)) return;
        output.write(lines);
        lines.clear();
    });
    output.write(lines);
}

std::string mergeLogs(const Options& o, OutputFile& output)
{
    MergedLog log;
    addAll(log, o.files);
    writeLines(log, output);
    std::string text = countText(log.scenes(), "scene");
    for (const char* status : {"done", "skipped", "failed"})
        text += format(", %zu %s", log.withStatus(status), status);
    if (log.unread() > 0) text += ", " + countText(log.unread(), "unreadable file");
    return text;
}

std::string mergeStatistics(const Options& o, OutputFile& output)
{
    MergedStatistics statistics;
    addAll(statistics, o.files);
    writeLines(statistics, output);
    return "statistics of " + countText(statistics.scenes(), "scene");
}

std::string mergeHistograms(const Options& o, OutputFile& output)
{
    MergedHistograms histograms;
    addAll(histograms, o.files);
    if (histograms.scenesWithout() > 0)
        warn("", countText(histograms.scenesWithout(), "scene") + " without a histogram");
    writeLines(histograms, output);
    return countText(histograms.histograms(), "histogram") + " of " +
           countText(histograms.scenes(), "scene");
}

// Two names of one file would count its samples twice.
void requireDifferent(const std::vector<std::string>& files)
{
    std::vector<std::string> sorted = files;
    std::sort(sorted.begin(), sorted.end());
    const auto twice = std::adjacent_find(sorted.begin(), sorted.end());
    if (twice != sorted.end()) throw Misuse(printable(*twice) + " is given twice");
}

std::string mergeSamples(const Options& o, OutputFile& output)
{
    requireDifferent(o.files);
    MergedSamples samples(output, o.output, static_cast<std::size_t>(o.memory) << 20U);
    for (const std::string& file : o.files) samples.add(file);
    samples.write();
    return countText(samples.samples(), "sample");
}

std::string merge(const Options& o, MergeKind kind, OutputFile& output)
{
    switch (kind) {
    case MergeKind::runLog:
        return mergeLogs(o, output);
    case MergeKind::statistics:
        return mergeStatistics(o, output);
    case MergeKind::histograms:
        return mergeHistograms(o, output);
    case MergeKind::samples:
        return mergeSamples(o, output);
    }
    return {};
}

int run(const Options& o)
{
    if (o.output.empty()) throw Misuse("-o FILE is needed");
    if (o.memory < 1 || o.memory > (1 << 20)) throw Misuse("--memory takes 1 to 1048576 MB");
    const MergeKind kind = kindOfAll(o.files);
    for (const std::string& file : o.files) requireOther(file, o.output);
    OutputFile output(o.output, o.overwrite ? Overwrite::yes : Overwrite::no);
    if (output.isDevice() && kind == MergeKind::samples)  // counts go to its beginning at the end
        throw Failure("cannot write " + printable(o.output) + ": is not a regular file");
    const std::string text = merge(o, kind, output);
    output.commit();
    remark(printable(o.output) + ": " + text);
    return statusDone;
}

}  // namespace

Command mergeCommand()
{
    auto o = std::make_shared<Options>();
    return {
        "merge",
        "merges run logs, statistics, histograms or samples",
        {"Turns what the shards of a run have made into one file: run logs, statistics as zel info "
         "--json --stats prints them, the histograms of scenes, or sample files. All files have to "
         "be of one kind, which is found out by what is in them.",
         "However the files are split and in whatever order they come, also by way of files that "
         "were merged before: the output has the same bytes."},
        {{"FILE", "A file to merge; one that zel merge has made too.", &o->files}},
        {{"-o,--output", "FILE", "Write this file.", &o->output, Takes::file},
         {"--memory", "MB",
          "Sort samples in this much memory, 256 MB unless it is given; the rest goes through "
          "files without a name beside the output.",
          &o->memory},
         {"--overwrite", "", "Replace an existing output.", &o->overwrite}},
        {{"merge shard_*.jsonl -o run.jsonl", "The run logs of all shards as one."},
         {"merge stats/*.json -o stats.jsonl", "Totals of each channel over all scenes."},
         {"merge samples/*.feat -o all.feat", "All samples in one file."}},
        "a file could not be read, or the files do not fit together",
        [o] { return run(*o); }};
}

}  // namespace zel_tool
