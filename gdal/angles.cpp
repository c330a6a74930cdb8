#include "angles.hpp"

#include <array>
#include <cmath>
#include <limits>

#include "line_band.hpp"
#include "scene_lines.hpp"

namespace zel_gdal {
namespace {

constexpr std::size_t kinds = 3;
constexpr const char* kindNames[kinds] = {"Solar zenith", "View zenith", "Relative azimuth"};

// Three floats, of the current line; what is not known is noPosition.
using Angles = std::array<std::vector<float>, kinds>;

bool isPlace(float lat, float lon)
{
    return std::abs(lat) <= 90.0F && std::abs(lon) <= 180.0F;
}

// The library has zeros where it cannot compute them, and numbers where there is no position.
int readAngles(ZELType& record, Angles& angles)
{
    if (ZELReadLine(&record) <= 0) return -1;
    std::array<float*, kinds> found{};
    float* lat = nullptr;
    float* lon = nullptr;
    ZELFetchSolar(&record, &found[0], &found[1], &found[2]);
    ZELFetchNavigation(&record, &lat, &lon);
    const bool areStored = storesAngles(record);
    const bool areComputed = record.SolarAnglesCalculated != 0;
    for (std::size_t x = 0; x < angles[0].size(); ++x) {
        const bool isKnown = areStored || (areComputed && isPlace(lat[x], lon[x]));
        for (std::size_t kind = 0; kind < kinds; ++kind)
            angles[kind][x] = isKnown ? found[kind][x] : static_cast<float>(noPosition);
    }
    return 0;
}

class AngleDataset final : public SceneDataset {
public:
    AngleDataset(OpenedVsi file, const Source& source) : SceneDataset(std::move(file), source) {}

    // False after a CPLError.
    bool open(ZELType& header, const Component& component);
    // Reads the line's angles. False after a CPLError.
    bool readLine(int line);
    const std::vector<float>& angles(std::size_t kind) const { return angles_[kind]; }

private:
    SceneLines lines_;
    Angles angles_;
};

class AngleBand final : public LineBand {
public:
    AngleBand(AngleDataset* dataset, std::size_t kind)
        : LineBand(dataset, static_cast<int>(kind) + 1, GDT_Float32), dataset_(dataset), kind_(kind)
    {
        describeBand(*this, kindNames[kind]);
    }
    const char* GetUnitType() override { return "degree"; }
    double GetNoDataValue(int* isKnown) override
    {
        if (isKnown) *isKnown = TRUE;
        return noPosition;
    }

protected:
    bool readLine(int line) override { return dataset_->readLine(line); }
    void take(void* pixels) const override
    {
        const std::vector<float>& angles = dataset_->angles(kind_);
        std::copy(angles.begin(), angles.end(), static_cast<float*>(pixels));
    }

private:
    AngleDataset* dataset_;
    std::size_t kind_;
};

bool AngleDataset::open(ZELType& header, const Component& component)
{
    if (!describe(header, component.part) ||
        !lines_.openPart(source().file, component.offset, component.size))
        return false;
    nRasterYSize = std::min(nRasterYSize, static_cast<int>(lines_.record().NumLines));
    for (std::vector<float>& angles : angles_)
        angles.resize(static_cast<std::size_t>(nRasterXSize));
    for (std::size_t kind = 0; kind < kinds; ++kind)
        SetBand(static_cast<int>(kind) + 1, new AngleBand(this, kind));
    return true;
}

bool AngleDataset::readLine(int line)
{
    return lines_.read(line, [&](ZELType& record) { return readAngles(record, angles_); });
}

}  // namespace

GDALDataset* openAngles(OpenedVsi file, ZELType& header, const std::string& name,
                        const Component& component, GDALOpenInfo* info)
{
    if (!hasAngles(header)) {
        CPLError(CE_Failure, CPLE_AppDefined,
                 "%s: has no angles: they need a date, positions and the satellite's altitude",
                 info->pszFilename);
        return nullptr;
    }
    const Source source = {name, component.part + ":angles",
                           OpenOptions::from(info->papszOpenOptions)};
    auto dataset = std::make_unique<AngleDataset>(std::move(file), source);
    if (!dataset->open(header, component)) return nullptr;
    dataset->finishOpening(info, info->pszFilename);
    return dataset.release();
}

}  // namespace zel_gdal
