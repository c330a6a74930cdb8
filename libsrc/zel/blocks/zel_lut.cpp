#include "zel_lut.h"

#include <cerrno>
#include <cstring>

#include "blocks/zel_lut.hpp"
#include "ground/list.hpp"
#include "ground/memory.hpp"
#include "ground/text.hpp"
#include "ground/zel_door.hpp"
#include "records/records.hpp"

namespace {

using zel::fail;
using zel::report;

constexpr auto nextLUT = &ZELDisplayLUTType::NextDisplayLUT;

auto hasKey(int key)
{
    return [key](const ZELDisplayLUTType& lut) { return lut.DisplayLUTKeyValue == key; };
}

auto hasLabel(const char* label)
{
    return [label](const ZELDisplayLUTType& lut) {
        return zel::sameIgnoringCase(lut.DisplayLUTLabel, label);
    };
}

ZELDisplayLUTType* findByKey(ZELType* file, int key)
{
    return zel::findNode(file->ZELHeader.DisplayLUTHead, nextLUT, hasKey(key));
}

ZELDisplayLUTType* findByLabel(ZELType* file, const char* label)
{
    return zel::findNode(file->ZELHeader.DisplayLUTHead, nextLUT, hasLabel(label));
}

bool hasNoLUTs(ZELType* file, const char* function)
{
    if (file->ZELHeader.DisplayLUTHead) return false;
    report("%s:No LUT's defined.\n", function);
    return true;
}

ZELDisplayLUTType* searchByKey(ZELType* file, int key, const char* function)
{
    if (hasNoLUTs(file, function)) return nullptr;
    ZELDisplayLUTType* lut = findByKey(file, key);
    if (!lut) report("%s: Cannot find LUT Key %d\n", function, key);
    return lut;
}

ZELDisplayLUTType* searchByLabel(ZELType* file, const char* label, const char* function)
{
    if (hasNoLUTs(file, function)) return nullptr;
    ZELDisplayLUTType* lut = findByLabel(file, label);
    if (!lut) report("%s: Cannot find LUT Label %s\n", function, label);
    return lut;
}

// Whether LUTs may be deleted from the file; ends the process when its header is written.
bool mayDelete(const ZELType& file)
{
    if (file.ReadWriteFlag == ZEL_READ_ONLY) {
        report("Cannot delete lut from Read Only file... Ignoring...\n");
        return false;
    }
    if (file.FileOpened)
        fail("Cannot delete an LUT from a Write Only file after the file is opened...exiting...\n");
    return true;
}

template <class Matches>
bool deleteFirst(ZELType* file, Matches matches)
{
    ZELDisplayLUTType* lut = zel::unlinkNode(file->ZELHeader.DisplayLUTHead, nextLUT, matches);
    if (!lut) return false;
    ZELDeAllocateLUT(lut);
    --file->ZELHeader.NumDisplayLUTs;
    return true;
}

// The bound is inclusive: an index equal to the count reaches the spare entry.
void loadEntry(ZELDisplayLUTType* lut, int index, unsigned char R, unsigned char G, unsigned char B,
               const char* label, const char* function)
{
    if (index < 0 || index > lut->NumLUTValues) fail("%s: Invalid LUT entry %d\n", function, index);
    ZELLUTType& entry = lut->DisplayLUT[index];
    entry.R = R;
    entry.G = G;
    entry.B = B;
    zel::copyText(entry.LUTEntryLabel, label);
}

struct CopyMessages {
    const char* readOnly;
    const char* opened;
    const char* empty;
};

// Whether LUTs may be copied between the files; a composite view accepts them though it is
// read-only.
bool mayCopy(const ZELType& dest, const ZELType& src, const CopyMessages& messages)
{
    if (dest.ReadWriteFlag == ZEL_READ_ONLY && dest.numZELComponents < 2) {
        report("%s", messages.readOnly);
        return false;
    }
    if (dest.ReadWriteFlag == ZEL_WRITE_ONLY && dest.FileOpened) fail("%s", messages.opened);
    if (!src.ZELHeader.DisplayLUTHead) {
        report("%s", messages.empty);
        return false;
    }
    return true;
}

void appendCopies(ZELHeaderType& dest, ZELDisplayLUTType* source, int count)
{
    zel::appendCopies(&dest.DisplayLUTHead, nextLUT, source, count, ZELCopyLUT);
}

void replaceLUTs(ZELHeaderType& dest, const ZELHeaderType& src)
{
    ZELDisplayLUTType* source = src.DisplayLUTHead;
    const int16_t count = src.NumDisplayLUTs;
    dest.DisplayLUTHead = nullptr;
    appendCopies(dest, source, count);
    dest.NumDisplayLUTs = count;
}

void writeRecords(const ZELType& file)
{
    zel::RecordWriter writer(file.fptr);
    for (ZELDisplayLUTType* lut = file.ZELHeader.DisplayLUTHead; lut; lut = lut->NextDisplayLUT)
        zel::walkLUT(writer, *lut);
}

ZELDisplayLUTType* allocateLUT()
{
    auto* lut = zel::allocate<ZELDisplayLUTType>(1);
    if (!lut) fail("ZELAllocateLUT: cannot allocate LUT\n");
    return lut;
}

// The entries that the LUT counts, and a spare one.
void allocateEntries(ZELDisplayLUTType& lut)
{
    lut.DisplayLUT = zel::allocate<ZELLUTType>(static_cast<std::size_t>(lut.NumLUTValues) + 1);
    if (!lut.DisplayLUT) fail("ZELAllocateLUT: cannot allocate LUT entries\n");
    for (int i = 0; i <= lut.NumLUTValues; ++i)
        zel::copyText(lut.DisplayLUT[i].LUTEntryLabel, "None");
}

// Reads LUTs of a block and adds up their bytes.
class LUTReader : public zel::PassingOn<zel::RecordReader> {
public:
    using PassingOn::PassingOn;

