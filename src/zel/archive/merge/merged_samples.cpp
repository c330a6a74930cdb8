#include "archive/merge/merged_samples.hpp"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

#include "archive/merge/sample_facts.hpp"
#include "archive/merge/sample_summary.hpp"
#include "base/failure.hpp"
#include "base/progress.hpp"
#include "base/report.hpp"
#include "base/text.hpp"
#include "scene/library.hpp"

namespace zel_tool {
namespace {

struct Close {
    void operator()(FILE* file) const { std::fclose(file); }
};

std::string quoted(const std::optional<std::string>& text)
{
    return text ? "'" + printable(*text) + "'" : "nothing";
}

std::string textOf(const char* text)
{
    return text ? text : "";
}

bool isLater(const std::string& a, const std::string& b)
{
    const long long rankA = dateRank(a);
    const long long rankB = dateRank(b);
    return rankA != rankB ? rankA > rankB : a > b;
}

// Names of inputs as the library links them.
class InputList {
public:
    explicit InputList(const std::map<std::string, std::string>& names)
    {
        for (const auto& [name, file] : names) texts_.push_back(name);
        nodes_.resize(texts_.size());
        for (std::size_t i = 0; i < nodes_.size(); ++i)
            nodes_[i] = {texts_[i].data(), i + 1 < nodes_.size() ? &nodes_[i + 1] : nullptr};
    }
    IOStruct io()
    {
        const bool any = !nodes_.empty();
        return {any ? &nodes_.back() : nullptr, any ? &nodes_.front() : nullptr,
                static_cast<int>(nodes_.size()), noName_};
    }

private:
    std::vector<std::string> texts_;
    std::vector<InputStruct> nodes_;
    char noName_[1] = "";
};

// Comments but for the records of runs, each of one scene. The texts stay the other list's.
class CommentList {
public:
    explicit CommentList(const CommandStruct& list)
    {
        for (const CommandListStruct* e = list.ListHead; e; e = e->next)
            if (!isRunRecord(*e)) nodes_.push_back(*e);
        for (std::size_t i = 0; i < nodes_.size(); ++i)
            nodes_[i].next = i + 1 < nodes_.size() ? &nodes_[i + 1] : nullptr;
    }
    CommandStruct list()
    {
        if (nodes_.empty()) return {};
        return {&nodes_.back(), &nodes_.front(), static_cast<int>(nodes_.size())};
    }

private:
    std::vector<CommandListStruct> nodes_;
};

}  // namespace

void MergedSamples::requireAlike(SampleFile& other, const std::string& file) const
{
    const std::vector<SampleFact> a = factsOf(first_->parameters());
    const std::vector<SampleFact> b = factsOf(other.parameters());
    const auto [x, y] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    if (x == a.end() && y == b.end()) return;
    throw Failure(printable(firstName_) + " and " + printable(file) +
                  " were sampled differently: " + x->name + " is " + quoted(x->text) + " and " +
                  quoted(y->text));
}

void MergedSamples::takeHeader(SampleFile& other, const std::string& file)
{
    for (const InputStruct* in = other.parameters().IO.inputListHead; in; in = in->next) {
        const std::string name = textOf(in->Filename);
        const auto [place, isNew] = inputs_.try_emplace(name, file);
        if (!isNew && place->second != file)
            warn(file, "samples of " + printable(name) + " are in " + printable(place->second) +
                           " too: they all count");
    }
    const std::string date = textOf(other.parameters().Header.DateTimeString);
    if (date_.empty() || isLater(date, date_)) date_ = date;
}

void MergedSamples::takeSamples(SampleFile& other)
{
    ZELFeatureFileStruct& f = *other.get();
    std::string record(static_cast<std::size_t>(f.SampleLength), '\0');
    SampleSummary summary(other.features());
    Progress progress(lastName_, other.samples());
    if (fseeko(f.fptr, f.HeaderOffset, SEEK_SET) != 0) failReading(std::strerror(errno));
    std::size_t got = 0;
    long long done = 0;
    while ((got = std::fread(record.data(), 1, record.size(), f.fptr)) == record.size()) {
        if (samples_ == INT_MAX) failReading("more samples than a file can count");
        summary.add(record);
        sorter_->add(record);
        ++samples_;
        if (++done % 4096 == 0) progress.update(done);
    }
    if (std::ferror(f.fptr)) failReading(std::strerror(errno));
    requireCounted(other, summary, got);
}

// What the header counts is what the file holds.
void MergedSamples::requireCounted(SampleFile& other, const SampleSummary& found,
                                   std::size_t bytesLeft) const
{
    try {
        requireWhole(other);
    } catch (const Failure& failure) {
        failReading(failure.what());
    }
    if (bytesLeft != 0)
        failReading(format("cut short: %zu bytes after the last sample", bytesLeft));
    for (int i = 0; i < ZEL_FEATURE_NUM_CLASSES; ++i)
        if (const int counted = other.parameters().ClassInfo.Count[i]; found.count(i) != counted)
            failReading(format("damaged: %d samples of class %d, where the header counts %d",
                               found.count(i), i, counted));
}

void MergedSamples::add(const std::string& file)
{
    lastName_ = file;
    std::unique_ptr<SampleFile> other;
    try {
        other = std::make_unique<SampleFile>(file);
    } catch (const Failure& failure) {
        failReading(failure.what());
    }
    if (other->features() < 1) failReading("has no features");  // the library does not write such
    if (first_) requireAlike(*other, file);
    if (!sorter_)
        sorter_ = std::make_unique<RecordSorter>(
            static_cast<std::size_t>(other->get()->SampleLength), memory_, output_.temporary());
    takeHeader(*other, file);
    try {
        takeSamples(*other);
    } catch (const SortFailure& failure) {
        failWriting(failure.error);
    }
    if (first_) return;
    first_ = std::move(other);
    firstName_ = file;
}

void MergedSamples::failReading(const std::string& message) const
{
    throw Failure(printable(lastName_) + ": " + message);
}

void MergedSamples::failWriting(int error) const
{
    throw Failure("cannot write " + printable(name_) + ": " + std::strerror(error));
}

void MergedSamples::write()
{
    const std::unique_ptr<FILE, Close> stream(std::fopen(output_.temporary().c_str(), "r+b"));
    if (!stream) failWriting(errno);
    InputList inputs(inputs_);
    CommentList comments(first_->parameters().Comments);
    ZELParameterStruct p = first_->parameters();  // a face of it: it owns nothing
    p.IO = inputs.io();
    p.Comments = comments.list();
    p.Header.DateTimeString = date_.data();
    guarded([&] { ZELFeatureWriteHeader(stream.get(), &p); });
    SampleSummary summary = writeSamples(stream.get());
    if (std::fflush(stream.get()) != 0) failWriting(errno);
    summary.putInto(p);
    guarded([&] { ZELFeatureUpdateHeaderInfo(stream.get(), &p); });
    if (std::fflush(stream.get()) != 0) failWriting(errno);
}

SampleSummary MergedSamples::writeSamples(FILE* stream)
{
    SampleSummary summary(first_->features());
    try {
        sorter_->forEach([&](std::string_view record) {
            summary.add(record);
            if (std::fwrite(record.data(), record.size(), 1, stream) != 1) failWriting(errno);
        });
    } catch (const SortFailure& failure) {
        failWriting(failure.error);
    }
    return summary;
}

}  // namespace zel_tool
