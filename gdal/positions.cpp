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
    PositionDataset(OpenedVsi file, const Navigation& navigation, Coordinate coordinate)
        : file_(std::move(file)), navigation_(navigation)
    {
        nRasterXSize = navigation_.columns();
        nRasterYSize = navigation_.lines();
        SetBand(1, new PositionBand(this, coordinate, file_.get(), navigation_));
    }

private:
    OpenedVsi file_;
    Navigation navigation_;
};

}  // namespace

GDALDataset* openPositions(OpenedVsi file, ZELType& record, const std::string& name,
                           Coordinate coordinate)
{
    const Navigation navigation(record, linePlaces(record));
    if (!navigation.isGrid() || navigation.lines() < 1) {
        CPLError(CE_Failure, CPLE_AppDefined, "%s: has no navigation points", name.c_str());
        return nullptr;
    }
    auto dataset = std::make_unique<PositionDataset>(std::move(file), navigation, coordinate);
    dataset->SetDescription(name.c_str());
    return dataset.release();
}

}  // namespace zel_gdal
