#include "scene_lines.hpp"

#include "library.hpp"

namespace zel_gdal {

SceneLines::SceneLines() : record_(new ZELType()) {}

// An open that failed may have left memory and streams, too.
SceneLines::~SceneLines()
{
    if (record_->ReadWriteFlag != ZEL_READ_ONLY) return;
    callLibrary(file_.c_str(), [&] { return ZELFinishReadingFile(record_.get()), 0; });
}

// The byte order of the file is the library's only while it reads it.
bool SceneLines::openBy(const std::string& file, const std::function<int()>& call)
{
    file_ = file;
    return callLibrary(file.c_str(), [&] {
        const int result = call();
        byteOrder_ = SwapByteOrdering;
        return result;
    });
}

bool SceneLines::open(const std::string& file)
{
    return openBy(file, [&] { return ZELOpenReadOnlyFile(record_.get(), file.c_str()); });
}

bool SceneLines::openPart(const std::string& file, int offset, int size)
{
    return openBy(file,
                  [&] { return OpenReadOnlyFile(record_.get(), file.c_str(), offset, size); });
}

bool SceneLines::read(int line, const std::function<int(ZELType& record)>& call)
{
    const std::string name = file_ + ": line " + std::to_string(line);
    return callLibrary(name.c_str(), [&] {
        SwapByteOrdering = byteOrder_;
        ZELSetCurrentLine(record_.get(), line);
        return call(*record_);
    });
}

}  // namespace zel_gdal
