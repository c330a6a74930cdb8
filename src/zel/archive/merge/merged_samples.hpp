// Sample files of shards as one.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "archive/merge/record_sorter.hpp"
#include "archive/merge/sample_summary.hpp"
#include "base/output_file.hpp"
#include "formula/sample_file.hpp"

namespace zel_tool {

// Samples are sorted by their bytes, which begin with the class. Counts and ranges are computed
// again, the inputs are those of all files, the date is the latest, and the header names no output
// file, since that would differ from merge to merge.
class MergedSamples {
public:
    // The output and its name. Sorts in so many bytes of memory, and through files without a name
    // beside the output.
    MergedSamples(OutputFile& output, const std::string& name, std::size_t memory)
        : output_(output), name_(name), memory_(memory)
    {
    }

    // Throws Failure with the first difference when the file was sampled in another way than those
    // before it, or is damaged.
    void add(const std::string& file);

    long long samples() const { return samples_; }

    // Throws Failure.
    void write();

private:
    void requireAlike(SampleFile& other, const std::string& file) const;
    void requireCounted(SampleFile& other, const SampleSummary& found, std::size_t bytesLeft) const;
    void takeHeader(SampleFile& other, const std::string& file);
    void takeSamples(SampleFile& other);
    SampleSummary writeSamples(FILE* stream);
    [[noreturn]] void failReading(const std::string& message) const;
    [[noreturn]] void failWriting(int error) const;

    OutputFile& output_;
    std::string name_;  // of the output
    std::size_t memory_;
    std::string firstName_, lastName_;
    std::unique_ptr<SampleFile> first_;
    std::unique_ptr<RecordSorter> sorter_;
    std::map<std::string, std::string> inputs_;  // and the file that has each
    std::string date_;
    long long samples_ = 0;
};

}  // namespace zel_tool
