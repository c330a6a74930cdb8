#include "formula/sampler.hpp"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "base/failure.hpp"
#include "base/progress.hpp"
#include "base/provenance.hpp"
#include "base/text.hpp"
#include "formula/parameters.hpp"
#include "formula/pixel_rows.hpp"
#include "formula/uses.hpp"
#include "scene/library.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

enum Method { logarithm10 = 1, logarithm = 2, squareRoot = 3 };

Uses usesOf(const ZELParameterStruct& parameters)
{
    Uses uses;
    uses.add(parameters.Features);
    uses.add(parameters.Filters);
    uses.add(parameters.Options);
    if (!parameters.IgnoreRequirementFlag) uses.add(parameters.Requirements);
    return uses;
}

void requireChannels(const ZELType& record, const Uses& uses)
{
    for (const int number : uses.channels)
        if (number < 1 || number > ZEL_MAX_CHANNELS ||
            !record.Channels[number - 1].ChannelPresentFlag)
            findChannel(record, format("Ch%d", number));
}

// A pixel of a line, as samples and expressions have it.
class PixelFiller {
public:
    PixelFiller(Scene& scene, Uses uses)
        : record_(scene.view()),
          rows_(record_, withGeometry(std::move(uses)), slotsOf(record_) + 1, 0)
    {
        channels_.resize(static_cast<std::size_t>(slotsOf(record_)));
    }

    void begin(int line)
    {
        line_ = line;
        rows_.begin();
    }

    void fill(ZELPixelStruct& pixel, int x)
    {
        const ZELLineStruct& line = rows_.line();
        for (std::size_t i = 0; i < channels_.size(); ++i)
            channels_[i] = line.Channels[i] ? line.Channels[i][x] : 0.0F;
        pixel.Channels = channels_.data();
        pixel.numChannels = static_cast<int>(channels_.size());
        const auto set = [x](float& field, const float* row) {
            if (row) field = row[x];
        };
        set(pixel.lat, line.lat);
        set(pixel.lon, line.lon);
        set(pixel.sz, line.sz);
        set(pixel.vz, line.vz);
        set(pixel.az, line.az);
        set(pixel.sg, line.sg);
        set(pixel.olsonEco, line.olsonEco);
        set(pixel.igbpEco, line.igbpEco);
        set(pixel.percentWater, line.percentWater);
        set(pixel.terrain, line.terrain);
        pixel.jday = static_cast<float>(record_.ZELHeader.julian);
        pixel.year = static_cast<float>(record_.ZELHeader.year);
        pixel.BoxIndex = line_ * record_.ZELHeader.NPixelPerLine + x;
        pixel.Class = 0.0F;
        pixel.skipPixelFlag = 0;
    }

private:
    static Uses withGeometry(Uses uses)
    {
        uses.variables.insert({Variable::latitude, Variable::longitude, Variable::solarZenith,
                               Variable::viewZenith, Variable::azimuth});
        return uses;
    }
    static int slotsOf(const ZELType& record)
    {
        const std::vector<int> slots = presentSlots(record);
        return slots.empty() ? 0 : slots.back() + 1;
    }

    ZELType& record_;
    PixelRows rows_;
    std::vector<float> channels_;
    int line_ = 0;
};

// ": " and the reason that the system gave, as the library has reported it; empty without one.
std::string systemReason()
{
    static const std::string before = "system error code:: ";
    std::string reason;
    for (const std::string& text : heard())
        if (const auto at = text.find(before); at != std::string::npos)
            reason = ": " + printable(text.substr(at + before.size()));
    return reason;
}

// While one lives, the header has the texts that are to be written: names that the files have or
// are to have, and in a run no date, so that the same scene gives the same bytes.
class HeaderTexts {
public:
    HeaderTexts(ZELParameterStruct& parameters, const std::string& output)
    {
        put(parameters.IO.outputFilename, recordedName(output));
        for (InputStruct* input = parameters.IO.inputListHead; input; input = input->next)
            put(input->Filename, recordedName(input->Filename));
        if (!provenance().record.empty()) put(parameters.Header.DateTimeString, "");
    }
    ~HeaderTexts()
    {
        for (const Text& text : texts_) *text.place = text.before;
    }
    HeaderTexts(const HeaderTexts&) = delete;
    HeaderTexts& operator=(const HeaderTexts&) = delete;

private:
    struct Text {
        char** place;
        char* before;
        std::unique_ptr<std::string> now;
    };
    void put(char*& place, const std::string& text)
    {
        texts_.push_back({&place, place, std::make_unique<std::string>(text)});
        place = texts_.back().now->data();
    }

    std::vector<Text> texts_;
};

long long wantedOf(int method, long long samples)
{
    const auto n = static_cast<double>(samples);
    const double wanted = method == logarithm10  ? std::log10(n)
                          : method == logarithm  ? std::log(n)
                          : method == squareRoot ? std::sqrt(n)
                                                 : n;
    return std::clamp(static_cast<long long>(std::ceil(wanted)), 1LL, samples);
}

}  // namespace

void Thinning::begin()
{
    for (auto& [number, c] : classes_) c.wanted = wantedOf(method_, c.left);
}

// Each sample of a class has the same chance, and exactly the wanted number is taken: that many of
// those to come, one by one.
bool Thinning::takes(int classNumber)
{
    if (!counts()) return true;
    Class& c = classes_[classNumber];
    const double chance = static_cast<double>(random_()) / 4294967296.0;
    const bool takes = chance * static_cast<double>(c.left) < static_cast<double>(c.wanted);
    --c.left;
    if (takes) --c.wanted;
    return takes;
}

