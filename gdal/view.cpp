#include "view.hpp"

#include <algorithm>
#include <cstring>

#include "line_band.hpp"

namespace zel_gdal {
namespace {

// The stored pixels of a channel, or their values.
class ViewReader : public LineBand {
public:
    ViewReader(ViewDataset* dataset, int band, int slot, GDALDataType type,
               std::vector<float> table)
        : LineBand(dataset, band, type), dataset_(dataset), slot_(slot), table_(std::move(table))
    {
    }

protected:
    bool readLine(int line) override { return dataset_->readLine(line); }

    void take(void* pixels) const override
    {
        const ZELType& view = dataset_->view();
        const unsigned char* stored = view.PixBuf[slot_];
        const auto count = static_cast<std::size_t>(nBlockXSize);
        if (table_.empty() && eDataType == typeIn(view)) {
            std::memcpy(pixels, stored,
                        count * static_cast<std::size_t>(GDALGetDataTypeSizeBytes(eDataType)));
            return;
        }
        auto* values = static_cast<float*>(pixels);
        if (table_.empty()) {
            GDALCopyWords(stored, typeIn(view), view.Channels[slot_].DataByteSize, values,
                          GDT_Float32, 4, nBlockXSize);
            return;
        }
        std::vector<GUInt16> numbers(count);
        GDALCopyWords(stored, typeIn(view), view.Channels[slot_].DataByteSize, numbers.data(),
                      GDT_UInt16, 2, nBlockXSize);
        for (std::size_t x = 0; x < count; ++x) values[x] = table_[numbers[x]];
    }

private:
    GDALDataType typeIn(const ZELType& view) const { return storedType(view.Channels[slot_]); }

    ViewDataset* dataset_;
    int slot_;
    std::vector<float> table_;
};
using ViewBand = Described<ViewReader>;

}  // namespace

ViewDataset::ViewDataset(OpenedVsi file, const Source& source)
    : SceneDataset(std::move(file), source)
{
}

bool ViewDataset::open(ZELType& grid, const std::string& positionPart)
{
    if (!lines_.open(source().file) || !describe(grid, positionPart)) return false;
    nRasterYSize = std::min(nRasterYSize, static_cast<int>(view().NumLines));
    for (int slot = 0; slot < view().NumTotalChans; ++slot) addBand(slot);
    return true;
}

void ViewDataset::addBand(int slot)
{
    ZELType& view = lines_.record();
    const ZELChannelType& channel = view.Channels[slot];
    const OpenOptions& options = source().options;
    const bool isRaw = !options.unscale || isClassChannel(view, slot);
    const GDALDataType type = isRaw ? storedType(channel) : GDT_Float32;
    std::vector<float> table;
    if (!isRaw) table = valuesOf(view, slot);
    const int number = nBands + 1;
    auto* band =
        new ViewBand(bandFacts(view, slot, options), this, number, slot, type, std::move(table));
    describeBand(*band, channel, slot);
    SetBand(number, band);
}

// A line that a component does not have ends the view.
bool ViewDataset::readLine(int line)
{
    return lines_.read(line, [](ZELType& view) { return ZELReadLineNoScale(&view) > 0 ? 0 : -1; });
}

}  // namespace zel_gdal
