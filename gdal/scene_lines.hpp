// Lines as the library reads them, for what it computes of them.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "zel.h"

namespace zel_gdal {

// A file, or a component of one, wherever GDAL can read it.
class SceneLines {
public:
    SceneLines();
    ~SceneLines();
    SceneLines(const SceneLines&) = delete;
    SceneLines& operator=(const SceneLines&) = delete;

    // All of the file: the components of a composite on one grid. False after a CPLError.
    bool open(const std::string& file);
    // The component at an offset and of a size (0: to the end).
    bool openPart(const std::string& file, int offset, int size);

    ZELType& record() { return *record_; }

    // Runs a call that reads the line, and returns 0 when it has. False after a CPLError.
    bool read(int line, const std::function<int(ZELType& record)>& call);

private:
    bool openBy(const std::string& file, const std::function<int()>& call);

    std::unique_ptr<ZELType> record_;
    std::string file_;
    int byteOrder_ = 0;
};

}  // namespace zel_gdal