    void items(ZELDisplayLUTType& lut)
    {
        const std::int64_t size = zel::lutRecordSize(lut.NumLUTValues);
        next_.require(lut.NumLUTValues >= 0, "NumLUTValues", lut.NumLUTValues);
        next_.requireBytes("display LUT entries", size - zel::lutRecordSize(0));
        total_ += size;
        next_.require(total_ <= INT32_MAX, "length of the display LUT block",
                      static_cast<double>(total_));
        allocateEntries(lut);
    }
    std::int64_t total() const { return total_; }

private:
    std::int64_t total_ = 0;
};

}  // namespace

ZELDisplayLUTType* ZELAllocateLUT(int NumLUTValues)
{
    if (NumLUTValues < 0 || NumLUTValues > INT16_MAX)
        fail("ZELAllocateLUT: invalid number of LUT entries %d\n", NumLUTValues);
    zel::Owned<ZELDisplayLUTType> lut(allocateLUT());
    lut->NumLUTValues = static_cast<int16_t>(NumLUTValues);
    allocateEntries(*lut);
    return lut.release();
}

void ZELDeAllocateLUT(ZELDisplayLUTType* lut)
{
    if (!lut) fail("ZELDeAllocateLUT: error.. tried to de-allocate NULL LUT\n");
    zel::release(lut->DisplayLUT);
    zel::release(lut);
}

ZELDisplayLUTType* ZELAddLUT(ZELType* ZELdata, int key, int NumLUTValues, const char* label)
{
    if (key < INT16_MIN || key > INT16_MAX) {
        report("ZELAddLUT: invalid LUT key %d\n", key);
        return nullptr;
    }
    if (ZELdata->ZELHeader.NumDisplayLUTs == INT16_MAX)
        fail("ZELAddLUT: cannot add LUT %s: a file holds at most %d\n", label, INT16_MAX);
    if (findByKey(ZELdata, key)) {
        report("Key value %d already in use...\n", key);
        return nullptr;
    }
    ZELDisplayLUTType* lut = ZELAllocateLUT(NumLUTValues);
    lut->DisplayLUTKeyValue = static_cast<int16_t>(key);
    zel::copyText(lut->DisplayLUTLabel, label);
    zel::appendNode(ZELdata->ZELHeader.DisplayLUTHead, nextLUT, lut);
    ++ZELdata->ZELHeader.NumDisplayLUTs;
    return lut;
}