void SampleWriter::Close::operator()(ZELFeatureFileStruct* file) const
{
    const auto close = [](void* data) {
        ZELFeatureCloseFile(static_cast<ZELFeatureFileStruct*>(data));
    };
    const Hush hush;  // what went wrong was reported before
    ZELGuardedCall(close, file, nullptr);
    ZELFeatureFreeParameters(&file->Parameters);
    delete file;
}

SampleWriter::SampleWriter(const std::string& parameterFile, const std::string& output,
                           Overwrite overwrite)
    : parameterFile_(parameterFile), output_(output)
{
    const Parameters parameters = readParameters(parameterFile, output);
    if (output_.empty()) output_ = parameters->IO.outputFilename;
    if (isSameFile(output_, parameterFile))
        throw Failure("the output is the parameter file itself");
    for (const InputStruct* input = parameters->IO.inputListHead; input; input = input->next)
        if (isSameFile(output_, input->Filename))
            throw Failure("the output is its input " + printable(input->Filename));
    target_ = std::make_unique<OutputFile>(output_, overwrite);
    if (target_->isDevice())  // counts go to its beginning at the end
        throw Failure("cannot write " + printable(output_) + ": is not a regular file");
    create();
    const ZELParameterStruct& p = file_->Parameters;
    thinning_ = std::make_unique<Thinning>(p.SubSamplingMethod, p.RandomSeed);
}

void SampleWriter::addProvenance()
{
    if (provenance().record.empty()) return;
    guarded([&] {
        CommandListStruct* comment = allocateNewCommand(&file_->Parameters.Comments);
        comment->Label = strdup(provenanceLine().c_str());
    });
}

// The library writes the name that it creates a file by into the header: it is written again with
// the name that the file is to have.
void SampleWriter::create()
{
    const Hush hush;
    ZELFeatureSetOverwritePromptOff();
    file_.reset(new ZELFeatureFileStruct());
    const std::string& temporary = target_->temporary();
    try {
        guarded(
            [&] { ZELFeatureCreateFile(parameterFile_.c_str(), file_.get(), temporary.c_str()); });
    } catch (const Failure&) {
        const std::string reason = systemReason();
        if (reason.empty()) throw;
        throw Failure("cannot write " + printable(output_) + reason);
    }
    addProvenance();
    bool emptied = false;
    const HeaderTexts texts(file_->Parameters, output_);
    guarded([&] {
        std::rewind(file_->fptr);
        emptied = ftruncate(fileno(file_->fptr), 0) == 0;
        file_->HeaderOffset = ZELFeatureWriteHeader(file_->fptr, &file_->Parameters);
    });
    if (!emptied) throw Failure("cannot write " + printable(output_));
}

bool SampleWriter::isSample(SceneTally& tally)
{
    const ZELParameterStruct* parameters = &file_->Parameters;
    ZELPixelStruct* pixel = &file_->Pixel;
    ++tally.pixels;
    if (!parameters->IgnoreRequirementFlag && !ZELFeatureCheckRequirements(parameters, pixel))
        return false;
    if (!ZELFeatureCheckOptions(parameters, pixel)) return false;
    ++tally.required;
    ZELFeatureApplyFilters(parameters, pixel);
    return pixel->skipPixelFlag == 0;
}

SceneTally SampleWriter::sampleScene(const std::string& name, const Keep& keeps)
{
    Scene scene(name);
    ZELType& record = scene.view();
    const Uses uses = usesOf(file_->Parameters);
    requireChannels(record, uses);
    PixelFiller filler(scene, uses);
    SceneTally tally{name};
    Progress progress(name, record.NumLines);
    const int step = thinning_->step();
    for (int line = 0; line < record.NumLines; line += step) {
        readLine(record, line, Decode::yes);
        filler.begin(line);
        int x = 0;
        try {
            guarded([&] {
                for (; x < record.ZELHeader.NPixelPerLine; x += step) {
                    filler.fill(file_->Pixel, x);
                    if (!isSample(tally)) continue;
                    if (!keeps(ZELFeatureFetchClass(file_.get()))) continue;
                    ZELFeatureCompute(file_.get());
                    ZELFeatureWriteSampleToFile(file_.get());
                    ++tally.samples;
                }
            });
        } catch (const Failure& failure) {
            throw Failure(format("line %d, pixel %d: ", line, x) + failure.what());
        }
        progress.update(line + 1);
    }
    return tally;
}

// Registers keep their values from pixel to pixel, from input to input too; each time they begin
// with 0.
std::vector<SceneTally> SampleWriter::sampleAll(const Keep& keeps)
{
    ZELPixelStruct& pixel = file_->Pixel;
    pixel = ZELPixelStruct();
    ZELBindPixel(&pixel);
    std::vector<SceneTally> tallies;
    for (const InputStruct* input = file_->Parameters.IO.inputListHead; input;
         input = input->next) {
        try {
            tallies.push_back(sampleScene(input->Filename, keeps));
        } catch (const Failure& failure) {
            requireWritten();
            throw Failure(printable(input->Filename) + ": " + failure.what());
        }
    }
    return tallies;
}

// Throws Failure when samples could not be written.
void SampleWriter::requireWritten() const
{
    if (!file_->fptr || std::ferror(file_->fptr) == 0) return;
    throw Failure("cannot write " + printable(output_) + systemReason());
}

std::vector<SceneTally> SampleWriter::run()
{
    Thinning& thinning = *thinning_;
    if (thinning.counts()) {
        sampleAll([&](int number) {
            thinning.count(number);
            return false;
        });
        thinning.begin();
    }
    return sampleAll([&](int number) { return thinning.takes(number); });
}

void SampleWriter::commit()
{
    try {
        guarded([&] { ZELFeatureCloseFile(file_.get()); });
    } catch (const Failure& failure) {
        throw Failure("cannot write " + printable(output_) + ": " + failure.what());
    }
    target_->commit();
}

}  // namespace zel_tool
