// The library as the drivers call it: one call at a time in the process, none of which ends it, and
// its messages as messages of GDAL.
#pragma once

#include <cpl_vsi.h>

#include <cstdio>
#include <functional>
#include <memory>

#include "zel.h"

namespace zel_gdal {

// Runs a call of the library that returns 0 when it succeeds. False after a CPLError that says why
// it did not: in the library's words, or else that the named file cannot be read.
bool callLibrary(const char* name, const std::function<int()>& call);

// A stream of the C library over a file of GDAL's, which stays open.
class Stream {
public:
    explicit Stream(VSILFILE* file);
    FILE* get() const { return stream_.get(); }

private:
    struct Close {
        void operator()(FILE* stream) const { std::fclose(stream); }
    };
    std::unique_ptr<FILE, Close> stream_;
};

// A record that holds a header and nothing of lines.
struct FreeHeader {
    void operator()(ZELType* record) const;
};
using Header = std::unique_ptr<ZELType, FreeHeader>;

// The header of a plain file, or of the component at an offset and of a size (0: to the end). Null
// after a CPLError.
Header readHeader(VSILFILE* file, const char* name, int offset = 0, int size = 0);

// The components of a file; a plain file is its own only one.
struct Directory {
    bool isComposite = false;
    int base = 0;
    int count = 1;
    int offsets[ZEL_MAX_COMPONENTS] = {};
    int sizes[ZEL_MAX_COMPONENTS] = {};
    float resolutions[ZEL_MAX_COMPONENTS] = {};

    // The component with the smallest resolution; the first where none has one.
    int finest() const;
};

// False after a CPLError.
bool readDirectory(VSILFILE* file, const char* name, Directory& directory);

}  // namespace zel_gdal