ZELDisplayLUTType* ZELAppendLUT(ZELType* ZELdata, int NumLUTValues, const char* label)
{
    const auto isLast = [](const ZELDisplayLUTType& lut) { return !lut.NextDisplayLUT; };
    const ZELDisplayLUTType* last =
        zel::findNode(ZELdata->ZELHeader.DisplayLUTHead, nextLUT, isLast);
    return ZELAddLUT(ZELdata, last ? last->DisplayLUTKeyValue + 1 : 0, NumLUTValues, label);
}

void ZELDeleteLUTByKey(ZELType* ZELdata, int key)
{
    if (!mayDelete(*ZELdata)) return;
    if (!ZELdata->ZELHeader.DisplayLUTHead)
        report("ZELDeleteLUTByKey: No LUT's present in file\n");
    else if (!deleteFirst(ZELdata, hasKey(key)))
        report("ZELDeleteLUTByKey: LUT with key %d not present in file\n", key);
}

void ZELDeleteLUTByLabel(ZELType* ZELdata, const char* label)
{
    if (!mayDelete(*ZELdata)) return;
    if (!ZELdata->ZELHeader.DisplayLUTHead)
        report("ZELDeleteLUTByLabel: No LUT's present in file\n");
    else if (!deleteFirst(ZELdata, hasLabel(label)))
        report("ZELDeleteLUTByLabel: LUT with label %s not present in file\n", label);
}

void ZELLoadLUTEntry(ZELDisplayLUTType* lut, int index, unsigned char R, unsigned char G,
                     unsigned char B, const char* label)
{
    loadEntry(lut, index, R, G, B, label, "ZELLoadLUTEntry");
}

void ZELLoadLUTEntryByKey(ZELType* ZELdata, int key, int index, unsigned char R, unsigned char G,
                          unsigned char B, const char* label)
{
    ZELDisplayLUTType* lut = searchByKey(ZELdata, key, "ZELLoadLUTEntryByKey");
    if (lut) loadEntry(lut, index, R, G, B, label, "ZELLoadLUTEntryByKey");
}

void ZELLoadLUTEntryByLabel(ZELType* ZELdata, const char* lutLabel, int index, unsigned char R,
                            unsigned char G, unsigned char B, const char* label)
{
    // The message names the other function; programs depend on its text.
    if (ZELdata->ReadWriteFlag == ZEL_READ_ONLY)
        report(
            "ZELLoadLUTEntryByKey: Loading LUT on Read Only file... LUT valid only until program "
            "ends\n");
    ZELDisplayLUTType* lut = searchByLabel(ZELdata, lutLabel, "ZELLoadLUTEntryByLabel");
    if (lut) loadEntry(lut, index, R, G, B, label, "ZELLoadLUTEntryByLabel");
}

ZELDisplayLUTType* ZELFetchLUTByKey(ZELType* ZELdata, int key)
{
    return searchByKey(ZELdata, key, "ZELFetchLUTByKey");
}

ZELDisplayLUTType* ZELFetchLUTByLabel(ZELType* ZELdata, const char* label)
{
    return searchByLabel(ZELdata, label, "ZELFetchLUTByLabel");
}

int ZELFetchLUTKeyByLabel(ZELType* ZELdata, const char* label)
{
    const ZELDisplayLUTType* lut = searchByLabel(ZELdata, label, "ZELFetchLUTKeyByLabel");
    return lut ? lut->DisplayLUTKeyValue : -1;
}

