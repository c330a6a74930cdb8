#include "records/prefix.hpp"

#include <cerrno>
#include <cstring>

#include "ground/text.hpp"
#include "ground/zel_door.hpp"
#include "zel_io.h"

namespace zel {
namespace {

bool readPrefix(RecordReader& reader, Prefix& prefix)
{
    try {
        walkMagic(reader, prefix);
        if (std::strcmp(prefix.magic, ZELString) != 0) return false;
        walkDirectory(reader, prefix);
        return true;
    } catch (const Damage&) {
        return false;  // a plain file, whose open will say what it lacks
    }
}

// False when it cannot be told what the file is: the start of a composite would pass for a plain file.
bool readFrom(FILE* stream, Directory& directory)
{
    try {
        directory.fileSize = lengthOf(stream);
    } catch (const Damage&) {
        return false;
    }
    RecordReader reader(stream, currentVersion, 0, directory.fileSize);
    if (!readPrefix(reader, directory.prefix)) directory.prefix = Prefix{};
    directory.isComposite = directory.prefix.numComponents > 1;
    return !std::ferror(stream) && !std::feof(stream);
}

bool refuse(const char* filename, const char* what, int value, const char* field, int entry = 0)
{
    Prefix prefix{};
    LayoutSize layout(currentVersion, field);
    walkPrefix(layout, prefix);
    report("OpenReadOnlyFile: corrupt file %s: invalid %s %d at offset %lld\n", filename, what,
           value, static_cast<long long>(layout.place()) + 4 * entry);
    return false;
}

}  // namespace

bool readDirectory(const char* filename, Directory& directory)
{
    CheckByteOrder();
    directory = Directory{};
    FILE* stream = std::fopen(filename, "rb");
    if (!stream) {
        report("ZELReadCompositeInfo: cannot open file %s\n", filename);
        return false;
    }
    const bool known = readFrom(stream, directory);
    if (!known)
        report("ZELReadCompositeInfo: cannot read file %s: %s\n", filename,
               std::feof(stream) ? "unexpected end of file" : std::strerror(errno));
    std::fclose(stream);
    return known;
}

bool checkDirectory(const char* filename, const Directory& directory, bool usesBase)
{
    const Prefix& p = directory.prefix;
    if (p.numComponents > ZEL_MAX_COMPONENTS)
        return refuse(filename, "number of components", p.numComponents, "number of components");
    if (usesBase && (p.baseIndex < 0 || p.baseIndex >= p.numComponents))
        return refuse(filename, "base component index", p.baseIndex, "base component index");
    for (int i = 0; i < p.numComponents; ++i) {
        if (p.offsets[i] < 0 || p.offsets[i] >= directory.fileSize)
            return refuse(filename, "component offset", p.offsets[i], "component offsets", i);
        if (p.sizes[i] < 0 || p.sizes[i] > directory.fileSize - p.offsets[i])
            return refuse(filename, "component size", p.sizes[i], "component sizes", i);
    }
    return true;
}

Prefix plainPrefix(float spatialResolution)
{
    Prefix prefix{};
    copyText(prefix.magic, ZELString);
    copyText(prefix.version, ZEL_LIBRARY_VERSION_TEXT);
    prefix.numComponents = 1;
    prefix.resolutions[0] = spatialResolution;
    return prefix;
}

}  // namespace zel
