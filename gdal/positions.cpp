#include "positions.hpp"

namespace zel_gdal {
namespace {

class PositionBand final : public GDALRasterBand {
public:
    PositionBand(GDALDataset* dataset, Coordinate coordinate, VSILFILE* file,
                 const Navigation& navigation)
        : coordinate_(coordinate), file_(file), navigation_(navigation)
    {
        poDS = dataset;
        nBand = 1;
        eDataType = GDT_Float64;
        nBlockXSize = navigation.columns();
        nBlockYSize = 1;
        GDALMajorObject::SetDescription(coordinate == Coordinate::latitude ? "Latitude"
                                                                           : "Longitude");
    }
    const char* GetUnitType() override
    {
        return coordinate_ == Coordinate::latitude ? "degrees_north" : "degrees_east";
    }
    double GetNoDataValue(int* isKnown) override
    {
        if (isKnown) *isKnown = TRUE;
        return noPosition;
    }

protected:
    CPLErr IReadBlock(int, int line, void* values) override
    {
        std::vector<Position> positions;
        if (!navigation_.readLine(file_, line, positions)) {
            CPLError(CE_Failure, CPLE_FileIO, "%s: cannot read the positions of line %d",
                     poDS->GetDescription(), line);
            return CE_Failure;
        }
        auto* out = static_cast<double*>(values);
        for (const Position& at : positions)
            *out++ = coordinate_ == Coordinate::latitude ? at.lat : at.lon;
        return CE_None;
    }

private:
    Coordinate coordinate_;
    VSILFILE* file_;
    const Navigation& navigation_;
};

class PositionDataset final : public GDALDataset {
public:
    PositionDataset(OpenedVsi file, std::string name, const Navigation& navigation,
                    Coordinate coordinate)
        : name_(std::move(name)), file_(std::move(file)), navigation_(navigation)
    {
        nRasterXSize = navigation_.columns();
        nRasterYSize = navigation_.lines();
        SetBand(1, new PositionBand(this, coordinate, file_.get(), navigation_));
    }

    char** GetFileList() override { return sceneFiles(nullptr, name_); }

private:
    std::string name_;
    OpenedVsi file_;
    Navigation navigation_;
};

}  // namespace

GDALDataset* openPositions(OpenedVsi file, ZELType& record, const std::string& name,
                           Coordinate coordinate, GDALOpenInfo* info)
{
    const Navigation navigation(record, linePlaces(record));
    if (!navigation.isGrid() || navigation.lines() < 1) {
        CPLError(CE_Failure, CPLE_AppDefined, "%s: has no navigation points", info->pszFilename);
        return nullptr;
    }
    auto dataset = std::make_unique<PositionDataset>(std::move(file), name, navigation, coordinate);
    dataset->SetDescription(info->pszFilename);
    return dataset.release();
}

}  // namespace zel_gdal
