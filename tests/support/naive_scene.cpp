#include "support/naive_scene.hpp"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>

namespace zel_test {

namespace {

// Thrown where the bytes break the format.
struct Refusal {
    std::string why;
    long from, to;

    void note(NaiveScene& scene) const
    {
        scene.refusal = why;
        scene.refusedFrom = from;
        scene.refusedTo = to;
    }
};

void require(bool ok, const std::string& why, long from = 0, long to = LONG_MAX)
{
    if (!ok) throw Refusal{why, from, to};
}

class Cursor {
public:
    Cursor(const Bytes& file, long at, long end) : file_(file), at_(at), end_(end) {}

    std::uint64_t bits(int size)
    {
        require(size <= end_ - at_, "cut short", at_, at_ + size);
        last_ = at_;
        std::uint64_t all = 0;
        for (int i = 0; i < size; ++i) {
            const std::uint64_t byte = file_[static_cast<std::size_t>(at_ + i)];
            all |= byte << 8 * (bigEndian ? size - 1 - i : i);
        }
        at_ += size;
        return all;
    }
    int byte() { return static_cast<int>(bits(1)); }
    int word() { return static_cast<int>(bits(2)); }
    int i16() { return static_cast<std::int16_t>(bits(2)); }
    int i32() { return static_cast<std::int32_t>(bits(4)); }
    float f32() { return std::bit_cast<float>(static_cast<std::uint32_t>(bits(4))); }
    std::string text(long size)
    {
        require(size >= 0 && size <= end_ - at_, "cut short", at_, at_ + size);
        const auto begin = file_.begin() + at_;
        at_ += size;
        return {begin, begin + size};
    }
    void skip(long size) { text(size); }
    long at() const { return at_; }
    void goTo(long at) { at_ = at; }
    // Of the number read last.
    void expect(bool ok, const std::string& why) const { require(ok, why, last_, last_ + 1); }

