#include "lines/file_writer.hpp"

#include <cerrno>
#include <cstring>

#include "ground/zel_door.hpp"
#include "records/mask_seam.hpp"
#include "records/prefix.hpp"
#include "zel_histogram.h"
#include "zel_lut.h"
#include "zel_table.h"

namespace {

// The walker of walkFile.
class FileWriter : public zel::RecordWriter {
public:
    explicit FileWriter(ZELType& file) : RecordWriter(file.fptr), file_(file) {}

    void counts(ZELType&) {}
    void luts(ZELType& file) { ZELWriteLUTs(&file); }
    void tables(TableListType& list)
    {
        if (list.NumTables > 0) ZELWriteTables(file_.fptr, &list);
    }
    void channel(const ZELChannelType&) {}
    void mask(ZELChannelType& channel)
    {
        if (!zel::writeMask(file_.fptr, channel.Mask))
            zel::fail("ZELOpenWriteOnlyFile: write error on file %s: %s\n", file_.ImageFilename,
                      std::strerror(errno));
    }
    void histogram(ZELType& file, ZELHistogramType* histogram)
    {
        ZELWriteHistogram(&file, histogram);
    }
    void slot(ZELType&, int) {}
    bool repeats(ZELType&, int) { return false; }

private:
    ZELType& file_;
};

}  // namespace

void zel::writeFile(ZELType& file)
{
    FileWriter writer(file);
    Prefix prefix = plainPrefix(file.ZELHeader.SpatialResolution);
    walkPrefix(writer, prefix);
    walkFile(writer, file);
}
