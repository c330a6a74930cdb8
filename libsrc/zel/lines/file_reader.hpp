// Reading everything of a file that comes before its first line.
#ifndef ZEL_LINES_FILE_READER_HPP
#define ZEL_LINES_FILE_READER_HPP

#include "records/prefix.hpp"
#include "records/records.hpp"

namespace zel {

constexpr bool isReadableVersion(int version)
{
    return version > 0 && version <= currentVersion;
}

// Thrown where a version number is not supported, in either byte order.
struct UnsupportedVersion {
    float number;  // in the order of the host
    std::int64_t offset;
};

// The walker of walkFile: takes memory for the blocks, refuses numbers that cannot be, and supplies
// what old headers leave out. Messages on the way are for opens, and not for those who listen to
// the fields.
class FileReader : public RecordReader {
public:
    // At a place of the file's stream; the file ends at end.
    FileReader(ZELType& file, std::int64_t position, std::int64_t end);

    // The header begins where the reader is; settles its version and the byte order.
    void beginHeader(ZELHeaderType& header);

    void counts(ZELType& file);
    void luts(ZELType& file);
    void tables(TableListType& list);
    void channel(const ZELChannelType& channel);
    void mask(ZELChannelType& channel);
    void histogram(const ZELType& file, ZELHistogramType*& histogram);
    void slot(ZELType& file, int slot);
    bool repeats(ZELType& file, int slot);

private:
    float findVersion();
    void checkHeaderLength(std::int64_t length);

    ZELType& file_;
    std::int64_t headerBegin_ = 0;
    std::int64_t slotBegin_ = 0;
    std::int64_t surplus_ = 0;  // what old headers count for their blocks beside their bytes
};

// Ends the process when the prefix says that the file needs a newer library.
void requireLibraryFor(const Prefix& prefix);

// Reads from the header at the reader's place to the first line, and sets all that follows from
// that. The channels have no memory yet. Throws Damage and UnsupportedVersion.
void readFile(FileReader& reader, ZELType& file);

// The same from fileOffset on, with the prefix, when there is one.
void readComponent(FileReader& reader, ZELType& file);

}  // namespace zel

#endif
