// Sample files: bytes of a sample, and file objects that clean up after themselves.
#pragma once

#include <cstring>
#include <memory>
#include <vector>

#include "support/feature_bytes.hpp"
#include "support/parameters.hpp"

namespace zel_test {

// A file object, closed and freed at the end, however it was used.
class FeatureFile {
public:
    FeatureFile() { std::memset(file_.get(), 0, sizeof *file_); }
    ~FeatureFile()
    {
        run([this] { ZELFeatureCloseFile(file_.get()); });
        ZELFeatureFreeParameters(&file_->Parameters);
    }
    FeatureFile(const FeatureFile&) = delete;
    FeatureFile& operator=(const FeatureFile&) = delete;

    ZELFeatureFileStruct* operator->() { return file_.get(); }
    ZELFeatureFileStruct* get() { return file_.get(); }

    Outcome open(const std::string& path)
    {
        return runFeature([&] { ZELFeatureOpenFile(path.c_str(), file_.get()); });
    }
    Outcome create(const std::string& parameterFile, const char* output = nullptr)
    {
        return runFeature(
            [&] { ZELFeatureCreateFile(parameterFile.c_str(), file_.get(), output); });
    }

private:
    std::unique_ptr<ZELFeatureFileStruct> file_ = std::make_unique<ZELFeatureFileStruct>();
};

// A sample record whose fields all depend on n.
inline void appendSample(FeatureBytes& b, int n, int features)
{
    const float f = static_cast<float>(n);
    b.number(n).number(n + 100).real(f + 0.25f).real(-f).real(f + 30).real(f + 31).real(f + 32);
    b.number(n + 200).word(0xF0000000u + static_cast<unsigned>(n)).real(f + 120.6f).real(2001.4f);
    for (int i = 0; i < features; ++i) b.real(f * 10 + static_cast<float>(i));
}

// A header with that many features ("Ch1", "Ch2" ...), and samples numbered from 0.
inline Bytes sampleFile(int features, int samples, FeatureHeader header = {})
{
    header.features.clear();
    for (int i = 1; i <= features; ++i)
        header.features.push_back({{}, "Ch" + std::to_string(i), {}});
    header.maxima.assign(static_cast<std::size_t>(features), 0.0f);
    header.minima = header.maxima;
    FeatureBytes b;
    b.bytes = build(header).bytes;
    for (int n = 0; n < samples; ++n) appendSample(b, n, features);
    return b.bytes;
}

}  // namespace zel_test
