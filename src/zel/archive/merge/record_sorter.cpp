#include "archive/merge/record_sorter.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <queue>
#include <utility>

namespace zel_tool {
namespace {

[[noreturn]] void fail()
{
    throw SortFailure{errno};
}

// Where the file system has no files without names, one whose name is removed at once.
int openNameless(const std::string& beside)
{
    const auto slash = beside.rfind('/');
    const std::string directory = slash == std::string::npos ? "./" : beside.substr(0, slash + 1);
    const int file = open(directory.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (file >= 0) return file;
    std::string name = directory + ".zel-sort-XXXXXX";
    const int named = mkstemp(name.data());
    if (named >= 0) unlink(name.c_str());
    return named;
}

}  // namespace

RecordSorter::RecordSorter(std::size_t length, std::size_t memory, const std::string& beside)
    : length_(length), most_(std::max<std::size_t>(1, memory / length) * length), beside_(beside)
{
}

void RecordSorter::add(std::string_view record)
{
    if (held_.size() + length_ > most_) spill();
    if (held_.size() + length_ > held_.capacity())
        held_.reserve(std::min(most_, std::max(2 * held_.capacity(), 64 * length_)));
    held_.insert(held_.end(), record.begin(), record.end());
}

std::vector<const char*> RecordSorter::sorted() const
{
    std::vector<const char*> places;
    places.reserve(held_.size() / length_);
    for (std::size_t at = 0; at < held_.size(); at += length_) places.push_back(held_.data() + at);
    std::sort(places.begin(), places.end(),
              [this](const char* a, const char* b) { return std::memcmp(a, b, length_) < 0; });
    return places;
}

// What is held becomes a sorted file.
void RecordSorter::spill()
{
    const int file = openNameless(beside_);
    if (file < 0) fail();
    Stream run(fdopen(file, "w+b"));
    if (!run) fail();
    for (const char* record : sorted())
        if (std::fwrite(record, length_, 1, run.get()) != 1) fail();
    if (std::fflush(run.get()) != 0) fail();
    std::rewind(run.get());
    runs_.push_back(std::move(run));
    held_.clear();
}

bool RecordSorter::next(FILE* run, std::string& record) const
{
    record.resize(length_);
    if (std::fread(record.data(), length_, 1, run) == 1) return true;
    if (std::ferror(run)) fail();
    return false;
}

void RecordSorter::forEach(const std::function<void(std::string_view)>& take)
{
    if (runs_.empty()) {
        for (const char* record : sorted()) take({record, length_});
        return;
    }
    spill();
    using Head = std::pair<std::string, std::size_t>;  // the next record of a run
    std::priority_queue<Head, std::vector<Head>, std::greater<>> heads;
    std::string record;
    for (std::size_t i = 0; i < runs_.size(); ++i)
        if (next(runs_[i].get(), record)) heads.emplace(record, i);
    while (!heads.empty()) {
        const auto [least, run] = heads.top();
        heads.pop();
        take(least);
        if (next(runs_[run].get(), record)) heads.emplace(record, run);
    }
}

}  // namespace zel_tool
