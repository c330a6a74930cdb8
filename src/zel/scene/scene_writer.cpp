#include "scene/scene_writer.hpp"

#include <algorithm>

#include "base/failure.hpp"
#include "base/text.hpp"
#include "scene/library.hpp"
#include "scene/metadata_text.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

// The library's files share a byte order, which the last one that was opened has set: an old
// big-endian scene and the file that is written need different ones.
class ByteOrder {
public:
    explicit ByteOrder(int order) : before_(SwapByteOrdering) { SwapByteOrdering = order; }
    ~ByteOrder() { SwapByteOrdering = before_; }
    ByteOrder(const ByteOrder&) = delete;
    ByteOrder& operator=(const ByteOrder&) = delete;

private:
    int before_;
};

// The header of a scene without its channels.
void copyHeader(ZELType& out, ZELType& scene)
{
    const ZELHeaderType& from = scene.ZELHeader;
    ZELInitNewWriteOnlyFile(&out, from.DataType, from.DataComment, from.year, from.julian,
                            from.sat_no, from.NPixelPerLine, from.NumNavPoints, from.StartNavPoint,
                            from.NavPointInterval, from.SatelliteAltitude, from.SpatialResolution);
    ZELHeaderType& to = out.ZELHeader;
    to.MetaDataType = from.MetaDataType;
    to.MetaDataSize = from.MetaDataSize;
    std::copy(std::begin(from.MetaDataText), std::end(from.MetaDataText), to.MetaDataText);
    to.MaxNumChan = from.MaxNumChan;
    if (from.NumDisplayLUTs > 0) ZELCopyFileLUTs(&out, &scene);
    if (from.TableList.NumTables > 0) ZELCopyFileTables(&out, &scene);
}

void copyScanData(ZELType& out, ZELType& scene)
{
    ZELCopyNavigation(&out, &scene);
    ZELSetPadding(&out, scene.LeftPixel, scene.RightPixel);
    ZELSetNadirPixel(&out, scene.NadirPixel);
    ZELSetNadirLatLon(&out, scene.NadirLat, scene.NadirLon);
}

}  // namespace

void SceneWriter::Finish::operator()(ZELType* record) const
{
    const auto finish = [](void* data) { ZELFinishWritingFile(static_cast<ZELType*>(data)); };
    const Hush hush;  // what went wrong was reported before
    if (record->ReadWriteFlag == ZEL_WRITE_ONLY) ZELGuardedCall(finish, record, nullptr);
    delete record;
}

SceneWriter::SceneWriter(const std::string& name, Overwrite overwrite, ZELType& scene, bool keep)
    : scene_(scene), keep_(keep), name_(name), output_(name, overwrite), record_(new ZELType())
{
    guarded(
        [&] { keep ? ZELCopyFileHeaders(record_.get(), &scene) : copyHeader(*record_, scene); });
}

void SceneWriter::open(const std::vector<MadeChannel>& channels)
{
    const std::vector<int> kept = keep_ ? presentSlots(*record_) : std::vector<int>();
    firstNew_ = kept.empty() ? 0 : kept.back() + 1;
    const int slots = firstNew_ + static_cast<int>(channels.size());
    if (slots > ZEL_MAX_CHANNELS)
        throw Failure(format("there are more than %d channels", ZEL_MAX_CHANNELS));
    record_->ZELHeader.MaxNumChan =
        static_cast<std::int16_t>(std::max<int>(record_->ZELHeader.MaxNumChan, slots));
    addProvenance(record_->ZELHeader);
    ZELSetHistogramFlag(record_.get(), 1);
    ZELSetOverwritePromptOff(record_.get());
    int result = 0;
    const ByteOrder order(SwapByteOrdering);
    guardedWriting(output_.temporary(), name_, [&] {
        int slot = firstNew_;
        for (const MadeChannel& c : channels)
            ZELAddSensorChannel(record_.get(), slot++, c.storage.max, c.storage.min, c.storage.code,
                                c.storage.bits(), c.label.c_str(), c.comment.c_str(), 0.0F,
                                c.units);
        result = ZELOpenWriteOnlyFile(record_.get(), output_.temporary().c_str());
    });
    if (result != 0) throw Failure(writingReason(output_.temporary(), name_));
    order_ = SwapByteOrdering;
}

void SceneWriter::load(int index, const float* values)
{
    guarded([&] { ZELLoadChannel(record_.get(), firstNew_ + index, values); });
}

void SceneWriter::writeLine()
{
    const ByteOrder order(order_);
    guardedWriting(output_.temporary(), name_, [&] {
        keep_ ? ZELCopyLine(record_.get(), &scene_) : copyScanData(*record_, scene_);
        ZELWriteLine(record_.get());
    });
}

void SceneWriter::commit()
{
    const ByteOrder order(order_);
    guardedWriting(output_.temporary(), name_, [&] { ZELFinishWritingFile(record_.get()); });
    record_.reset();
    output_.commit();
}

}  // namespace zel_tool
