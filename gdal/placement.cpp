#include "placement.hpp"

#include <gdal_alg.h>

#include <algorithm>
#include <cmath>

#include "navigation.hpp"

namespace zel_gdal {

// A source without georeferencing is no error: the file has no positions then.
Placement::Placement(GDALDataset& source, int interval)
{
    const int width = source.GetRasterXSize();
    interval_ = std::clamp(interval, 1, std::max(1, width - 1));
    points_ = (width - 1) / interval_ + 1;
    CPLStringList options;
    options.SetNameValue("DST_SRS", "EPSG:4326");
    options.SetNameValue("INSERT_CENTER_LONG", "NO");
    CPLPushErrorHandler(CPLQuietErrorHandler);
    transformer_ =
        GDALCreateGenImgProjTransformer2(GDALDataset::ToHandle(&source), nullptr, options.List());
    CPLPopErrorHandler();
    if (!transformer_) CPLErrorReset();
}

Placement::~Placement()
{
    if (transformer_) GDALDestroyGenImgProjTransformer(transformer_);
}

void Placement::placeLine(int line, std::vector<float>& lats, std::vector<float>& lons)
{
    const auto count = static_cast<std::size_t>(points());
    std::vector<double> x(count);
    std::vector<double> y(count, line + 0.5);
    std::vector<double> z(count);
    std::vector<int> isPlaced(count);
    for (std::size_t k = 0; k < count; ++k) x[k] = static_cast<double>(k) * interval_ + 0.5;
    CPLPushErrorHandler(CPLQuietErrorHandler);
    GDALGenImgProjTransform(transformer_, FALSE, points(), x.data(), y.data(), z.data(),
                            isPlaced.data());
    CPLPopErrorHandler();
    lats.assign(count, static_cast<float>(noPosition));
    lons.assign(count, static_cast<float>(noPosition));
    for (std::size_t k = 0; k < count; ++k) {
        const double lon = x[k] > 180 ? x[k] - 360 : x[k] < -180 ? x[k] + 360 : x[k];
        if (!isPlaced[k] || !(std::abs(y[k]) <= 90) || !(std::abs(lon) <= 180)) continue;
        lats[k] = static_cast<float>(y[k]);
        lons[k] = static_cast<float>(lon);
    }
}

}  // namespace zel_gdal
