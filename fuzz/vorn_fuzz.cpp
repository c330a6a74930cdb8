// Appending the channels of a Vorn raster to a small scene, with the files that describe them; the
// output is read again. The input: which of them are used, the sizes of the first three, and their
// bytes.
#include <bit>
#include <cstring>
#include <memory>
#include <vector>

#include <zel_combine/combine.hpp>

#include <zel/blocks/zel_lut.hpp>

#include "feature_support.hpp"
#include "tool_support.hpp"

namespace {

constexpr int pixels = 4;
constexpr int lines = 3;
constexpr int channels = 2;  // of the scene; the raster's come after them

enum Use {
    useHeader = 1,
    useLUT = 2,
    useCube = 4,
    useFeatures = 8,
    useLabel = 16,
    usePrepend = 32
};

struct Input {
    int uses = 0;
    std::string raster, header, lut, features;
};

Input split(const std::uint8_t* data, std::size_t size)
{
    Input input;
    constexpr std::size_t headSize = 7;
    if (size < headSize) return input;
    std::uint16_t sizes[3];
    std::memcpy(sizes, data + 1, sizeof sizes);
    input.uses = data[0];
    const std::string rest(reinterpret_cast<const char*>(data) + headSize, size - headSize);
    std::size_t at = 0;
    std::string* parts[] = {&input.raster, &input.header, &input.lut};
    for (int i = 0; i < 3; ++i) {
        *parts[i] = rest.substr(std::min(at, rest.size()), sizes[i]);
        at += sizes[i];
    }
    const std::string end = rest.substr(std::min(at, rest.size()));
    input.features =
        zel_fuzz::withClassTables(reinterpret_cast<const std::uint8_t*>(end.data()), end.size());
    return input;
}

std::uint32_t wordAt(const std::string& raster, std::size_t at)
{
    std::uint32_t word = 0;
    if (at + sizeof word <= raster.size()) std::memcpy(&word, raster.data() + at, sizeof word);
    return word;
}

// The header follows its byte-order word. The values do not: they are in the order of the outputs.
int channelsIn(const std::string& raster)
{
    const std::uint32_t word = wordAt(raster, 12);
    return static_cast<int>(wordAt(raster, 0) == 0xABCD ? word : __builtin_bswap32(word));
}

// A LUT for each of many channels is a large output; and a table of classes for more than one may
// set up channels until no LUT can be added, which takes minutes.
bool takesLong(const Input& input)
{
    const int appended = channelsIn(input.raster);
    const int most = input.uses & useFeatures ? 1 : input.uses & (useLUT | useCube) ? 4 : 40;
    return appended > most && appended < ZEL_MAX_CHANNELS;
}

zel_fuzz::File file(const char* name, const std::string& bytes)
{
    return zel_fuzz::File(name, reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

const char* scene()
{
    static const zel_fuzz::File theFile("scene");
    static const bool written = zel_fuzz::guarded([] {
        const auto out = std::make_unique<ZELType>();
        ZELInitNewWriteOnlyFile(out.get(), ZEL_SENSOR_GENERIC, "scene", 2024, 172, 1, pixels, 2, 0,
                                pixels - 1, 705.0F, 1000.0F);
        out->ZELHeader.MaxNumChan = channels;  // no 1000 records in each output
        for (int c = 0; c < channels; ++c)
            ZELAddChannel(out.get(), c, 255.0F, 0.0F, ZEL_STORED_BYTE, 8, "label", "comment");
        ZELSetOverwritePromptOff(out.get());
        ZELOpenWriteOnlyFile(out.get(), theFile.path());
        const float lat[] = {10.0F, 10.0F};
        const float lon[] = {20.0F, 20.5F};
        for (int line = 0; line < lines; ++line) {
            const float values[pixels] = {1.0F, 2.0F, 3.0F, 4.0F};
            ZELLoadNavigation(out.get(), 12.0, lat, lon);
            for (int c = 0; c < channels; ++c) ZELLoadChannel(out.get(), c, values);
            ZELWriteLine(out.get());
        }
        ZELFinishWritingFile(out.get());
    });
    zel_fuzz::require(written, "the scene is written");
    return theFile.path();
}

// Whether the tool reports that it wrote the output.
bool append(const Input& input, const char* output)
{
    const zel_fuzz::File raster = file("raster", input.raster);
    const zel_fuzz::File header = file("header", input.header);
    const zel_fuzz::File lut = file("lut", input.lut);
    const zel_fuzz::File features = file("features", input.features);
    const auto text = [](const char* given) { return const_cast<char*>(given); };
    const auto used = [&](Use use, const char* given) {
        return input.uses & use ? text(given) : nullptr;
    };
    zel_combine::CommandLineStruct info{};
    info.InputFileName[0] = text(scene());
    info.numInputFiles = 1;
    info.OutputFileName = text(output);
    info.vornFlag = 1;
    info.vornFileName = text(raster.path());
    info.vornHeader = used(useHeader, header.path());
    info.vornLUT = used(useLUT, lut.path());
    info.vornColorcubeFlag = input.uses & useCube ? 1 : 0;
    info.ZELFeatureHeader = used(useFeatures, features.path());
    info.vornLabel = used(useLabel, "label");
    info.vornPrepend = used(usePrepend, "before ");
    int status = -1;
    // The LUTs of every output are to be written, as if each were made by a process of its own.
    zel::lutBlockWritten() = false;
    return zel_fuzz::guarded([&] { status = zel_combine::writeSameResolution(info); }) &&
           status == 0;
}

// Values that are neither translated nor stored as indices come back as they are.
void checkValues(ZELType* out, const Input& input, int line)
{
    if (input.uses & (useLUT | useCube | useFeatures)) return;
    const int appended = channelsIn(input.raster);
    for (int c = 0; c < appended; ++c) {
        const std::size_t plane = 16 + std::size_t{4} * pixels * lines * static_cast<unsigned>(c);
        const std::size_t row = plane + std::size_t{4} * pixels * static_cast<unsigned>(line);
        if (row + std::size_t{4} * pixels > input.raster.size()) return;
        const float* values = ZELFetchChannel(out, channels + c);
        for (std::size_t x = 0; x < pixels; ++x) {
            const auto expected = std::bit_cast<float>(wordAt(input.raster, row + 4 * x));
            const bool isSame =
                values[x] == expected || (values[x] != values[x] && expected != expected);
            zel_fuzz::require(isSame, "a value is that of the raster");
        }
    }
}

void readAgain(const char* output, const Input& input)
{
    const auto out = std::make_unique<ZELType>();
    int read = 0;
    const bool whole = zel_fuzz::guarded([&] {
        if (ZELOpenReadOnlyFile(out.get(), output) != 0) return;
        for (; ZELReadLine(out.get()); ++read) checkValues(out.get(), input, read);
    });
    zel_fuzz::require(whole && read == lines, "the output has the lines of the scene");
    zel_fuzz::guarded([&] { ZELFinishReadingFile(out.get()); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    zel_fuzz::silenceStreams();
    const Input input = split(data, size);
    if (takesLong(input)) return 0;
    const zel_fuzz::File output("output");
    if (append(input, output.path())) readAgain(output.path(), input);
    return 0;
}
