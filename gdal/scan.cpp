#include "scan.hpp"

#include "line_band.hpp"

namespace zel_gdal {
namespace {

struct Field {
    const char* name;
    GDALDataType type;
    const char* unit;
};
constexpr Field fields[] = {{"ScanTime", GDT_Float64, "h"},     {"ScanAltitude", GDT_Float32, "km"},
                            {"LeftPixel", GDT_Int32, ""},       {"RightPixel", GDT_Int32, ""},
                            {"NadirPixel", GDT_Int32, ""},      {"NadirLat", GDT_Float32, "degree"},
                            {"NadirLon", GDT_Float32, "degree"}};

class FieldBand final : public RawRasterBand {
public:
    FieldBand(GDALDataset* dataset, int number, const Field& field, VSILFILE* file,
              const LinePlaces& places, vsi_l_offset place)
        : RawRasterBand(dataset, number, file, places.firstLine + place,
                        GDALGetDataTypeSizeBytes(field.type), places.lineSize, field.type,
                        byteOrder(places.isSwapped), OwnFP::NO),
          unit_(field.unit)
    {
        describeBand(*this, field.name);
    }
    const char* GetUnitType() override { return unit_; }

private:
    const char* unit_;
};

class ScanDataset final : public RawDataset {
public:
    ScanDataset(OpenedVsi file, std::string name) : name_(std::move(name)), file_(std::move(file))
    {
    }

    void open(ZELType& header)
    {
        const LinePlaces places = linePlaces(header);
        nRasterXSize = 1;
        nRasterYSize = places.lines;
        for (const Field& field : fields) {
            const std::int64_t place = ZELFetchPlaceInLine(&header, field.name);
            if (place < 0) continue;
            const int number = nBands + 1;
            SetBand(number, new FieldBand(this, number, field, file_.get(), places,
                                          static_cast<vsi_l_offset>(place)));
        }
    }

    void finishOpening(GDALOpenInfo* info, const std::string& part)
    {
        SetDescription(info->pszFilename);
        SetPhysicalFilename(name_.c_str());
        SetSubdatasetName((part + ":lines").c_str() + 1);
        TryLoadXML(info->GetSiblingFiles());
    }

    char** GetFileList() override { return sceneFiles(RawDataset::GetFileList(), name_); }

private:
    std::string name_;
    OpenedVsi file_;
};

}  // namespace

GDALDataset* openScan(OpenedVsi file, ZELType& header, const std::string& name,
                      const std::string& part, GDALOpenInfo* info)
{
    if (!hasLines(header, name)) return nullptr;
    auto dataset = std::make_unique<ScanDataset>(std::move(file), name);
    dataset->open(header);
    dataset->finishOpening(info, part);
    return dataset.release();
}

}  // namespace zel_gdal
