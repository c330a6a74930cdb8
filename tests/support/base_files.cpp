#include "support/base_files.hpp"

#include "support/mask_bytes.hpp"

namespace zel_test {

namespace {

Line lineOf(int n, int pixels)
{
    Line line;
    line.scanTime = 10.25 + n / 64.0;
    line.altitude = 700.5F + static_cast<float>(n);
    line.left = 0;
    line.right = pixels - 1;
    line.nadir = n % pixels;
    line.nadirLat = 45.5F;
    line.nadirLon = -120.25F;
    line.lats = {40.0F + static_cast<float>(n), 41.5F};
    line.lons = {-100.0F, -98.5F + static_cast<float>(n)};
    Bytes bytes;
    std::vector<int> words;
    std::vector<float> floats;
    for (int x = 0; x < pixels; ++x) {
        bytes.push_back(static_cast<unsigned char>(17 * x + 40 * n + 3));
        words.push_back(4099 * x + 7919 * n + 250);
        floats.push_back(static_cast<float>(x) * 1.25F - static_cast<float>(n) / 3.0F);
    }
    line.pixels = {
        {0, bytes}, {2, rawWords(words)}, {3, bytes}, {4, rawWords(words)}, {5, rawFloats(floats)}};
    return line;
}

Scene sceneOf(int version, bool bigEndian, int pixels, int lines)
{
    Scene scene = smallScene(version);
    scene.bigEndian = bigEndian;
    scene.prefixed = version >= 151 && !bigEndian;
    scene.pixels = pixels;
    scene.slots.resize(version == 100 ? 20 : 6);
    scene.slots[3] = channel(1, "scaled bytes", 330.0F, 180.0F);
    scene.slots[4] = channel(2, "scaled words", 1.25F, -0.25F);
    scene.slots[5] = channel(4, "floats");
    scene.luts = {Lut{1, "colours", {{1, 2, 3, "one"}, {4, 5, 6, "two"}}}};
    scene.tables = {Table{1, "curve", {1.0F, 2.0F}}};
    scene.slots[3].tables = {Table{2, "of a channel", {3.0F}}};
    scene.slots[0].histogram = Histogram{9.0F, 1.0F, {1, 2, 3}};
    scene.slots[0].standardHistogram = Histogram{9.0F, 1.0F, {4, 5, 6}};
    scene.metaData = "some text";
    scene.metaDataType = 1;
    scene.lines.clear();
    for (int n = 0; n < lines; ++n) scene.lines.push_back(lineOf(n, pixels));
    return scene;
}

// Below 1.41 a value of a table counts as 204 bytes, not 4, where the first line is looked for.
BaseFile padded(const Scene& scene)
{
    const BuiltFile built = build(scene);
    BaseFile file{built.bytes, 0};
    if (scene.version < 111 || scene.version >= 141) return file;
    for (const Table& table : scene.tables) file.padding += 200 * table.values.size();
    file.bytes.insert(file.bytes.begin() + static_cast<long>(built.headerEnd), file.padding, 0);
    return file;
}

BaseComposite compositeOf(int pixels, int base)
{
    Scene coarse = sceneOf(230, false, pixels, 3);
    coarse.resolution = 1000;
    Scene fine = sceneOf(230, false, 2 * pixels, 6);
    fine.resolution = 500;
    return {buildComposite({coarse, fine}, base), build(coarse).bytes.size()};
}

MaskRecord maskOfChannel()
{
    MaskRecord mask = fullMask();
    for (ClassifierRecord& c : mask.classifiers) c.data.resize(16);
    return mask;
}

}  // namespace

BaseFile baseFile(int version, bool bigEndian)
{
    return padded(sceneOf(version, bigEndian, 4, 3));
}

BaseFile wideBaseFile(int version, bool bigEndian)
{
    return padded(sceneOf(version, bigEndian, 1000, 3));
}

BaseFile maskedBaseFile(int version, bool bigEndian)
{
    Scene scene = sceneOf(version, bigEndian, 4, 2);
    scene.slots[2].mask = build(maskOfChannel()).bytes;
    return padded(scene);
}

BaseComposite baseComposite(int base)
{
    return compositeOf(4, base);
}

BaseComposite wideBaseComposite(int base)
{
    return compositeOf(1000, base);
}

}  // namespace zel_test
