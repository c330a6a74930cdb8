// Samples the scenes that a feature parameter file names into a feature file, reads that back, and
// prints what it holds: the number of samples of each class, the range of each feature, and its
// mean in each class.
//
//   sample_scene_features PARAMETER_FILE [OUTPUT_FILE]
//
// gulf.par is such a parameter file.
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <zel/zel.h>
#include <zel/zel_features/zel_features.h>

namespace {

// Drops the library's reports for the length of a scope; errors pass.
class Quiet {
public:
    Quiet()
    {
        ZELSetMessageSink(
            [](void*, FILE* stream, const char* text) {
                if (stream == stderr) std::fputs(text, stderr);
            },
            nullptr);
    }
    ~Quiet() { ZELSetMessageSink(nullptr, nullptr); }
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;
};

struct Tally {
    int seen = 0, required = 0, written = 0;
};

// A scene open for reading, and the values of one of its pixels.
class Scene {
public:
    explicit Scene(const char* filename)
    {
        const Quiet quiet;  // these features do not use the ancillary grids
        isOpen_ = ZELOpenReadOnlyFile(scene_.get(), filename) == 0;
        if (!isOpen_) return;
        for (int slot = 0; slot < ZELFetchNumberOfChannels(scene_.get()); ++slot)
            if (ZELIsChannelPresent(scene_.get(), slot))
                channels_.resize(static_cast<std::size_t>(slot) + 1);
    }
    ~Scene()
    {
        if (isOpen_) ZELFinishReadingFile(scene_.get());
    }
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    bool isOpen() const { return isOpen_; }
    int lines() const { return ZELFetchNumberOfLines(scene_.get()); }
    int pixels() const { return ZELFetchNumberOfPixels(scene_.get()); }

    bool readLine(int line)
    {
        line_ = line;
        ZELSetCurrentLine(scene_.get(), line);
        if (!ZELReadLine(scene_.get())) return false;
        ZELFetchNavigation(scene_.get(), &lat_, &lon_);
        ZELFetchSolar(scene_.get(), &sz_, &vz_, &az_);
        return true;
    }

    // Ch1 is the channel of slot 0; one that the scene does not have is 0.
    void fill(ZELPixelStruct& pixel, int x)
    {
        for (std::size_t i = 0; i < channels_.size(); ++i) {
            const int slot = static_cast<int>(i);
            channels_[i] = ZELIsChannelPresent(scene_.get(), slot)
                               ? ZELFetchChannel(scene_.get(), slot)[x]
                               : 0.0F;
        }
        pixel.Channels = channels_.data();
        pixel.numChannels = static_cast<int>(channels_.size());
        pixel.lat = lat_[x];
        pixel.lon = lon_[x];
        pixel.sz = sz_[x];
        pixel.vz = vz_[x];
        pixel.az = az_[x];
        pixel.sg = ComputeSunglint(sz_[x], vz_[x], az_[x]);
        pixel.jday = static_cast<float>(scene_->ZELHeader.julian);
        pixel.year = static_cast<float>(scene_->ZELHeader.year);
        pixel.BoxIndex = line_ * pixels() + x;
        pixel.Class = 0.0F;
    }

private:
    std::unique_ptr<ZELType> scene_ = std::make_unique<ZELType>();
    bool isOpen_ = false;
    std::vector<float> channels_;
    int line_ = 0;
    float *lat_ = nullptr, *lon_ = nullptr, *sz_ = nullptr, *vz_ = nullptr, *az_ = nullptr;
};

void samplePixel(ZELFeatureFileStruct* file, Tally& tally)
{
    const ZELParameterStruct* parameters = &file->Parameters;
    ZELPixelStruct* pixel = ZELFeatureFetchPixel(file);
    ++tally.seen;
    if (!parameters->IgnoreRequirementFlag && !ZELFeatureCheckRequirements(parameters, pixel))
        return;
    ++tally.required;
    ZELFeatureApplyFilters(parameters, pixel);
    if (pixel->skipPixelFlag) return;
    ZELFeatureCompute(file);
    ZELFeatureWriteSampleToFile(file);
    ++tally.written;
}

// False when the scene does not open.
bool sampleScene(ZELFeatureFileStruct* file, const char* filename, Tally& tally)
{
    Scene scene(filename);
    if (!scene.isOpen()) return false;
    const int method = ZELFeatureFetchSubsamplingMethod(file);
    const int step = method < 0 ? -method : 1;
    for (int line = 0; line < scene.lines() && scene.readLine(line); line += step)
        for (int x = 0; x < scene.pixels(); x += step) {
            scene.fill(*ZELFeatureFetchPixel(file), x);
            samplePixel(file, tally);
        }
    return true;
}

// Of each class, the sum of every feature.
using Sums = std::map<int, std::vector<double>>;

Sums addUp(ZELFeatureFileStruct* file)
{
    Sums sums;
    const auto features = static_cast<std::size_t>(ZELFeatureFetchNumberOfFeatures(file));
    while (ZELFeatureReadSampleFromFile(file)) {
        std::vector<double>& sum = sums[ZELFeatureFetchClass(file)];
        sum.resize(features);
        for (std::size_t i = 0; i < features; ++i) sum[i] += ZELFeatureFetchFeatures(file)[i];
    }
    return sums;
}

void printMeans(ZELFeatureFileStruct* file)
{
    for (const auto& [number, sum] : addUp(file)) {
        if (number < 0 || number >= ZEL_FEATURE_NUM_CLASSES) continue;
        std::printf("mean of class %d:", number);
        for (const double s : sum) std::printf(" %f", s / ZELFeatureFetchClassCount(file)[number]);
        std::printf("\n");
    }
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: %s PARAMETER_FILE [OUTPUT_FILE]\n", argv[0]);
        return 2;
    }
    const auto file = std::make_unique<ZELFeatureFileStruct>();
    ZELFeatureCreateFile(argv[1], file.get(), argc == 3 ? argv[2] : nullptr);
    const std::string output = ZELFeatureFetchOutputFilename(file.get());
    Tally tally;
    for (const InputStruct* input = file->Parameters.IO.inputListHead; input; input = input->next)
        if (!sampleScene(file.get(), input->Filename, tally)) {
            std::fprintf(stderr, "%s: cannot open %s\n", argv[0], input->Filename);
            return 1;
        }
    ZELFeatureCloseFile(file.get());
    ZELFeatureFreeParameters(&file->Parameters);
    std::printf("%d pixels looked at, %d meet the requirements, %d samples in %s\n", tally.seen,
                tally.required, tally.written, output.c_str());

    ZELFeatureOpenFile(output.c_str(), file.get());
    ZELFeaturePrintTitle(&file->Parameters);
    ZELFeaturePrintClassInfo(file.get());
    ZELFeaturePrintFeatureInfo(file.get());
    printMeans(file.get());
    ZELFeatureCloseFile(file.get());
    ZELFeatureFreeParameters(&file->Parameters);
    return 0;
}