char* ZELFetchLUTLabelByKey(ZELType* ZELdata, int key)
{
    ZELDisplayLUTType* lut = searchByKey(ZELdata, key, "ZELFetchLUTLabelByKey");
    return lut ? lut->DisplayLUTLabel : nullptr;
}

int64_t ZELFetchLUTRecordSize(const ZELDisplayLUTType* lut)
{
    return zel::lutRecordSize(lut->NumLUTValues);
}

int16_t ZELFetchNumLuts(ZELType* ZELdata)
{
    return ZELdata->ZELHeader.NumDisplayLUTs;
}

ZELDisplayLUTType* ZELFetchFirstLut(ZELType* ZELdata)
{
    return ZELdata->ZELHeader.DisplayLUTHead;
}

ZELDisplayLUTType* ZELFetchNextLut(ZELDisplayLUTType* lut)
{
    return lut->NextDisplayLUT;
}

ZELDisplayLUTType* ZELCopyLUT(ZELDisplayLUTType* lut)
{
    ZELDisplayLUTType* copy = ZELAllocateLUT(lut->NumLUTValues);
    copy->DisplayLUTKeyValue = lut->DisplayLUTKeyValue;
    zel::copyText(copy->DisplayLUTLabel, lut->DisplayLUTLabel);
    for (int i = 0; i < lut->NumLUTValues; ++i) copy->DisplayLUT[i] = lut->DisplayLUT[i];
    return copy;
}

void ZELCopyFileLUTs(ZELType* ZELdataDest, ZELType* ZELdataSrc)
{
    static constexpr CopyMessages messages = {
        "ZELCopyFileLUTs: Cannot copy lut to Read Only file... Ignoring...\n",
        "ZELCopyFileLUTs: Cannot copy LUT to a Write Only file after the file is "
        "opened...exiting...\n",
        "ZELCopyFileLUTs: No LUT's to copy... continuing...\n"};
    if (mayCopy(*ZELdataDest, *ZELdataSrc, messages))
        replaceLUTs(ZELdataDest->ZELHeader, ZELdataSrc->ZELHeader);
}

void ZELAppendFileLUTs(ZELType* ZELdataDest, ZELType* ZELdataSrc)
{
    static constexpr CopyMessages messages = {
        "ZELAppendFileLUTs: Cannot Append lut to Read Only file... Ignoring...\n",
        "ZELAppendFileLUTs: Cannot Append LUT to a Write Only file after the file is "
        "opened...exiting...\n",
        "ZELAppendFileLUTs: No LUT's to Append... continuing...\n"};
    if (!mayCopy(*ZELdataDest, *ZELdataSrc, messages)) return;
    ZELHeaderType& dest = ZELdataDest->ZELHeader;
    const int total = dest.NumDisplayLUTs + ZELdataSrc->ZELHeader.NumDisplayLUTs;
    if (!dest.DisplayLUTHead) {
        replaceLUTs(ZELdataDest->ZELHeader, ZELdataSrc->ZELHeader);
        return;
    }
    if (total > INT16_MAX) fail("ZELAppendFileLUTs: a file holds at most %d LUTs\n", INT16_MAX);
    appendCopies(dest, ZELdataSrc->ZELHeader.DisplayLUTHead, ZELdataSrc->ZELHeader.NumDisplayLUTs);
    dest.NumDisplayLUTs = static_cast<int16_t>(total);
}

// A LUT is in the list as soon as there is memory for it, so that a damaged one is freed with the
// rest.
std::int64_t zel::readLUTs(RecordReader& reader, ZELHeaderType& header)
{
    LUTReader lutReader(reader);
    ZELDisplayLUTType** end = &header.DisplayLUTHead;
    for (int i = 0; i < header.NumDisplayLUTs; ++i, end = &(*end)->NextDisplayLUT) {
        *end = allocateLUT();
        reader.record(Level::block, "LUT", i);
        walkLUT(lutReader, **end);
    }
    return lutReader.total();
}

