// All components of a composite on one grid, as the library reads them.
#pragma once

#include "scene.hpp"
#include "scene_lines.hpp"

namespace zel_gdal {

class ViewDataset final : public SceneDataset {
public:
    ViewDataset(OpenedVsi file, const Source& source);

    // The header is that of the component with the grid; positionPart names it. False after a
    // CPLError.
    bool open(ZELType& grid, const std::string& positionPart);

    // Reads the stored line of all channels. False after a CPLError.
    bool readLine(int line);
    const ZELType& view() { return lines_.record(); }

private:
    void addBand(int slot);

    SceneLines lines_;
};

}  // namespace zel_gdal
