#include "zel_finish.h"

#include <cerrno>
#include <cstring>

#include "blocks/zel_histogram.hpp"
#include "ground/memory.hpp"
#include "ground/same_file.hpp"
#include "ground/zel_door.hpp"
#include "records/buffers.hpp"
#include "records/file_state.hpp"
#include "records/mask_seam.hpp"
#include "records/release_seam.hpp"
#include "records/scaling_table.hpp"
#include "records/slot.hpp"
#include "zel_ancillary.h"
#include "zel_histogram.h"
#include "zel_lut.h"
#include "zel_table.h"

namespace {

void releaseChannel(ZELType& file, int slot)
{
    ZELChannelType& channel = file.Channels[slot];
    const bool hasLines = channel.ChannelLUT || channel.ChannelData || file.PixBuf[slot];
    if (!hasLines && !zel::hasBlocks(channel)) return;
    zel::releaseScalingTable(channel);
    zel::discard(channel.ChannelData);
    zel::discard(file.PixBuf[slot]);
    zel::freeMask(channel.Mask);
    channel.Mask = nullptr;
    ZELFreeTables(&channel.TableList);
    zel::freeHistograms(channel);
}

void finishComponents(ZELType& view)
{
    for (int i = 0; i < view.numZELComponents; ++i) {
        zel::closeStream(view.ZELComponent[i]);
        ZELFreeData(&view.ZELComponent[i]);
    }
}

}  // namespace

void zel::clearRecord(ZELType& file)
{
    std::memset(static_cast<void*>(&file), 0, sizeof file);
}

// Slots are freed present or not: a deleted channel keeps its buffers until here.
void zel::releaseData(ZELType& file)
{
    for (int i = 0; i < ZEL_MAX_CHANNELS; ++i) releaseChannel(file, i);
    ZELFreeLUTs(&file);
    ZELFreeTables(&file.ZELHeader.TableList);
    freeLineBuffers(file);
}

bool zel::closeStream(ZELType& file)
{
    if (!file.fptr) return true;
    const bool failed = std::ferror(file.fptr) != 0;
    const bool closed = std::fclose(file.fptr) == 0;
    file.fptr = nullptr;
    return closed && !failed;
}

void ZELFreeData(ZELType* ZELdata)
{
    ZELdata->FileOpened = 0;
    zel::releaseData(*ZELdata);
    const int bad = ZELGetBadLatLonCount();
    if (bad != 0)
        zel::report("\nWARNING: file %s: %d Out of range lat/lon values detected\n",
                    ZELdata->ImageFilename, bad);
}

void ZELFinishReadingFile(ZELType* ZELdata)
{
    zel::requireReadOnly(*ZELdata,
                         "ZELFinishReadingFile can only be used on a read only ZEL file\n");
    if (ZELdata->numZELComponents >= 2 && ZELdata->ZELComponent) finishComponents(*ZELdata);
    zel::closeStream(*ZELdata);
    ZELFreeData(ZELdata);
    zel::discard(ZELdata->ZELComponent);
}

void ZELFinishWritingFile(ZELType* ZELdata)
{
    zel::requireWriteOnly(*ZELdata,
                          "ZELFinishWritingFile can only be used on a write only ZEL file\n");
    const bool open = ZELdata->fptr && ZELdata->FileOpened;
    // Without histograms nothing more is written.
    if (open && ZELdata->HistogramFlag) zel::warnOfWrittenOrder(*ZELdata, "ZELFinishWritingFile");
    errno = 0;
    const bool updated = !open || zel::updateAllHistograms(*ZELdata);
    const int updateError = errno;
    const bool gone = open && zel::isGone(ZELdata->fptr, ZELdata->ImageFilename);
    const bool written = zel::closeStream(*ZELdata) && updated && !gone;
    const int error = updated ? errno : updateError;
    const int reason = gone ? ENOENT : error != 0 ? error : EIO;
    ZELdata->FileOpened = 0;
    zel::releaseData(*ZELdata);
    const int bad = ZELGetBadLatLonCount();
    if (bad != 0) zel::report("\nWARNING: %d Out of range lat/lon values detected\n", bad);
    if (!written)
        zel::fail("ZELFinishWritingFile: write error on file %s: %s\n", ZELdata->ImageFilename,
                  std::strerror(reason));
}
