// All components of a composite on one grid, as the library reads them.
#pragma once

#include "scene.hpp"

namespace zel_gdal {

class ViewDataset final : public SceneDataset {
public:
    ViewDataset(OpenedVsi file, const Source& source);
    ~ViewDataset() override;

    // The header is that of the component with the grid; positionPart names it. False after a
    // CPLError.
    bool open(ZELType& grid, const std::string& positionPart);

    // The stored line of all channels; null after a CPLError.
    const ZELType* readLine(int line);

private:
    void addBand(int slot);

    std::unique_ptr<ZELType> view_;
    bool isOpen_ = false;
    int byteOrder_ = 0;
};

}  // namespace zel_gdal