    bool bigEndian = false;

private:
    const Bytes& file_;
    long at_, end_;
    long last_ = 0;
};

// ---- Masks: big-endian, strings after their length ----

std::string maskString(Cursor& c)
{
    const int length = c.i32();
    c.expect(length >= 1, "length of a string");
    const std::string text = c.text(length);
    return text.substr(0, text.find('\0'));
}

int maskCount(Cursor& c)
{
    const int count = c.i32();
    c.expect(count >= 0, "a count");
    return count;
}

int hundredfold(const std::string& version)
{
    return static_cast<int>(std::strtod(version.c_str(), nullptr) * 100.0);
}

// Expressions may use the labels of definitions as names.
int maskList(Cursor& c, NaiveScene& scene, bool definitions = false)
{
    const int entries = maskCount(c);
    for (int i = 0; i < entries; ++i) {
        if (c.i32() != 0) {
            const std::string label = maskString(c);
            if (definitions) scene.compiledTexts.push_back(label);
        }
        for (int part = 0; part < 2; ++part)
            if (c.i32() != 0) scene.compiledTexts.push_back(maskString(c));
    }
    return entries;
}

void maskProgram(Cursor& c, NaiveScene& scene)
{
    const int lines = maskCount(c);
    for (int i = 0; i < lines; ++i) scene.compiledTexts.push_back(maskString(c));
}

void featureHeader(Cursor& c, NaiveScene& scene, int& version)
{
    const std::string identifier = c.text(19);
    require(identifier == std::string("ZEL_FEATURE_HEADER") + '\0', "feature header", 0, c.at());
    version = hundredfold(maskString(c));
    maskString(c);
    maskString(c);
    const int inputs = maskCount(c);
    for (int i = 0; i < inputs; ++i) maskString(c);
    c.skip(4000);
    for (int i = 0; i < 1000; ++i) {
        maskString(c);
        c.skip(12);
    }
    maskList(c, scene, true);
    const int features = maskList(c, scene);
    c.skip(8L * features);
    for (int list = 0; list < (version >= 111 ? 5 : 4); ++list) maskList(c, scene);
    c.skip(16);
}

void classifier(Cursor& c, NaiveScene& scene)
{
    int version = 0;
    featureHeader(c, scene, version);
    const int size = maskCount(c);
    c.skip(version >= 111 ? 8 : 4);
    c.skip(size);
}

void maskBlock(Cursor& c, NaiveScene& scene)
{
    const bool order = c.bigEndian;
    c.bigEndian = true;
    const long begin = c.at();
    if (const int classifiers = c.i32()) {
        require(maskString(c) == "ZEL_MASK", "mask identifier", 0, c.at());
        require(classifiers >= 0, "number of classifiers", begin, begin + 1);
        c.skip(4);
        const int version = hundredfold(maskString(c));
        for (int text = 0; text < 3; ++text) maskString(c);
        for (int list = 0; list < 3; ++list) maskList(c, scene, list == 0);
        if (version >= 101)
            for (int program = 0; program < 2; ++program) maskProgram(c, scene);
        if (version >= 111) c.skip(4);
        for (int list = 0; list < 2; ++list) maskList(c, scene);
        for (int i = 0; i < classifiers; ++i) classifier(c, scene);
    }
    c.bigEndian = order;
}

// A reader may give up as soon as a count in the mask asks for more than there is.
void mask(Cursor& c, NaiveScene& scene)
{
    const long begin = c.at();
    scene.maskPlaces.push_back(begin);
    try {
        maskBlock(c, scene);
    } catch (const Refusal& refusal) {
        throw Refusal{"classifier mask", begin, refusal.to};
    }
}

// ---- Blocks: each returns what it counts in the headers of old versions ----

long luts(Cursor& c, int count)
{
    long length = 0;
    for (int i = 0; i < count; ++i) {
        const long begin = c.at();
        const int values = c.i16();
        c.skip(2 + 200);
        require(values >= 0, "NumLUTValues", begin, begin + 1);
        c.skip(203L * values);
        length += 204 + 203L * values;
    }
    return length;
}

long tables(Cursor& c, int count)
{
    long length = 0;
    for (int i = 0; i < count; ++i) {
        const long begin = c.at();
        const int values = c.i16();
        c.skip(2 + 200);
        require(values >= 0, "NumTableValues", begin, begin + 1);
        c.skip(4L * values);
        length += 204 + 204L * values;
    }
    return length;
}

// Bins of the histogram, or -1 where there is none.
int histogram(Cursor& c)
{
    if (c.byte() == 0) return -1;
    const long begin = c.at();
    const int bins = c.i16();
    c.skip(8);
    require(bins >= 0, "NumHistogramBins", begin, begin + 1);
    c.skip(4L * bins);
    return bins;
}

// ---- Records ----

bool isVersion(int version)
{
    return version >= 1 && version <= 230;
}

int version(float number)
{
    const double all = (static_cast<double>(number) + 0.005) * 100.0;
    return all > 0 && all < 1000 ? static_cast<int>(all) : 0;
}

void prefix(Cursor& c, NaiveScene& scene)
{
    const bool prefixed = c.text(3) == "ZEL";
    c.goTo(scene.start);
    if (!prefixed) return;
    c.skip(3);
    const std::string text = c.text(10);
    require(!(std::strtod(text.c_str(), nullptr) > 2.3), "needs a newer library");
    c.skip(8 + 3 * 400);
}

void versionNumber(Cursor& c, NaiveScene& scene)
{
    scene.version = version(c.f32());
    if (!isVersion(scene.version)) {
        c.bigEndian = true;
        c.goTo(0);
        scene.version = version(c.f32());
    }
    require(isVersion(scene.version), "version");
    scene.bigEndian = c.bigEndian;
}

struct HeaderNumbers {
    int slots = 20;
    int navPoints = 51;
};

void navigation(Cursor& c, const NaiveScene& scene, HeaderNumbers& numbers)
{
    numbers.navPoints = c.i32();
    c.expect(numbers.navPoints >= 0 && numbers.navPoints <= 32767, "NumNavPoints");
    const bool several = numbers.navPoints >= 2;
    const int start = c.i32();
    c.expect(!several || (start >= 0 && start < scene.pixels), "StartNavPoint");
    const int interval = c.i32();
    c.expect(!several || interval >= 1, "NavPointInterval");
}

HeaderNumbers header(Cursor& c, NaiveScene& scene)
{
    const int v = scene.version;
    HeaderNumbers numbers;
    if (v >= 101) numbers.slots = c.i16();
    require(v >= 100, "MaxNumChan");  // which such a file does not have
    c.expect(numbers.slots >= 1 && numbers.slots <= 1000, "MaxNumChan");
    c.skip(6);
    scene.pixels = c.i16();
    c.expect(scene.pixels >= 1, "NPixelPerLine");
    scene.headerOffset = v >= 101 ? 14 : 12;
    if (v < 111) {
        scene.resolution = scene.pixels == 2048 ? 1.1F : 4.0F;
        return numbers;
    }
    navigation(c, scene, numbers);
    c.skip(2 + 4);
    scene.resolution = c.f32();
    c.skip(2000);
    const int numLuts = c.i16();
    c.expect(numLuts >= 0, "NumDisplayLUTs");
    const int numTables = c.i16();
    c.expect(numTables >= 0, "NumTables");
    const long lutLength = luts(c, numLuts);
    scene.headerOffset = 2040 + lutLength + tables(c, numTables);
    if (v >= 142) c.skip(6);
    if (v >= 201) c.skip(20008);
    return numbers;
}

void histograms(Cursor& c, NaiveScene& scene)
{
    const int own = histogram(c);
    const int standard = histogram(c);
    scene.headerOffset += 2;
    if (own >= 0) scene.headerOffset += 10 + 4L * own;
    if (standard >= 0) scene.headerOffset += 10 + 4L * (own >= 0 ? own : standard);
}

int bytesOf(int storageCode)
{
    static constexpr int sizes[] = {0, 1, 2, 1, 4, 2};
    return storageCode >= 1 && storageCode <= 5 ? sizes[storageCode] : 0;
}

void channel(Cursor& c, NaiveScene& scene, int slot)
{
    const int v = scene.version;
    const long begin = c.at();
    const int present = c.i32();
    NaiveChannel channel;
    channel.max = c.f32();
    channel.min = c.f32();
    channel.type = c.i32();
    channel.size = c.i32();
    c.skip(4 + 120 + 120 + (v >= 111 ? 4 : 0) + (v >= 131 ? 4 : 0) + (v >= 132 ? 4 : 0));
    const int size = bytesOf(channel.type);
    require(present == 0 || size != 0, "Type", begin + 12, begin + 13);
    require(present == 0 || channel.size == size, "DataByteSize", begin + 16, begin + 17);
    scene.headerOffset += c.at() - begin;
    if (v >= 141) mask(c, scene);
    if (v >= 211) {
        const int count = c.i16();
        c.expect(count >= 0, "channel NumTables");
        tables(c, count);
    }
    if (v >= 121) histograms(c, scene);
    if (v >= 141) scene.headerOffset = c.at() - scene.start;
    if (present != 0) scene.channels[slot] = channel;
}

float valueOf(Cursor& c, const NaiveChannel& channel)
{
    if (channel.type == 3) return static_cast<float>(c.byte());
    if (channel.type == 4) return c.f32();
    if (channel.type == 5) return static_cast<float>(c.word());
    const bool byte = channel.type == 1;
    const double step = static_cast<double>(channel.max - channel.min) / (byte ? 255.0 : 65535.0);
    const int raw = byte ? c.byte() : c.word();
    return static_cast<float>(raw * step + static_cast<double>(channel.min));
}

void lines(Cursor& c, NaiveScene& scene, const HeaderNumbers& numbers, long size)
{
    const int v = scene.version;
    const long before =
        8 + (v >= 131 ? 4 : 0) + (v >= 201 ? 12 : 0) + (v >= 221 ? 8 : 0) + 8L * numbers.navPoints;
    scene.lineOffset = before;
    for (const auto& [slot, channel] : scene.channels)
        scene.lineOffset += long{scene.pixels} * channel.size;
    scene.lines = static_cast<int>(std::max(0L, (size - scene.headerOffset) / scene.lineOffset));
    if (scene.headerOffset > size) scene.lines = 0;
    for (int n = 0; n < scene.lines; ++n) {
        c.goTo(scene.start + scene.headerOffset + n * scene.lineOffset + before);
        for (const auto& [slot, channel] : scene.channels)
            for (int x = 0; x < scene.pixels; ++x) scene.values.push_back(valueOf(c, channel));
    }
    scene.readableLines = scene.lines;
}

// A plain file, or a component.
NaiveScene component(const Bytes& file, long start, long end)
{
    NaiveScene scene;
    scene.start = start;
    try {
        Cursor c(file, start, end);
        prefix(c, scene);
        versionNumber(c, scene);
        const HeaderNumbers numbers = header(c, scene);
        for (int slot = 0; slot < numbers.slots; ++slot) channel(c, scene, slot);
        lines(c, scene, numbers, end - start);
    } catch (const Refusal& refusal) {
        refusal.note(scene);
    }
    return scene;
}

// ---- Views ----

float at(const NaiveScene& scene, long line, std::size_t channel, long x)
{
    const auto pixels = static_cast<std::size_t>(scene.pixels);
    return scene
        .values[(static_cast<std::size_t>(line) * scene.channels.size() + channel) * pixels +
                static_cast<std::size_t>(x)];
}

struct Grid {
    bool finer = false, coarser = false;
    long factor = 1;
};

Grid relate(const NaiveScene& own, const NaiveScene& reference)
{
    Grid grid;
    grid.finer = own.resolution < reference.resolution;
    grid.coarser = own.resolution > reference.resolution;
    if (!grid.finer && !grid.coarser) return grid;
    const float ratio =
        grid.finer ? reference.resolution / own.resolution : own.resolution / reference.resolution;
    require(ratio >= 1.0f && ratio < 0x1p31f, "resolutions");
    grid.factor = static_cast<long>(ratio);
    return grid;
}

bool hasLine(const NaiveScene& own, const Grid& grid, long line)
{
    if (grid.finer) return line * grid.factor + grid.factor - 1 < own.lines;
    return line / grid.factor < own.lines;
}

float viewed(const NaiveScene& own, const Grid& grid, long line, std::size_t channel, long x)
{
    if (!grid.finer)
        return x / grid.factor < own.pixels ? at(own, line / grid.factor, channel, x / grid.factor)
                                            : 0.0F;
    float sum = 0;
    for (long j = 0; j < grid.factor; ++j)
        for (long i = 0; i < grid.factor && x * grid.factor + i < own.pixels; ++i)
            sum += at(own, line * grid.factor + j, channel, x * grid.factor + i);
    return sum / static_cast<float>(grid.factor * grid.factor);
}

void assemble(NaiveScene& view, const std::vector<NaiveScene>& parts, std::size_t reference)
{
    std::vector<Grid> grids;
    int count = 0;
    for (const NaiveScene& part : parts) {
        view.compiledTexts.insert(view.compiledTexts.end(), part.compiledTexts.begin(),
                                  part.compiledTexts.end());
        view.maskPlaces.insert(view.maskPlaces.end(), part.maskPlaces.begin(),
                               part.maskPlaces.end());
        require(part.refusal.empty(), part.refusal, part.refusedFrom, part.refusedTo);
        count += static_cast<int>(part.channels.size());
    }
    require(count <= 1000, "channels of a view");
    for (const NaiveScene& part : parts) grids.push_back(relate(part, parts[reference]));
    view.pixels = parts[reference].pixels;
    view.lines = parts[reference].lines;
    for (const NaiveScene& part : parts)
        for (const auto& [slot, channel] : part.channels)
            view.channels[static_cast<int>(view.channels.size())] = channel;
    const auto complete = [&](long n) {
        for (std::size_t i = 0; i < parts.size(); ++i)
            if (!hasLine(parts[i], grids[i], n)) return false;
        return true;
    };
    for (; complete(view.readableLines); ++view.readableLines)
        for (std::size_t i = 0; i < parts.size(); ++i)
            for (std::size_t k = 0; k < parts[i].channels.size(); ++k)
                for (long x = 0; x < view.pixels; ++x)
                    view.values.push_back(viewed(parts[i], grids[i], view.readableLines, k, x));
}

struct Directory {
    int base = 0, count = 0;
    std::vector<long> offsets, sizes;
};

// Nothing for a plain file, and for one that ends before its directory does.
Directory directory(const Bytes& file)
{
    Directory d;
    if (file.size() < 1221 || std::string(file.begin(), file.begin() + 3) != "ZEL") return d;
    Cursor c(file, 13, 1221);
    d.base = c.i32();
    d.count = c.i32();
    for (int i = 0; i < 100; ++i) d.offsets.push_back(c.i32());
    c.skip(400);
    for (int i = 0; i < 100; ++i) d.sizes.push_back(c.i32());
    return d;
}

NaiveScene composite(const Bytes& file, const Directory& d)
{
    NaiveScene view;
    try {
        const auto size = static_cast<long>(file.size());
        require(d.count <= 100, "number of components", 17, 18);
        require(d.base >= 0 && d.base < d.count, "base component index", 13, 14);
        for (std::size_t i = 0; i < static_cast<std::size_t>(d.count); ++i) {
            const auto entry = static_cast<long>(4 * i);
            require(d.offsets[i] >= 0 && d.offsets[i] < size, "component offset", 21 + entry,
                    22 + entry);
            require(d.sizes[i] >= 0 && d.sizes[i] <= size - d.offsets[i], "component size",
                    821 + entry, 822 + entry);
        }
        std::vector<NaiveScene> parts;
        for (std::size_t i = 0; i < static_cast<std::size_t>(d.count); ++i)
            parts.push_back(
                component(file, d.offsets[i], d.sizes[i] == 0 ? size : d.offsets[i] + d.sizes[i]));
        assemble(view, parts, static_cast<std::size_t>(d.base));
    } catch (const Refusal& refusal) {
        refusal.note(view);
    }
    return view;
}

}  // namespace

NaiveScene readNaively(const Bytes& file)
{
    const Directory d = directory(file);
    if (d.count > 1) return composite(file, d);
    return component(file, 0, static_cast<long>(file.size()));
}

NaiveScene viewNaively(const std::vector<Bytes>& files)
{
    NaiveScene view;
    std::vector<NaiveScene> parts;
    for (const Bytes& file : files) parts.push_back(readNaively(file));
    try {
        assemble(view, parts, 0);
    } catch (const Refusal& refusal) {
        refusal.note(view);
    }
    return view;
}

}  // namespace zel_test
