#include "composite/scene_inputs.hpp"

#include <cmath>

#include "ground/zel_door.hpp"
#include "zel_finish.h"
#include "zel_line.h"
#include "zel_open.h"

namespace zel {
namespace {

constexpr const char* noMemory = "ZELCreateCompositeFile: Error: cannot allocate ZELdata\n";

// Files of an older layout get a prefix, whether they have one or not.
constexpr int firstPrefixedVersion = 200;

// The components of a scene need to agree in its start time to a tenth of an hour.
double tenths(double scanTime)
{
    return std::trunc(scanTime * 10.0);
}

// What differs between two files that should show one scene, or null.
const char* mismatch(const ZELType& a, const ZELType& b)
{
    if (a.ZELHeader.DataType != b.ZELHeader.DataType) return "DataType mismatch";
    if (a.ZELHeader.year != b.ZELHeader.year) return "year mismatch";
    if (a.ZELHeader.julian != b.ZELHeader.julian) return "julian mismatch";
    if (a.ZELHeader.sat_no != b.ZELHeader.sat_no) return "Satellite number mismatch";
    if (tenths(a.ScanTime) != tenths(b.ScanTime)) return "start time mismatch";
    return nullptr;
}

}  // namespace

SceneInputs::SceneInputs(const char* const* names, int count)
    : Inputs(names, count, noMemory), records_(allocate<ZELType>(static_cast<std::size_t>(count)))
{
    if (!records_) fail("%s", noMemory);
}

SceneInputs::~SceneInputs()
{
    for (int i = 0; i < count(); ++i) finish(i);
}

bool SceneInputs::readDirectories()
{
    bool known = true;
    for (int i = 0; i < count(); ++i)
        if (!readDirectory(i)) known = false;
    return known;
}

bool SceneInputs::open()
{
    for (int i = 0; i < count(); ++i) {
        if (ZELOpenReadOnlyFileNoTables(&record(i), name(i)) < 0) return false;
        if (record(i).numZELComponents != components(i)) {
            report("ZELCreateCompositeFile: Error: file %s changes while it is read\n", name(i));
            return false;
        }
        ZELReadLineNoScale(&record(i));
    }
    return true;
}

void SceneInputs::finish(int i)
{
    if (record(i).ReadWriteFlag != ZEL_READ_ONLY) return;
    ZELFinishReadingFile(&record(i));
    record(i).ReadWriteFlag = 0;
}

bool SceneInputs::showOneScene()
{
    for (int i = 0; i < count(); ++i) {
        for (int j = i + 1; j < count(); ++j) {
            const char* what = mismatch(record(i), record(j));
            if (!what) continue;
            report("ZELCreateCompositeFile: %s\n", what);
            report("ZELCreateCompositeFile: Error:  ZEL file headers do not match\n");
            report("The files are from different images (date/time) or are incompatible data "
                   "types\n");
            return false;
        }
    }
    return true;
}

bool SceneInputs::needPrefix()
{
    return layoutVersion(record(0).ZELHeader.VersionNumber) < firstPrefixedVersion;
}

}  // namespace zel