int ZELReadLUTs(ZELType* ZELdata)
{
    if (ZELdata->ZELHeader.NumDisplayLUTs == 0) {
        report("ZELReadLUTs:No LUT's defined.\n");
        return 0;
    }
    zel::requireOpen(ZELdata->fptr, "ZELReadLUTs");
    const auto read = [&](zel::RecordReader& reader) {
        return zel::readLUTs(reader, ZELdata->ZELHeader);
    };
    return static_cast<int>(zel::readBlock(ZELdata->fptr, "ZELReadLUTs", read));
}

bool& zel::lutBlockWritten()
{
    static bool written = false;
    return written;
}

void ZELWriteLUTs(ZELType* ZELdata)
{
    if (zel::lutBlockWritten()) {
        report("ZELWriteLUTs: LUT's already written\n");
        if (ZELdata->ZELHeader.NumDisplayLUTs > 0)
            zel::reportTo(stderr,
                          "ZELWriteLUTs: warning: file %s counts %d LUTs that are not written and "
                          "cannot be read again: write it in a process of its own\n",
                          ZELdata->ImageFilename, ZELdata->ZELHeader.NumDisplayLUTs);
        return;
    }
    if (hasNoLUTs(ZELdata, "ZELWriteLUTs")) return;
    zel::requireOpen(ZELdata->fptr, "ZELWriteLUTs");
    ZELdata->LUTStartOffset = static_cast<int32_t>(ftello(ZELdata->fptr));
    writeRecords(*ZELdata);
    zel::lutBlockWritten() = true;
}

void ZELRearmLUTWriter(void)
{
    zel::lutBlockWritten() = false;
}

void ZELUpdateLUTs(ZELType* ZELdata)
{
    if (ZELdata->ReadWriteFlag == ZEL_READ_ONLY) {
        report("ZELUpdateLUTs: Cannot update lut of Read Only file... Ignoring...\n");
        return;
    }
    if (hasNoLUTs(ZELdata, "ZELUpdateLUTs")) return;
    zel::requireOpen(ZELdata->fptr, "ZELUpdateLUTs");
    if (ZELdata->LUTStartOffset <= 0 && zel::beginsWithPrefix(ZELdata->fptr)) {
        zel::reportTo(
            stderr,
            "ZELUpdateLUTs: warning: the LUTs of file %s were not written with its header "
            "and are not kept\n",
            ZELdata->ImageFilename);
        return;
    }
    if (!zel::rewriteAt(ZELdata->fptr, ZELdata->LUTStartOffset, [&] { writeRecords(*ZELdata); }))
        fail("ZELUpdateLUTs: write error on file %s: %s\n", ZELdata->ImageFilename,
             std::strerror(errno));
}

void ZELPrintLUTs(ZELType* ZELdata)
{
    if (hasNoLUTs(ZELdata, "ZELPrintLUTs")) return;
    report("%d LUT's defined\n", ZELdata->ZELHeader.NumDisplayLUTs);
    for (const ZELDisplayLUTType* lut = ZELdata->ZELHeader.DisplayLUTHead; lut;
         lut = lut->NextDisplayLUT) {
        report("NumLUTValues %d\n", lut->NumLUTValues);
        report("DisplayLUTKeyValue %d\n", lut->DisplayLUTKeyValue);
        report("DisplayLUTLabel %s\n", lut->DisplayLUTLabel);
        for (int i = 0; i < lut->NumLUTValues; ++i) {
            const ZELLUTType& entry = lut->DisplayLUT[i];
            report("%d: R %d G %d B %d %s\n", i, entry.R, entry.G, entry.B, entry.LUTEntryLabel);
        }
    }
}

void ZELFreeLUTs(ZELType* ZELdata)
{
    zel::freeNodes(ZELdata->ZELHeader.DisplayLUTHead, nextLUT, ZELDeAllocateLUT);
    ZELdata->ZELHeader.DisplayLUTHead = nullptr;
    ZELdata->ZELHeader.NumDisplayLUTs = 0;
}
