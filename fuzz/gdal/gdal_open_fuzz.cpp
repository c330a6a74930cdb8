// Any file handed to the GDAL drivers: what they claim, and all that can be asked of what they
// open.
#include <gdal_priv.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

extern "C" void GDALRegister_ZEL();

namespace {

constexpr const char* file = "/vsimem/fuzz";
constexpr const char* vornFile = "/vsimem/fuzz.vorn";
constexpr long long mostPixels = 1 << 20;
constexpr int mostBands = 8;  // of a part

using Dataset = std::unique_ptr<GDALDataset>;

Dataset open(const std::string& name, const char* option)
{
    CPLStringList options;
    options.AddString(option);
    return Dataset(
        GDALDataset::Open(name.c_str(), GDAL_OF_RASTER, nullptr, options.List(), nullptr));
}

void readLine(GDALRasterBand& band, int line)
{
    std::vector<double> pixels(static_cast<std::size_t>(band.GetXSize()));
    (void)band.RasterIO(GF_Read, 0, line, band.GetXSize(), 1, pixels.data(), band.GetXSize(), 1,
                        GDT_Float64, 0, 0, nullptr);
}

void lookAt(GDALRasterBand& band)
{
    band.GetUnitType();
    band.GetScale();
    band.GetOffset();
    band.GetColorTable();
    band.GetCategoryNames();
    double min = 0;
    double max = 0;
    int count = 0;
    GUIntBig* buckets = nullptr;
    if (band.GetDefaultHistogram(&min, &max, &count, &buckets, FALSE, nullptr, nullptr) == CE_None)
        VSIFree(buckets);
    readLine(band, 0);
    readLine(band, band.GetYSize() - 1);
}

// The parts that the metadata of a domain names, each of which is opened and read.
void lookAtParts(GDALDataset& dataset, const char* domain, const char* option)
{
    char** items = dataset.GetMetadata(domain);
    for (int i = 0; items && items[i]; ++i) {
        const char* name = std::strstr(items[i], "ZEL:\"");
        const Dataset part = name ? open(name, option) : nullptr;
        for (int b = 1; part && b <= std::min(part->GetRasterCount(), mostBands); ++b)
            lookAt(*part->GetRasterBand(b));
    }
}

void lookAt(GDALDataset& dataset, const char* option)
{
    double transform[6];
    dataset.GetGeoTransform(transform);
    dataset.GetSpatialRef();
    dataset.GetGCPs();
    CSLDestroy(dataset.GetFileList());
    const long long pixels =
        static_cast<long long>(dataset.GetRasterXSize()) * dataset.GetRasterYSize();
    for (int b = 1; b <= dataset.GetRasterCount() && pixels * b < mostPixels; ++b)
        lookAt(*dataset.GetRasterBand(b));
    for (const char* domain : {"SUBDATASETS", "GEOLOCATION", "ZEL_SCAN", "ZEL_ANGLES"})
        lookAtParts(dataset, domain, option);
}

void openAsScene(const std::uint8_t* data, std::size_t size)
{
    auto* bytes = const_cast<GByte*>(data);
    VSIFCloseL(VSIFileFromMemBuffer(file, bytes, size, FALSE));
    for (const char* option : {"UNSCALE=YES", "GCPS=YES", "COLOR_TABLE=YES"})
        if (const Dataset dataset = open(file, option)) lookAt(*dataset, option);
}

// The bytes as a small Vorn raster, whose size is in the first of them, and as its text header.
void openAsVorn(const std::uint8_t* data, std::size_t size)
{
    if (size < 3) return;
    std::vector<GByte> bytes(16);
    bytes[0] = 0xCD;
    bytes[1] = 0xAB;
    for (std::size_t word = 0; word < 3; ++word)
        bytes[4 * word + 4] = static_cast<GByte>(data[word] % 16);
    bytes.insert(bytes.end(), data, data + size);
    VSIFCloseL(VSIFileFromMemBuffer(vornFile, bytes.data(), bytes.size(), FALSE));
    const std::string header = std::string("HEADER=") + file;
    if (const Dataset dataset = open(vornFile, header.c_str())) lookAt(*dataset, header.c_str());
    VSIUnlink(vornFile);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    GDALRegister_ZEL();
    CPLSetErrorHandler(CPLQuietErrorHandler);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    openAsScene(data, size);
    openAsVorn(data, size);
    VSIUnlink(file);
    return 0;
}
