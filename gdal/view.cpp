#include "view.hpp"

#include <algorithm>
#include <cstring>

namespace zel_gdal {
namespace {

// The stored pixels of a channel, or their values.
class ViewReader : public GDALPamRasterBand {
public:
    ViewReader(ViewDataset* dataset, int band, int slot, GDALDataType type,
               std::vector<float> table)
        : dataset_(dataset), slot_(slot), table_(std::move(table))
    {
        poDS = dataset;
        nBand = band;
        eDataType = type;
        nBlockXSize = dataset->GetRasterXSize();
        nBlockYSize = 1;
    }

protected:
    // A line costs as much for one channel as for all: the other bands have theirs too.
    CPLErr IReadBlock(int, int line, void* pixels) override
    {
        const ZELType* view = dataset_->readLine(line);
        if (!view) return CE_Failure;
        take(*view, pixels);
        for (int number = 1; number <= poDS->GetRasterCount(); ++number) {
            auto* other = dynamic_cast<ViewReader*>(poDS->GetRasterBand(number));
            if (other && other != this) other->keep(*view, line);
        }
        return CE_None;
    }

private:
    void keep(const ZELType& view, int line)
    {
        if (GDALRasterBlock* known = TryGetLockedBlockRef(0, line)) {
            known->DropLock();
            return;
        }
        GDALRasterBlock* block = GetLockedBlockRef(0, line, TRUE);
        if (!block) return;
        take(view, block->GetDataRef());
        block->DropLock();
    }

    void take(const ZELType& view, void* pixels) const
    {
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

    GDALDataType typeIn(const ZELType& view) const { return storedType(view.Channels[slot_]); }

    ViewDataset* dataset_;
    int slot_;
    std::vector<float> table_;
};
using ViewBand = Described<ViewReader>;

}  // namespace

ViewDataset::ViewDataset(OpenedVsi file, const Source& source)
    : SceneDataset(std::move(file), source), view_(new ZELType())
{
}

ViewDataset::~ViewDataset()
{
    if (isOpen_) callLibrary("", [&] { return ZELFinishReadingFile(view_.get()), 0; });
}

bool ViewDataset::open(ZELType& grid, const std::string& positionPart)
{
    const char* name = source().file.c_str();
    if (STARTS_WITH(name, "/vsi")) {
        CPLError(CE_Failure, CPLE_NotSupported,
                 "%s: the view of a composite needs a file on a disk; "
                 "its components do not",
                 name);
        return false;
    }
    isOpen_ = callLibrary(name, [&] {
        const int result = ZELOpenReadOnlyFile(view_.get(), name);
        byteOrder_ = SwapByteOrdering;
        return result;
    });
    if (!isOpen_ || !describe(grid, positionPart)) return false;
    nRasterYSize = std::min(nRasterYSize, static_cast<int>(view_->NumLines));
    for (int slot = 0; slot < view_->NumTotalChans; ++slot) addBand(slot);
    return true;
}

void ViewDataset::addBand(int slot)
{
    const ZELChannelType& channel = view_->Channels[slot];
    const OpenOptions& options = source().options;
    const bool isRaw = !options.unscale || isClassChannel(*view_, slot);
    const GDALDataType type = isRaw ? storedType(channel) : GDT_Float32;
    std::vector<float> table;
    if (!isRaw) table = valuesOf(*view_, slot);
    const int number = nBands + 1;
    auto* band =
        new ViewBand(bandFacts(*view_, slot, options), this, number, slot, type, std::move(table));
    describeBand(*band, channel, slot);
    SetBand(number, band);
}

// A line that a component does not have ends the view.
const ZELType* ViewDataset::readLine(int line)
{
    const char* name = source().file.c_str();
    const bool isRead = callLibrary(name, [&] {
        SwapByteOrdering = byteOrder_;
        ZELSetCurrentLine(view_.get(), line);
        return ZELReadLineNoScale(view_.get()) > 0 ? 0 : -1;
    });
    return isRead ? view_.get() : nullptr;
}

}  // namespace zel_gdal
