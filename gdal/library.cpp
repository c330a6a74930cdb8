#include "library.hpp"

#include <cpl_error.h>

#include <new>
#include <string>

#include "embed/library_call.hpp"

namespace zel_gdal {
namespace {

ssize_t readFrom(void* file, char* buffer, size_t size)
{
    return static_cast<ssize_t>(VSIFReadL(buffer, 1, size, static_cast<VSILFILE*>(file)));
}

int seekIn(void* cookie, off64_t* offset, int origin)
{
    auto* file = static_cast<VSILFILE*>(cookie);
    std::int64_t position = *offset;
    if (origin == SEEK_END && VSIFSeekL(file, 0, SEEK_END) != 0) return -1;
    if (origin != SEEK_SET) position += static_cast<std::int64_t>(VSIFTellL(file));
    if (position < 0 || VSIFSeekL(file, static_cast<vsi_l_offset>(position), SEEK_SET) != 0)
        return -1;
    *offset = position;
    return 0;
}

int closeFile(void* file)
{
    return VSIFCloseL(static_cast<VSILFILE*>(file));
}

// The library's own streams are of files of GDAL's as well.
FILE* openFile(void*, const char* name)
{
    VSILFILE* file = VSIFOpenL(name, "rb");
    if (!file) return nullptr;
    FILE* stream = fopencookie(file, "rb", {readFrom, nullptr, seekIn, closeFile});
    if (!stream) VSIFCloseL(file);
    return stream;
}

}  // namespace

// Messages are passed on after the lock: an error handler may use the drivers itself.
bool callLibrary(const char* name, const std::function<int()>& call)
{
    zel_embed::Messages messages;
    const bool succeeded = zel_embed::runAlone(call, messages, openFile);
    for (const zel_embed::Message& message : messages)
        if (message.isError && succeeded)
            CPLError(CE_Warning, CPLE_AppDefined, "%s", message.text.c_str());
        else
            CPLDebug("ZEL", "%s", message.text.c_str());
    if (succeeded) return true;
    const std::string why = zel_embed::reasonOf(messages);
    if (why.empty())
        CPLError(CE_Failure, CPLE_AppDefined, "%s: cannot be read", name);
    else
        CPLError(CE_Failure, CPLE_AppDefined, "%s", why.c_str());
    return false;
}

Stream::Stream(VSILFILE* file)
{
    stream_.reset(fopencookie(file, "rb", {readFrom, nullptr, seekIn, nullptr}));
    if (!stream_) throw std::bad_alloc();
    std::setvbuf(stream_.get(), nullptr, _IOFBF, 65536);
}

void FreeHeader::operator()(ZELType* record) const
{
    callLibrary("", [&] { return ZELFreeData(record), 0; });
    delete record;
}

Header readHeader(VSILFILE* file, const char* name, int offset, int size)
{
    Header header(new ZELType());
    const bool read = callLibrary(name, [&] {
        const Stream stream(file);
        return ZELReadStreamHeader(header.get(), stream.get(), name, offset, size);
    });
    if (!read) return nullptr;
    return header;
}

int Directory::finest() const
{
    int finest = 0;
    for (int i = 1; i < count; ++i)
        if (resolutions[i] > 0.0F && !(resolutions[finest] <= resolutions[i])) finest = i;
    return finest;
}

bool readDirectory(VSILFILE* file, const char* name, Directory& directory)
{
    return callLibrary(name, [&] {
        const Stream stream(file);
        const int kind =
            ZELReadStreamCompositeInfo(stream.get(), name, &directory.base, &directory.count,
                                       directory.offsets, directory.resolutions, directory.sizes);
        directory.isComposite = kind == 1;
        return kind < 0 ? kind : 0;
    });
}

}  // namespace zel_gdal
